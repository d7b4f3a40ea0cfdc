#!/usr/bin/env bash
# The router lab's miniupnpd: Debian 12's own source (2.3.1), rebuilt for nftables with one
# change. Its table of reserved external addresses counts all of 198.18.0.0/15 as reserved,
# and the lab's "internet" is 198.19.0.0/24, so that one entry becomes 198.18.0.0/16 (the lab's
# LAN side stays reserved, and 100.64.0.0/10 does too: the provider's shared addresses). The
# binary is cached under ~/.cache/dorvala/, keyed by the source version; the path is printed.
# Installs what it needs through apt-get (run as root on Debian 12).
set -euo pipefail
cd "$(dirname "$0")/.."

cache="${XDG_CACHE_HOME:-$HOME/.cache}/dorvala"
apt=(apt-get -o DPkg::Lock::Timeout=900)

# Running it needs only its libraries and the tools around it, never the package itself
# (whose service would start on this machine's real interfaces).
scripts/deps.sh libmnl0 libnftnl11 nftables miniupnpc iproute2 >&2

version_of() {
  apt-cache showsrc miniupnpd 2>/dev/null | sed -n 's/^Version: //p' | sort -V | tail -n 1 || true
}

scripts/debian-sources.sh miniupnpd
version=$(version_of)
[ -n "$version" ] || { echo "no source package miniupnpd" >&2; exit 1; }
binary="$cache/miniupnpd-$version-bench16/miniupnpd"
if [ -x "$binary" ]; then
  echo "$binary"
  exit 0
fi

scripts/deps.sh libnftnl-dev libmnl-dev pkg-config dpkg-dev >&2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && "${apt[@]}" source -qq "miniupnpd=$version" >&2)
src=$(find "$work" -maxdepth 1 -type d -name 'miniupnpd-*' | head -n 1)
table="$src/getifaddr.c"
grep -q 'IP(198,  18,   0, 0), MSK(15)' "$table" \
  || { echo "the reserved-address entry for 198.18.0.0/15 is not where expected" >&2; exit 1; }
sed -i 's/IP(198,  18,   0, 0), MSK(15)/IP(198,  18,   0, 0), MSK(16)/' "$table"
# Debian's own configure line for the nftables package (debian/rules).
(cd "$src" \
  && ./configure --igd2 --ipv6 --vendorcfg --pcp-peer --portinuse --leasefile \
       --firewall=nftables >&2 \
  && make -s -j"$(nproc)" -f Makefile.linux_nft miniupnpd >&2)
mkdir -p "$(dirname "$binary")"
install -m 0755 "$src/miniupnpd" "$binary.new"
mv "$binary.new" "$binary"
echo "$binary"
