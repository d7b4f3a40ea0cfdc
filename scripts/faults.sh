#!/usr/bin/env bash
# Builds the program as the README build does (into build/ or $DORVALA_BUILD_DIR), then runs
# every fault of scripts/faults.py against it (separate programs, offscreen, loopback only,
# free ports, private drive-C folders) and prints one Markdown table, a row per fault.
# Exit status 1 when any row fails. See docs/reliability.md for what each row means.
#
#   scripts/faults.sh                      build, then every row (about four minutes)
#   scripts/faults.sh 5 9 14               some rows only
#   FAULTS_NO_BUILD=1 scripts/faults.sh    use the program already built there
#   FAULTS_LOGS=DIR scripts/faults.sh      keep every program's output and folders in DIR
#   FAULTS_KILLS=20 scripts/faults.sh 14   fewer kills in the score-save row (100)
#
# Run it as root: the read-only row starts the program as user nobody (setpriv), and rows
# 15 to 17 play on a LAN of network namespaces (tests/lan) with a copy of the program that
# has the capability to bind ports 79 and 1009.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${DORVALA_BUILD_DIR:-build}"

if [ -z "${FAULTS_NO_BUILD:-}" ]; then
  DORVALA_BUILD_DIR="$build" scripts/build-program.sh
fi
[ -x "$build/bin/dorvala" ] || { echo "no program at $build/bin/dorvala" >&2; exit 1; }

# No display, no session bus, nothing but loopback: the driver sets each program's
# environment itself (QT_QPA_PLATFORM=offscreen, DORVALA_LOCAL_IP=127.0.0.1, ports, folders).
unset DORVALA_FTP_URL DORVALA_MATCH_PORT DORVALA_PROBE_PORT DORVALA_DRIVE_C
# The host lists checked here are the registry's: no LAN announcements between the rows.
export DORVALA_LAN_PORT=0
export DORVALA_LOCAL_IP=127.0.0.1

started="$(date -u '+%Y-%m-%d %H:%M UTC')"
keep=()
[ -n "${FAULTS_LOGS:-}" ] && keep=(--keep "$FAULTS_LOGS")
status=0
/usr/bin/python3 scripts/faults.py --bin "$build/bin" --kills "${FAULTS_KILLS:-100}" \
  ${keep[@]+"${keep[@]}"} "$@" || status=$?

cpu_model="$(awk -F': ' '/^model name/ { print $2; exit }' /proc/cpuinfo)"
os_name="$(awk -F= '/^PRETTY_NAME=/ { gsub(/"/, "", $2); print $2 }' /etc/os-release 2>/dev/null)"
echo "Run $started on $(nproc) × $cpu_model, $os_name; load average $(cut -d' ' -f1-3 /proc/loadavg) after."
exit "$status"
