# The start shared by the labs of network namespaces (lan.sh, router-lab.sh); sourced, not
# run, with the script's own arguments. Takes "--program PATH" off the front of them, or
# builds the program (unless $no_build is set) and stages a copy of build/bin, and leaves
# the lab runner's arguments in `program` and `keep` (the folder in $logs, when set).
# shellcheck shell=bash
build="${DORVALA_BUILD_DIR:-build}"
[ "$(id -u)" -eq 0 ] || { echo "run as root" >&2; exit 1; }

program=()
if [ "${1:-}" = "--program" ]; then
  program=(--program "$2")
  shift 2
fi

scripts/deps.sh iproute2 libcap2-bin util-linux python3-pyftpdlib

if [ ${#program[@]} -eq 0 ]; then
  if [ -z "${no_build:-}" ]; then
    DORVALA_BUILD_DIR="$build" scripts/build-program.sh
  fi
  program=(--stage "$build/bin")
fi

keep=()
[ -n "${logs:-}" ] && keep=(--keep "$logs")
# The programs run with their own settings: the address they find, the game's own ports.
unset DORVALA_FTP_URL DORVALA_MATCH_PORT DORVALA_PROBE_PORT DORVALA_DRIVE_C DORVALA_LOCAL_IP
