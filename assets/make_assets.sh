#!/usr/bin/env bash
# Regenerates every picture, sound, the tune and the maker page's logo from scratch.
# Deterministic: fixed seeds, no time stamps in the files, so a rerun changes nothing.
#
# usage: assets/make_assets.sh [part...]   parts: pieces table title login ui misc icons sounds tune
#        (misc includes icons; icons alone remakes the application icon in every size)
# Needs ImageMagick (/usr/bin/convert), sox, python3 and the DejaVu and URW fonts;
# fluidsynth with a General MIDI soundfont is used to check the tune when present.
set -euo pipefail

ASSETS=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
TOOLS=$ASSETS/tools
PICTURES=$ASSETS/pictures
SOUNDS=$ASSETS/sounds
MAKER=$ASSETS/maker
ICONS=$ASSETS/icons
# The real ImageMagick: a stand-in named convert may come first on PATH.
IM=${IM:-/usr/bin/convert}
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
export LC_ALL=C PYTHONDONTWRITEBYTECODE=1
mkdir -p "$PICTURES" "$SOUNDS" "$MAKER" "$ICONS"

# shellcheck source=tools/lib.sh
source "$TOOLS/lib.sh"
# shellcheck source=tools/art_pieces.sh
source "$TOOLS/art_pieces.sh"
# shellcheck source=tools/art_table.sh
source "$TOOLS/art_table.sh"
# shellcheck source=tools/art_title.sh
source "$TOOLS/art_title.sh"
# shellcheck source=tools/art_ui.sh
source "$TOOLS/art_ui.sh"
# shellcheck source=tools/art_misc.sh
source "$TOOLS/art_misc.sh"

# Every wave must be mono 16-bit 22050 Hz, audible, unclipped and small.
check_sound() { # file
  local stat max size
  stat=$(sox "$1" -n stat 2>&1)
  max=$(awk '/Maximum amplitude/ {print $3}' <<<"$stat")
  size=$(stat -c %s "$1")
  awk -v m="$max" -v s="$size" -v f="$1" 'BEGIN {
    if (m < 0.05 || m >= 0.95 || s >= 100000) { printf "bad sound %s: max %s, %s bytes\n", f, m, s; exit 1 } }'
  [ "$(soxi -r "$1")" = 22050 ] && [ "$(soxi -c "$1")" = 1 ] && [ "$(soxi -b "$1")" = 16 ]
}

make_sounds() {
  python3 "$TOOLS/sounds.py" "$SOUNDS"
  local f
  for f in WIN.wav MeC.WAV MeX.wav MEI.wav lose.wav Mess.wav OL.wav; do
    check_sound "$SOUNDS/$f"
  done
}

make_tune() {
  python3 "$TOOLS/tune.py" "$SOUNDS/AB.MID"
  python3 "$TOOLS/check_midi.py" "$SOUNDS/AB.MID"
  local sf=/usr/share/sounds/sf2/TimGM6mb.sf2
  if command -v fluidsynth >/dev/null && [ -f "$sf" ]; then
    fluidsynth -ni -F "$WORK/ab.wav" -r 22050 "$sf" "$SOUNDS/AB.MID" >/dev/null 2>&1
    local rms
    rms=$(sox "$WORK/ab.wav" -n stat 2>&1 | awk '/RMS +amplitude/ {print $3}')
    awk -v r="$rms" 'BEGIN { if (r < 0.002) { print "the tune renders silent"; exit 1 } }'
  fi
}

parts=("$@")
[ ${#parts[@]} -eq 0 ] && parts=(pieces table title login ui misc sounds tune)
for part in "${parts[@]}"; do
  case $part in
    pieces) make_pieces ;;
    table) make_board_and_match ;;
    title) make_title ;;
    login) make_login_back ;;
    ui) make_ui ;;
    misc) make_misc ;;
    icons) make_icons ;;
    sounds) make_sounds ;;
    tune) make_tune ;;
    *) echo "unknown part: $part" >&2; exit 2 ;;
  esac
  echo "made $part"
done
