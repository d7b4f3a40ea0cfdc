#!/usr/bin/env bash
# Builds as the README build does (into build/ or $DORVALA_BUILD_DIR), runs every benchmark
# and prints one Markdown table: figure, value, target, whether it is met, and the machine.
# Benchmarks print figures only; nothing here fails on time. Everything stays on loopback.
#
#   scripts/bench.sh                      the full run (about two minutes after the build)
#   BENCH_RUNS=5 BENCH_MOVES=100 BENCH_IDLE=3 scripts/bench.sh      a quick look
#   BENCH_LOGS=DIR scripts/bench.sh       keep each benchmark's own output in DIR
#   BENCH_NO_BUILD=1 scripts/bench.sh     use the programs already built there
#   BENCH_LOGS=DIR BENCH_TABLE_ONLY=1 scripts/bench.sh    the table again from DIR's outputs
#
# The start-up and two-program figures need Xvfb (xvfb-run); the others run offscreen.
# Take the figures on a quiet machine: the table shows the load average around the run.
set -euo pipefail
cd "$(dirname "$0")/.."

runs="${BENCH_RUNS:-20}"
moves="${BENCH_MOVES:-1000}"
idle="${BENCH_IDLE:-10}"
entries="${BENCH_ENTRIES:-10000}"
build="${DORVALA_BUILD_DIR:-build}"
logs="${BENCH_LOGS:-$(mktemp -d)}"
mkdir -p "$logs"

if [ -z "${BENCH_NO_BUILD:-}" ] && [ -z "${BENCH_TABLE_ONLY:-}" ]; then
  scripts/deps.sh
  scripts/build.sh > "$logs/build.txt" 2>&1 || { tail -40 "$logs/build.txt"; exit 1; }
fi
bin="$build/bin"

export DORVALA_LOCAL_IP=127.0.0.1
unset DORVALA_FTP_URL DORVALA_MATCH_PORT DORVALA_PROBE_PORT
load_before="$(cut -d' ' -f1-3 /proc/loadavg)"
started="$(date -u '+%Y-%m-%d %H:%M UTC')"

on_x() { xvfb-run -a -s "-screen 0 1024x768x24" "$@"; }
run() {  # run NAME COMMAND...: the command's output into $logs/NAME.txt, said on failure
  local name="$1"; shift
  [ -n "${BENCH_TABLE_ONLY:-}" ] && return 0
  echo "running $name ..." >&2
  if ! "$@" > "$logs/$name.txt" 2> "$logs/$name.err"; then
    echo "$name failed; see $logs/$name.err" >&2
    tail -5 "$logs/$name.err" >&2
  fi
}

run startup on_x "$bin/bench_startup" "$runs"
run two_players on_x "$bin/bench_two_players" "$moves" "$idle"
run lobby env QT_QPA_PLATFORM=offscreen "$bin/bench_lobby" "$entries"
run match env QT_QPA_PLATFORM=offscreen "$bin/bench_match" "$idle"
run board env QT_QPA_PLATFORM=offscreen "$bin/bench_board"
run sound_cues env QT_QPA_PLATFORM=offscreen "$bin/bench_sound_cues" "$idle"
run computer "$bin/bench_computer"
run host_open on_x "$bin/bench_host_open" "$runs"
load_after="$(cut -d' ' -f1-3 /proc/loadavg)"
# When and under what load the figures were taken, kept with them for BENCH_TABLE_ONLY.
if [ -n "${BENCH_TABLE_ONLY:-}" ]; then
  { read -r started; read -r load_before; read -r load_after; } < "$logs/run.txt"
else
  printf '%s\n' "$started" "$load_before" "$load_after" > "$logs/run.txt"
fi

# after FILE LINE-PATTERN WORD [N]: the N-th (default first) field after WORD on the first
# line matching the pattern; "?" when there is none.
after() {
  awk -v pattern="$2" -v word="$3" -v n="${4:-1}" '
    $0 ~ pattern { for (i = 1; i < NF; i++) if ($i == word) { print $(i + n); found = 1; exit } }
    END { if (!found) print "?" }' "$logs/$1.txt"
}
# The number after the last colon of the first line matching the pattern.
colon() {
  awk -v pattern="$2" '$0 ~ pattern { sub(/.*: */, ""); print $1; found = 1; exit }
    END { if (!found) print "?" }' "$logs/$1.txt"
}
# meets VALUE LIMIT: "yes" when VALUE <= LIMIT, "no" when above, "?" when unknown.
meets() {
  awk -v v="$1" -v limit="$2" 'BEGIN {
    if (v !~ /^[0-9.]+$/) print "?"; else if (v + 0 <= limit + 0) print "yes"; else print "no" }'
}

# ratio A B: A / B to two places; "?" when either is unknown.
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a ~ /^[0-9.]+$/ && b ~ /^[0-9.]+$/ && b > 0) printf "%.2f", a / b; else print "?" }'; }
title_median="$(after startup '^title screen +window wholly drawn' median)"
title_p90="$(after startup '^title screen +window wholly drawn' p90)"
bare_median="$(after startup '^bare Qt window +window wholly drawn' median)"
bare_p90="$(after startup '^bare Qt window +window wholly drawn' p90)"
title_cpu="$(after startup '^title screen +CPU time until drawn' median)"
bare_cpu="$(after startup '^bare Qt window +CPU time until drawn' median)"
title_mb="$(after startup '^title screen +peak memory' median)"
bare_mb="$(after startup '^bare Qt window +peak memory' median)"
host_mb="$(after two_players 'peak memory mid-match +host' VmHWM)"
join_mb="$(after two_players 'peak memory mid-match +joiner' VmHWM)"
host_end_mb="$(after two_players 'peak memory after the moves +host' VmHWM)"
join_end_mb="$(after two_players 'peak memory after the moves +joiner' VmHWM)"
host_cpu="$(after two_players 'idle CPU over .* host' host)"
join_cpu="$(after two_players 'idle CPU over .* joiner' joiner)"
host_sched="$(after two_players 'idle CPU over .* host' '(utime+stime)')"
join_sched="$(after two_players 'idle CPU over .* joiner' '(utime+stime)')"
lat_p50="$(after two_players "sent to the peer's drawn" p50)"
lat_p99="$(after two_players "sent to the peer's drawn" p99)"
lat_max="$(after two_players "sent to the peer's drawn" max)"
lat_count="$(awk "/sent to the peer's drawn/ { print \$(NF - 1); exit }" "$logs/two_players.txt" | tr -d '(')"
way_p50="$(after two_players "sent to the peer's received" p50)"
way_p99="$(after two_players "sent to the peer's received" p99)"
lobby_entries="$(colon lobby '^registry entries')"
lobby_fill="$(colon lobby '^host list filled')"
lobby_stall="$(colon lobby '^longest UI stall meanwhile')"
lobby_probe_stall="$(colon lobby '^longest UI stall while probing')"
inproc_move="$(awk '/a move from click to the other board/ { print $(NF - 1); exit }' "$logs/match.txt")"
board_paint="$(awk '/paint the whole board area/ { print $(NF - 1); exit }' "$logs/board.txt")"
ai_p50="$(after computer '^move choice sempurna' p50)"
ai_p99="$(after computer '^move choice sempurna' p99)"
ai_max="$(after computer '^move choice sempurna' max)"
ai_sedang_p99="$(after computer '^move choice sedang' p99)"
ai_table="$(colon computer '^perfect table filled')"
ai_mb="$(colon computer '^memory the table added')"
ai_p99_ms="$(awk -v v="$ai_p99" 'BEGIN { if (v ~ /^[0-9.]+$/) printf "%.4f", v / 1000000; else print "?" }')"
open_off="$(after host_open 'router not asked' median)"
open_on="$(after host_open 'router asked' median)"
open_ratio="$(ratio "$open_on" "$open_off")"
mapped_p90="$(after host_open 'both ports mapped' p90)"
mapped_max="$(after host_open 'both ports mapped' max)"
mapped_mb="$(after host_open 'peak memory once mapped' median)"
cues_idle="$(awk -F'= ' '/idle CPU over/ { split($2, a, " "); print a[1]; exit }' "$logs/sound_cues.txt")"

title_ratio="$(ratio "$title_median" "$bare_median")"
title_mb_ratio="$(ratio "$title_mb" "$bare_mb")"
us_to_ms() { awk -v v="$1" 'BEGIN { if (v ~ /^[0-9.]+$/) printf "%.2f", v / 1000; else print "?" }'; }
lat_p99_ms="$(us_to_ms "$lat_p99")"
cpu_model="$(awk -F': ' '/^model name/ { print $2; exit }' /proc/cpuinfo)"
qt_version="$(pkg-config --modversion Qt6Core 2>/dev/null || echo '?')"
os_name="$(awk -F= '/^PRETTY_NAME=/ { gsub(/"/, "", $2); print $2 }' /etc/os-release 2>/dev/null)"

cat <<EOF
| figure | value | target | met |
|---|---|---|---|
| title window on screen: process start to window wholly drawn, median / p90 of $runs (Xvfb) | $title_median / $title_p90 ms (× $title_ratio) | ≤ 1.10 × the bare window's | $(meets "$title_ratio" 1.10) |
| bare Qt 6 window of the same size, the same measure (yardstick) | $bare_median / $bare_p90 ms | — | — |
| CPU time used until then (all threads), title screen / bare window, median | $title_cpu / $bare_cpu ms | — | — |
| peak memory of the title screen when drawn (VmHWM) | $title_mb MB (× $title_mb_ratio) | ≤ 1.2 × the bare window's | $(meets "$title_mb_ratio" 1.2) |
| peak memory of the bare Qt window when drawn (yardstick) | $bare_mb MB | — | — |
| peak memory mid-match, host (VmHWM after connecting, a game, chat) | $host_mb MB | < 45 MB | $(meets "$host_mb" 44.99) |
| peak memory mid-match, joiner | $join_mb MB | < 45 MB | $(meets "$join_mb" 44.99) |
| peak memory after all the moves, host / joiner | $host_end_mb / $join_end_mb MB | < 45 MB | $(meets "$(awk -v a="$host_end_mb" -v b="$join_end_mb" 'BEGIN { print (a > b ? a : b) }')" 44.99) |
| idle CPU of a connected match over $idle s, host (utime+stime; scheduler's count) | $host_cpu % ($host_sched %) | ≤ 0.2 % of a core | $(meets "$host_cpu" 0.2) |
| idle CPU of a connected match over $idle s, joiner | $join_cpu % ($join_sched %) | ≤ 0.2 % of a core | $(meets "$join_cpu" 0.2) |
| move latency, mover's send to the peer's point drawn, p50 / p99 / max of $lat_count moves | $lat_p50 / $lat_p99 / $lat_max µs | p99 ≤ 1 ms | $(meets "$lat_p99_ms" 1) |
| of which the way over loopback (send to the peer's read), p50 / p99 | $way_p50 / $way_p99 µs | — | — |
| computer's move choice, sempurna, every reachable position, p50 / p99 / max (beside the two programs' move above) | $ai_p50 / $ai_p99 / $ai_max ns | p99 < 1 ms | $(meets "$ai_p99_ms" 0.999) |
| computer's move choice, sedang, p99; sempurna's table filled on first use; memory it adds | $ai_sedang_p99 ns; $ai_table µs; $ai_mb MB | — | — |
| lobby, $lobby_entries registry entries: host list filled after the listing arrived | $lobby_fill ms | — | — |
| lobby: longest UI-thread stall while filling / while probing | $lobby_stall / $lobby_probe_stall ms | ≤ 50 ms | $(meets "$(awk -v a="$lobby_stall" -v b="$lobby_probe_stall" 'BEGIN { print (a > b ? a : b) }')" 50) |
| in one process: a move from click to the other board, median | $inproc_move µs | — | — |
| painting the whole board area, median | $board_paint ns | — | — |
| seven sound cues left idle, CPU | $cues_idle % | — | — |
| start to the host screen (--host), router asked / not asked, median | $open_on / $open_off ms (× $open_ratio) | unchanged (≤ 1.10 ×) | $(meets "$open_ratio" 1.10) |
| host screen to both ports mapped, NAT-PMP router on loopback, p90 / max | $mapped_p90 / $mapped_max ms | < 1 s | $(meets "$mapped_max" 999) |
| host's peak memory once its ports are mapped (VmHWM) | $mapped_mb MB | < 45 MB | $(meets "$mapped_mb" 44.99) |
| machine | $(nproc) × $cpu_model, $os_name, Qt $qt_version | | |
| run | $started; load average $load_before before, $load_after after | | |
EOF
