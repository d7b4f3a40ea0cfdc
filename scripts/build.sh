#!/usr/bin/env bash
# Configures and builds into build/ (or $DORVALA_BUILD_DIR). Extra arguments go to cmake.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${DORVALA_BUILD_DIR:-build}"
# The configure log lives in the build folder, like the other scripts' logs.
mkdir -p "$build"
cmake -S . -B "$build" -G Ninja "$@" > "$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
ninja -C "$build"
