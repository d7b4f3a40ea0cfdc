#!/usr/bin/env bash
# Screenshots of practice against the computer, into docs/screenshots/ (or $1): the setup
# screen with its four choices (practice chosen), and a practice game that the computer won.
# Runs under Xvfb; the setup screen's registry is a local one on loopback, the practice
# game uses no network at all.
set -euo pipefail
source "$(dirname "$0")/shots-common.sh"
shots_start 1000x560 "$@"
mkdir -p "$work/reg" "$work/data"
export XDG_DATA_HOME="$work/data"
window() { xdotool search --sync --name "$1" | head -1; }

# The setup screen: title "Mulai", then the practice picture.
/usr/bin/python3 scripts/registry.py --host 127.0.0.1 --port 0 --root "$work/reg" --exit-with-parent \
  > "$work/reg.out" &
for _ in $(seq 100); do grep -q READY "$work/reg.out" 2>/dev/null && break; sleep 0.1; done
port=$(awk '/READY/ {print $2}' "$work/reg.out")
DORVALA_FTP_URL="ftp://dorvala@127.0.0.1:$port/" "$bin" &
title_pid=$!
window "^Dorvala Online$" > /dev/null; sleep 4.5
xdotool mousemove 70 380 click 1; sleep 3
window "Login Dorvala Online" > /dev/null
xdotool mousemove 412 125 click 1; sleep 0.3
xdotool mousemove 470 395; sleep 0.5
import -window root -crop 480x400+0+0 "$out/setup_practice.png"
kill "$title_pid"; wait "$title_pid" 2>/dev/null || true

# A practice game: the player (O) never blocks, so the perfect computer wins.
DORVALA_COMPUTER_DELAY=300 /usr/bin/python3 - "$bin" "$out/practice_won.png" <<'PY'
import json, subprocess, sys, time
program, shot = sys.argv[1], sys.argv[2]
p = subprocess.Popen([program, "--computer", "sempurna", "--name", "Budi", "--control"],
                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
lines = [(0, 1, 2), (3, 4, 5), (6, 7, 8), (0, 3, 6), (1, 4, 7), (2, 5, 8), (0, 4, 8), (2, 4, 6)]
names = [c + r for c in "ABC" for r in "123"]

def state():
    p.stdin.write("state\n")
    while True:
        line = p.stdout.readline()
        if not line:
            sys.exit("the program ended")
        if line.startswith("state "):
            return json.loads(line[6:])

def threat(cells, mark):
    # Points where `mark` would complete a line: the player leaves these to the computer.
    out = set()
    for line in lines:
        marks = [cells[names[i]] for i in line]
        if marks.count(mark) == 2 and marks.count("") == 1:
            out.add(names[line[marks.index("")]])
    return out

deadline = time.time() + 60
while time.time() < deadline:
    s = state()
    if s["trans"] and s["infox"]:
        break
    if s["enabled"]:
        cells = s["cells"]
        free = [n for n in names if cells[n] == ""]
        avoid = threat(cells, "X") | threat(cells, "O")
        pick = next((n for n in free if n not in avoid), free[0] if free else None)
        if pick:
            p.stdin.write(f"click {pick}\n")
    time.sleep(0.4)
# The computer's word, typed into its bubble: wait until most of it is out.
until = time.time() + 8
while time.time() < until:
    m = state()["message"]
    if m["visible"] and "Lagi" in m["text"]:
        break
    time.sleep(0.1)
time.sleep(0.3)
subprocess.run(["import", "-window", "root", "-crop", "640x480+0+0", shot], check=True)
print(json.dumps(state(), ensure_ascii=False))
p.stdin.write("quit\n")
p.stdin.close()
p.wait(timeout=20)
PY
echo "screenshots written to $out"
