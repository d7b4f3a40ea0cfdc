#!/usr/bin/env bash
# Builds the game and its tests with AddressSanitizer and UBSan (gcc) into build-asan/ and
# runs the whole test suite; any sanitizer report fails the test that made it. Extra
# arguments go to ctest, e.g. scripts/test-sanitize.sh -R tst_wire.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
build="${DORVALA_ASAN_BUILD_DIR:-build-asan}"
werror=OFF
[ -n "${CI:-}" ] && werror=ON
# The benchmarks are not run here, so they are not built either.
mkdir -p "$build"
cmake -S . -B "$build" -G Ninja -DDORVALA_SANITIZE=ON -DDORVALA_WERROR=$werror \
  -DDORVALA_BENCH=OFF > "$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
ninja -C "$build"

export QT_QPA_PLATFORM=offscreen DORVALA_LOCAL_IP=127.0.0.1
# Leaks count as failures. Only third-party libraries are suppressed (tests/lsan.supp).
export ASAN_OPTIONS="halt_on_error=1:detect_leaks=1:check_initialization_order=1:strict_init_order=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"
ctest --test-dir "$build" --output-on-failure -j2 "$@"
