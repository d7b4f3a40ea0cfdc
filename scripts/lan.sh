#!/usr/bin/env bash
# The LAN tests (tests/lan): machines made of network namespaces joined by a bridge
# (198.18.0.0/24 inside, nothing routed elsewhere), the real program on each as user nobody
# with the address it finds itself, the registry on a machine of its own. Prints a line per
# case, a Markdown table and "N passed, M failed"; exit status 1 when any case failed.
#
#   scripts/lan.sh                               build, then run a copy of build/bin that has
#                                                the capability to bind ports 79 and 1009
#   scripts/lan.sh --program /usr/bin/dorvala    the installed package instead
#   scripts/lan.sh match cut                     some cases only (match probe cut noreg gone
#                                                lanfind lanhostile)
#   LAN_NO_BUILD=1 scripts/lan.sh                use the program already built
#   LAN_LOGS=DIR scripts/lan.sh                  keep every program's output in DIR
#   LAN_WINDOWS=DIR scripts/lan.sh lanwine      also the Windows program in DIR under Wine
#
# Run it as root: it makes network namespaces and gives the copy its file capability.
set -euo pipefail
cd "$(dirname "$0")/.."
no_build="${LAN_NO_BUILD:-}" logs="${LAN_LOGS:-}"
source scripts/lab-common.sh
# The fixture removes its namespaces on every way out.
exec /usr/bin/python3 tests/lan/lan_tests.py "${program[@]}" ${keep[@]+"${keep[@]}"} "$@"
