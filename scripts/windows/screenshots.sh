#!/usr/bin/env bash
# Screenshots of the Windows program under Wine (the windows platform, on Xvfb) into
# docs/screenshots/windows-*.png: the title screen, the setup screen after "Mulai", its
# settings screen, and a match in progress (the Windows program hosts, the Linux program
# joins offscreen). Needs
# dist/windows/dorvala (scripts/windows/build.sh) and build/bin/dorvala (scripts/build.sh).
set -euo pipefail
source "$(dirname "$0")/common.sh"
out="$(realpath -m "${1:-$repo/docs/screenshots}")"
if [ -z "${SCREENSHOTS_INNER:-}" ]; then
  exec env SCREENSHOTS_INNER=1 xvfb-run -a -s "-screen 0 1280x800x24" "$0" "$@"
fi
wine=$(wine64_command)
exe="$dist/windows/dorvala/dorvala.exe"
linux="${DORVALA_BUILD_DIR:-$repo/build}/bin/dorvala"
mkdir -p "$out"

work=$(mktemp -d)
export WINEPREFIX="$work/prefix" WINEDEBUG=-all
cleanup() {
  exec 3>&- 4>&- 2>/dev/null || true
  kill $(jobs -p) 2>/dev/null || true
  "$(dirname "$wine")/wineserver" -k 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
"$repo/scripts/windows/wine-prefix.sh" "$WINEPREFIX" "$(dirname "$exe")"
"$(dirname "$wine")/wineserver" -k || true
"$(dirname "$wine")/wineserver" -w || true
"$wine" reg add 'HKCU\Environment' /v QT_QPA_PLATFORM /d windows /f > /dev/null 2>&1

mkdir -p "$work/reg" "$work/t" "$work/h" "$work/j"
/usr/bin/python3 "$repo/scripts/registry.py" --host 127.0.0.1 --port 0 --root "$work/reg" \
  > "$work/reg.out" 2>/dev/null &
for _ in $(seq 100); do grep -q READY "$work/reg.out" 2>/dev/null && break; sleep 0.1; done
port=$(awk '/READY/ {print $2}' "$work/reg.out")
export DORVALA_FTP_URL="ftp://dorvala@127.0.0.1:$port/" DORVALA_LOCAL_IP=127.0.0.1
window() { xdotool search --sync --onlyvisible --name "$1" | head -1; }
shot() { sleep "$2"; import -window "$(window "$1")" "$out/$3"; echo "  $out/$3"; }

# The title screen, then "Mulai": the setup screen.
(cd "$work" && DORVALA_DRIVE_C="$work/t" DORVALA_MATCH_PORT=$((20000 + RANDOM % 20000)) \
  DORVALA_PROBE_PORT=$((20000 + RANDOM % 20000)) "$wine" "$exe" > /dev/null 2>&1) &
shot "^Dorvala Online$" 8 windows-title.png
xdotool mousemove --window "$(window "^Dorvala Online$")" 70 380 click 1
shot "Login Dorvala Online" 3 windows-setup.png
# Its "Pengaturan": the settings screen, kept by Windows in the user's registry.
xdotool mousemove --window "$(window "Login Dorvala Online")" 60 326 click 1
shot "Pengaturan Dorvala Online" 3 windows-settings.png
xdotool search --name "Pengaturan Dorvala Online" windowclose 2>/dev/null || true
xdotool search --name "Login Dorvala Online" windowclose 2>/dev/null || true
"$(dirname "$wine")/wineserver" -k || true
"$(dirname "$wine")/wineserver" -w || true
"$wine" reg add 'HKCU\Environment' /v QT_QPA_PLATFORM /d windows /f > /dev/null 2>&1

# A match in progress: the Windows program hosts, the Linux program joins.
match_port=$((20000 + RANDOM % 20000))
mkfifo "$work/h.in" "$work/j.in"
(cd "$work" && DORVALA_DRIVE_C="$work/h" DORVALA_MATCH_PORT=$match_port \
  DORVALA_PROBE_PORT=$((20000 + RANDOM % 20000)) \
  "$wine" "$exe" --control --host --name "Budé€" < "$work/h.in" > "$work/h.out" 2>/dev/null) &
exec 3> "$work/h.in"
window "Host IP" > /dev/null
# Wine loads the fonts as the screen is first drawn: the joiner comes when the host is ready
# (its total and, a second later, its name must not arrive in one read).
sleep 5
QT_QPA_PLATFORM=offscreen DORVALA_DRIVE_C="$work/j" DORVALA_MATCH_PORT=$match_port \
  DORVALA_PROBE_PORT=$((20000 + RANDOM % 20000)) \
  "$linux" --control --join 127.0.0.1 --name "Sañi" < "$work/j.in" > "$work/j.out" 2>/dev/null &
exec 4> "$work/j.in"
for _ in $(seq 100); do grep -q '^received XSa' "$work/h.out" 2>/dev/null && break; sleep 0.1; done
grep -q '^received XSa' "$work/h.out" || echo "  the host did not get the joiner's name on its own" >&2
sleep 1.5
for move in "3 B2" "4 A1" "3 C1" "4 A3" "3 A2"; do
  echo "click ${move#* }" >&"${move%% *}"
  sleep 0.6
done
echo "chat Halo Señor, café?" >&4
shot "Host IP" 2 windows-match.png
echo quit >&3
echo quit >&4
exec 3>&- 4>&-
sleep 2
