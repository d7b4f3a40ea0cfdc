#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build-fuzz/ and runs each for a while.
#   scripts/fuzz.sh [seconds] [target...]    (default: 60 s each, every target)
# Seeds come from fuzz/corpus/<target>/ and are never written to; what a run learns is kept
# in build-fuzz/corpus/<target>/ for the next run. A crash or a broken property stops that
# target, leaves the input in build-fuzz/artifacts/<target>/, and the script fails.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-60}"
[ $# -gt 0 ] && shift
case "$seconds" in
  '' | *[!0-9]*) echo "usage: scripts/fuzz.sh [seconds] [target...]" >&2; exit 2 ;;
esac
all=(fuzz_host_receiver fuzz_join_receiver fuzz_parse_listing fuzz_rtf_reader fuzz_cp1252
     fuzz_lan_announcement)
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=("${all[@]}")
for t in "${targets[@]}"; do
  [[ " ${all[*]} " == *" $t "* ]] || { echo "unknown fuzz target: $t (known: ${all[*]})" >&2; exit 2; }
done

scripts/deps.sh --dev
build="${DORVALA_FUZZ_BUILD_DIR:-build-fuzz}"
mkdir -p "$build"
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DDORVALA_FUZZ=ON \
  -DDORVALA_TESTS=OFF -DDORVALA_BENCH=OFF > "$build/configure.log" 2>&1 \
  || { cat "$build/configure.log"; exit 1; }
ninja -C "$build" -j2 "${targets[@]}"

export QT_QPA_PLATFORM=offscreen DORVALA_LOCAL_IP=127.0.0.1
# Every report stops the target; libFuzzer itself looks for leaks after each input.
export ASAN_OPTIONS="halt_on_error=1:abort_on_error=1:detect_leaks=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"

failed=()
summary=()
for t in "${targets[@]}"; do
  corpus="$build/corpus/$t"
  artifacts="$build/artifacts/$t"
  log="$build/logs/$t.log"
  mkdir -p "$corpus" "$artifacts" "$(dirname "$log")"
  echo "== $t: ${seconds} s"
  status=0
  "$build/bin/$t" -max_total_time="$seconds" -timeout=10 -max_len=4096 -print_final_stats=1 \
    -artifact_prefix="$artifacts/" "$corpus" "fuzz/corpus/$t" > "$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  units=$(find "$corpus" -type f | wc -l)
  if [ "$status" -ne 0 ]; then
    failed+=("$t")
    tail -n 60 "$log"
    summary+=("$(printf '%-20s FAILED (exit %s), %s executions; input in %s' "$t" "$status" "${runs:-?}" "$artifacts")")
  else
    summary+=("$(printf '%-20s %12s executions  %8s/s  corpus %s' "$t" "${runs:-?}" "${speed:-?}" "$units")")
  fi
  echo "${summary[-1]}"
done

echo "== fuzz summary (${seconds} s each)"
printf '%s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzing found problems in: ${failed[*]} (logs in $build/logs/)" >&2
  exit 1
fi
