#!/usr/bin/env bash
# Prints the link graph between the program's libraries (from CMake's --graphviz) and checks
# that every arrow points down the layers and that the plain layers link QtCore alone.
#   scripts/layers.sh [build-dir]    (default: build, configured by scripts/build.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
out="$build/graph"
mkdir -p "$out"
cmake --graphviz="$out/deps.dot" "$build" > "$out/graphviz.log" 2>&1 || { cat "$out/graphviz.log"; exit 1; }

# Lowest first; a library may link only those on lower levels.
declare -A level=(
  [dorvala_platform_core]=0 [dorvala_rules]=0
  [dorvala_wire]=1 [dorvala_ai]=1 [dorvala_platform]=1 [dorvala_net]=1
  [dorvala_model]=2 [dorvala_lobby]=2
  [dorvala_board]=3 [dorvala_match]=4 [dorvala_shell]=5
  [dorvala_control]=6 [dorvala_demo]=7 [dorvala_app]=8 [dorvala]=9
)
plain=" dorvala_platform_core dorvala_rules dorvala_wire dorvala_ai dorvala_model "
# Network code links QtCore and QtNetwork, nothing with windows.
networked=" dorvala_net "
status=0
# Edge comments read "// from -> to".
while read -r from to; do
  [[ -v level[$from] ]] || continue
  if [[ $to == dorvala* ]]; then
    [[ -v level[$to] ]] || continue
    mark=""
    (( level[$from] > level[$to] )) || { mark="   <- points up"; status=1; }
    echo "$from -> $to$mark"
  elif [[ $plain == *" $from "* && $to == Qt6::* && $to != Qt6::Core && $to != Qt6::moc ]]; then
    echo "$from -> $to   <- a plain layer beyond QtCore"; status=1
  elif [[ $networked == *" $from "* && $to == Qt6::* && $to != Qt6::Core && $to != Qt6::Network && $to != Qt6::moc ]]; then
    echo "$from -> $to   <- the network layer beyond QtCore and QtNetwork"; status=1
  fi
done < <(sed -n 's@.*// \([^ ]*\) -> \([^ ]*\)$@\1 \2@p' "$out/deps.dot" | sort -u)

# The same for what each folder's code includes from the others.
declare -A folder=([rules]=dorvala_rules [wire]=dorvala_wire [ai]=dorvala_ai [model]=dorvala_model
  [platform]=dorvala_platform [net]=dorvala_net [board]=dorvala_board [match]=dorvala_match [lobby]=dorvala_lobby
  [shell]=dorvala_shell [control]=dorvala_control [demo]=dorvala_demo [app]=dorvala_app)
core=" platform/cp1252.h platform/rtf_reader.h platform/rtf_document.h platform/game_settings.h "
while IFS=: read -r file header; do
  from=${folder[$(basename "$(dirname "$file")")]}
  to=${folder[${header%%/*}]:-}
  [[ -n $to && $from != "$to" ]] || continue
  [[ $to == dorvala_platform && $core == *" $header "* ]] && to=dorvala_platform_core
  if (( level[$from] <= level[$to] )); then
    echo "$file includes $header   <- points up"; status=1
  fi
done < <(grep -Ho '^#include "[a-z]*/[a-z_0-9]*\.h"' src/*/*.cpp src/*/*.h | sed 's@:#include "@:@; s@"$@@')
((status == 0)) && echo "layers: every arrow points down (links and includes); rules, wire, ai and model link QtCore only; net QtCore and QtNetwork"
exit $status
