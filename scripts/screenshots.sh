#!/usr/bin/env bash
# Takes the screenshots in docs/screenshots/ that need two players or several windows:
# chat bubbles mid-typing on both screens, the chat history, the about screen, and the setup
# screen's host list filled from the lobby. Runs under Xvfb on loopback only.
set -euo pipefail
cd "$(dirname "$0")/.."
bin="${DORVALA_BUILD_DIR:-build}/bin/dorvala"
out="$(realpath -m "${1:-docs/screenshots}")"
mkdir -p "$out"
[ -x "$bin" ] || scripts/build.sh > /dev/null
if [ -z "${SCREENSHOTS_INNER:-}" ]; then
  exec env SCREENSHOTS_INNER=1 xvfb-run -a -s "-screen 0 1300x500x24" "$0" "$@"
fi

work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
mkdir -p "$work/reg" "$work/h" "$work/j" "$work/t"
for n in 127.0.0.1 127.0.0.23 127.0.0.42; do : > "$work/reg/$n"; done
/usr/bin/python3 scripts/registry.py --host 127.0.0.1 --port 0 --root "$work/reg" --exit-with-parent \
  > "$work/reg.out" &
for _ in $(seq 100); do grep -q READY "$work/reg.out" 2>/dev/null && break; sleep 0.1; done
port=$(awk '/READY/ {print $2}' "$work/reg.out")
export DORVALA_FTP_URL="ftp://dorvala@127.0.0.1:$port/" DORVALA_LOCAL_IP=127.0.0.1
export DORVALA_MATCH_PORT=$((20000 + RANDOM % 20000)) DORVALA_PROBE_PORT=$((20000 + RANDOM % 20000))
# The hosts here announce themselves on loopback only; a port of this run's own keeps other
# programs on this machine out of the pictures.
export DORVALA_LAN_PORT=$((20000 + RANDOM % 20000))
window() { xdotool search --sync --name "$1" | head -1; }

# Two players driven through their control channels.
mkfifo "$work/h.in" "$work/j.in"
DORVALA_DRIVE_C="$work/h" "$bin" --host --name Budi --control < "$work/h.in" > "$work/h.out" &
exec 3> "$work/h.in"
window "Host IP" > /dev/null
DORVALA_DRIVE_C="$work/j" "$bin" --join 127.0.0.1 --name Sari --control < "$work/j.in" > "$work/j.out" &
exec 4> "$work/j.in"
xdotool windowmove "$(window "CLient IP")" 650 0
sleep 2
echo "click B2" >&3; sleep 0.5; echo "click A1" >&4; sleep 0.5
echo "chat Halo Sari, giliranmu!" >&3; sleep 0.3
echo "chat Siap, Budi!" >&4; sleep 0.35
import -window root -crop 1290x480+0+0 "$out/chat_typing.png"
sleep 3
echo "chat Bagus, ayo lanjut." >&3; sleep 0.5
echo "button Command5" >&3; sleep 1
xdotool windowmove "$(window "Chat History")" 330 120; sleep 0.5
import -window root -crop 1290x480+0+0 "$out/chat_history.png"
echo quit >&3; echo quit >&4; exec 3>&- 4>&-
sleep 1

# The title screen's "Kreator", then "Mulai" with the lobby's list in the host list.
DORVALA_DRIVE_C="$work/t" "$bin" &
title=$(window "^Dorvala Online$"); sleep 4.5
xdotool mousemove 170 380 click 1; sleep 1
xdotool windowmove "$(window "About Dorvala")" 660 0; sleep 0.5
import -window root -crop 1100x420+0+0 "$out/about.png"
xdotool mousemove 70 380 click 1; sleep 3
login=$(window "Login Dorvala Online")
xdotool mousemove 250 240 click 1; sleep 0.5   # open the host list
import -window root -crop 480x400+0+0 "$out/setup_hosts.png"
kill $! 2>/dev/null || true; sleep 0.5

# A first start with nothing configured: the settings screen from the title screen's own
# control, then "Mulai" straight to the setup screen and the lobby saying where to set a
# registry, listing a host of the LAN all the same.
unset DORVALA_FTP_URL
export XDG_CONFIG_HOME="$work/config"
mkdir -p "$work/lan"
DORVALA_DRIVE_C="$work/lan" "$bin" --host --name Budi &
xdotool windowmove "$(window "Host IP")" 1250 450   # out of the picture
DORVALA_DRIVE_C="$work/t" "$bin" &
window "^Dorvala Online$" > /dev/null; sleep 4.5
xdotool mousemove 580 12 click 1; sleep 1
settings=$(window "Pengaturan Dorvala Online")
xdotool windowmove "$settings" 650 0; sleep 0.3
xdotool mousemove 850 60 click 1 type "198.18.0.3"; sleep 0.3
xdotool mousemove 850 183 click 1 type "Budi"; sleep 0.5
import -window root -crop 1100x440+0+0 "$out/settings.png"
xdotool key Escape; xdotool windowclose "$settings" 2>/dev/null || true; sleep 0.3
xdotool mousemove 70 380 click 1; sleep 2
xdotool mousemove 297 120 click 1; sleep 1   # the lobby picture
xdotool windowmove "$(xdotool search --sync --onlyvisible --name "Online Host:" | tail -1)" 500 0; sleep 0.5
import -window root -crop 840x470+0+0 "$out/first_start.png"
echo "screenshots written to $out"
