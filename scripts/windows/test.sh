#!/usr/bin/env bash
# Runs the Windows test programs under Wine (wine64, a fresh prefix, offscreen) and prints
# passed / failed / skipped for each, then the totals. Builds them first (build.sh --tests)
# unless --no-build is given. Further arguments pick programs: test.sh --no-build tst_wire.
# Exit status 1 when a test failed or a program did not finish.
#
# The programs run from the root of a drive of their own (T:\ is their folder), as a game
# run from a drive's root does: the program folder then ends in a separator.
set -euo pipefail
source "$(dirname "$0")/common.sh"

build=1
if [ "${1:-}" = "--no-build" ]; then
  build=0
  shift
fi
[ $build -eq 1 ] && "$repo/scripts/windows/build.sh" --tests
apt_install wine64 python3-pyftpdlib xvfb xauth
wine=$(wine64_command)
bin="$build_dir/bin"

# Programs left out, with the reason.
declare -A skip=(
  [tst_console_end]="Wine does not pass console events (Ctrl+C, Ctrl+Break) to a windowed program; kept for Windows itself"
  [tst_demo]="runs the Linux program's self-play with its own registry lookup; the Windows program plays the Linux one in match.py instead"
  [tst_two_processes]="starts pairs of the program with POSIX process control; match.py plays a Windows and a Linux program against each other"
)

# Test functions left out under Wine, where Wine cannot do what Windows does.
declare -A skip_functions=(
  [tst_score_file]="neverHalfWritten:what a child program writes on standard output does not come back through QProcess's pipes under Wine"
  [tst_match_socket]="acceptEndsListeningForGood:Wine does not report a refused connection to Qt's socket (Windows does, after about 2 s)"
)
# Programs that measure captions run on the windows platform under Xvfb: offscreen has no
# fonts of its own on Windows.
declare -A on_screen=([tst_login_layout]=1 [tst_match_layout]=1)

work=$(mktemp -d)
export WINEPREFIX="$work/prefix" WINEDEBUG=-all
cleanup() {
  "$(dirname "$wine")/wineserver" -k 2>/dev/null || true
  # Registries the tests started through Wine are Linux processes that Wine detaches: they
  # outlive the tests. Each names its folder inside this prefix.
  for proc in /proc/[0-9]*; do
    if { tr '\0' ' ' < "$proc/cmdline"; } 2>/dev/null | grep -qF -- "--root $WINEPREFIX/"; then
      kill "${proc#/proc/}" 2>/dev/null || true
    fi
  done
  rm -rf "$work"
}
trap cleanup EXIT
start=$SECONDS
"$repo/scripts/windows/wine-prefix.sh" "$WINEPREFIX" "$bin"
export DORVALA_LOCAL_IP=127.0.0.1
# Each test that hears the LAN takes a free port of its own (see tests/CMakeLists.txt).
export DORVALA_LAN_PORT=0
echo "Wine prefix ready in $((SECONDS - start)) s ($("$wine" --version 2>/dev/null))"
results="$work/results"
mkdir -p "$results"
programs=("$@")
if [ ${#programs[@]} -eq 0 ]; then
  # The build's own list (a program left in bin/ from an older build is not one of them).
  mapfile -t programs < <(ctest --test-dir "$build_dir" -N | sed -n 's|.*Test *#[0-9]*: [a-z]*/\(tst_[a-z_0-9]*\)$|\1|p')
  [ -f "$bin/tst_console_end.exe" ] && programs+=(tst_console_end)
  mapfile -t programs < <(printf '%s\n' "${programs[@]}" | sort)
fi

total_pass=0 total_fail=0 total_skip=0 broken=()
printf '%-22s %6s %6s %7s %8s\n' program passed failed skipped seconds
for name in "${programs[@]}"; do
  if [ -n "${skip[$name]:-}" ]; then
    printf '%-22s left out: %s\n' "$name" "${skip[$name]}"
    continue
  fi
  t0=$SECONDS
  # Results go to a file: standard output through a pipe comes back empty under Wine. The
  # current folder is on Z: (the Linux root), so that the Linux paths the tests hold
  # (/usr/bin/python3, the source and build folders) name what they name on Linux.
  run=("$wine" "T:\\$name.exe")
  [ -n "${on_screen[$name]:-}" ] && run=(xvfb-run -a -s "-screen 0 1280x800x24" "${run[@]}" -platform windows)
  functions=()
  if [ -n "${skip_functions[$name]:-}" ]; then
    left_out=${skip_functions[$name]%%:*}
    printf '%-22s runs without %s: %s\n' "$name" "$left_out" "${skip_functions[$name]#*:}"
    (cd "$work" && timeout 60 "$wine" "T:\\$name.exe" -functions > "$results/$name.functions" 2>/dev/null) || true
    mapfile -t functions < <(tr -d '\r' < "$results/$name.functions" | sed -n 's/()$//p' | grep -vx "$left_out")
  fi
  status=0
  (cd "$work" && timeout 600 "${run[@]}" -o "$results/$name.txt,txt" "${functions[@]}" \
      > "$results/$name.log" 2>&1) || status=$?
  totals=$(grep -a '^Totals:' "$results/$name.txt" 2>/dev/null | tail -1 || true)
  if [ -z "$totals" ]; then
    printf '%-22s did not finish (status %s)\n' "$name" "$status"
    broken+=("$name")
    continue
  fi
  read -r pass fail skipped < <(sed -E 's/Totals: ([0-9]+) passed, ([0-9]+) failed, ([0-9]+) skipped.*/\1 \2 \3/' <<< "$totals")
  printf '%-22s %6d %6d %7d %8d\n' "$name" "$pass" "$fail" "$skipped" $((SECONDS - t0))
  total_pass=$((total_pass + pass)) total_fail=$((total_fail + fail)) total_skip=$((total_skip + skipped))
  if [ "$fail" -gt 0 ]; then
    grep -a -A2 '^FAIL!' "$results/$name.txt" | sed 's/^/    /'
  fi
  grep -a '^SKIP' "$results/$name.txt" | sed 's/^SKIP   : /    skipped: /' || true
done
printf '%-22s %6d %6d %7d %8d\n' total "$total_pass" "$total_fail" "$total_skip" $((SECONDS - start))
if [ ${#broken[@]} -gt 0 ]; then
  echo "did not finish: ${broken[*]}"
  exit 1
fi
[ "$total_fail" -eq 0 ]
