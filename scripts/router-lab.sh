#!/usr/bin/env bash
# The router lab (tests/router): a home router made of network namespaces (home 198.18.0.0/24,
# router, the "internet" 198.19.0.0/24, a CGNAT provider in 100.64.0.0/10 where a case needs
# one) with Debian's miniupnpd rebuilt for it (scripts/router-miniupnpd.sh, cached), and the
# real program as user nobody with the address it finds itself. Prints a line per case, a
# Markdown table, the figures measured, and "N passed, M failed"; exit status 1 when any
# case failed.
#
#   scripts/router-lab.sh                             build, then run a copy of build/bin that
#                                                     may bind ports 79 and 1009
#   scripts/router-lab.sh --program /usr/bin/dorvala  the installed package instead
#   scripts/router-lab.sh upnp cgnat                  some cases only (upnp natpmp high
#                                                     highup norouter cgnat badxml bigxml
#                                                     slowsoap badsoap reupnp repmp close
#                                                     sigint sigterm title upclose upterm
#                                                     uptitle wine-natpmp wine-upnp)
#   ROUTER_NO_BUILD=1 scripts/router-lab.sh           use the program already built
#   ROUTER_LOGS=DIR scripts/router-lab.sh             keep every program's output in DIR
#   ROUTER_WINDOWS=DIR scripts/router-lab.sh wine-natpmp
#                                                     the Windows program in DIR under Wine
#
# Run it as root: it makes network namespaces, installs packages and gives the copy its
# file capability.
set -euo pipefail
cd "$(dirname "$0")/.."
no_build="${ROUTER_NO_BUILD:-}" logs="${ROUTER_LOGS:-}"
source scripts/lab-common.sh
began=$SECONDS
miniupnpd=$(scripts/router-miniupnpd.sh)
echo "miniupnpd for the lab: $miniupnpd (ready in $((SECONDS - began)) s)"

# A developer's own router settings stay out of the lab: the programs find the router.
unset DORVALA_ROUTER DORVALA_MAP_PORTS DORVALA_ROUTER_LEASE
exec /usr/bin/python3 tests/router/router_tests.py --miniupnpd "$miniupnpd" "${program[@]}" \
  ${keep[@]+"${keep[@]}"} "$@"
