#!/usr/bin/env bash
# Builds the program alone (no tests, no benchmarks) into build/ or $DORVALA_BUILD_DIR, for
# the scripts that run it: a folder configured before is only brought up to date. Quiet
# unless the build fails.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${DORVALA_BUILD_DIR:-build}"
scripts/deps.sh
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
if [ -f "$build/build.ninja" ]; then
  ninja -C "$build" dorvala > "$log" 2>&1 || { tail -40 "$log"; exit 1; }
else
  scripts/build.sh -DDORVALA_TESTS=OFF -DDORVALA_BENCH=OFF > "$log" 2>&1 \
    || { tail -40 "$log"; exit 1; }
fi
