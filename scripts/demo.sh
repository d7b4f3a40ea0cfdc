#!/usr/bin/env bash
# Watches a match played by the program against itself, without a display: a host and a
# joiner on this machine, offscreen, driven by `dorvala --demo`. Builds first when needed.
# The screenshots of both screens land in demo-shots/ (or the folder given as argument).
set -euo pipefail
shots="${1:-}"
# A folder given on the command line is taken from where the script was started.
if [ -n "$shots" ]; then shots="$(mkdir -p "$shots" && cd "$shots" && pwd)"; fi
cd "$(dirname "$0")/.."
build="${DORVALA_BUILD_DIR:-build}"
shots="${shots:-$PWD/demo-shots}"

if [ -f "$build/build.ninja" ]; then
  ninja -C "$build" dorvala > "$build/demo-build.log" 2>&1 || { tail -40 "$build/demo-build.log"; exit 1; }
else
  scripts/deps.sh
  scripts/build.sh -DDORVALA_TESTS=OFF -DDORVALA_BENCH=OFF > build.log 2>&1 || { tail -40 build.log; exit 1; }
fi

status=0
QT_QPA_PLATFORM=offscreen "$build/bin/dorvala" --demo "$shots" || status=$?
echo "Screenshots of both screens: $shots"
exit "$status"
