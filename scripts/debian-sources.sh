#!/usr/bin/env bash
# Makes Debian's source package PACKAGE known to apt, for the scripts that build from
# Debian's sources (the router lab's miniupnpd, the Windows build's miniupnpc): the machine's
# own deb entries again as deb-src, in a file of ours. Does nothing when apt knows the source
# already; otherwise needs root.
#   scripts/debian-sources.sh PACKAGE
set -euo pipefail
package=$1
known() { apt-cache showsrc "$package" 2>/dev/null | grep -q '^Version:'; }
known && exit 0
[ "$(id -u)" -eq 0 ] || { echo "apt knows no source of $package; run this as root" >&2; exit 1; }
list=/etc/apt/sources.list.d
if [ -f "$list/debian.sources" ]; then
  # deb822, as Debian 12 installs it now.
  grep -v '^#' "$list/debian.sources" | sed 's/^Types: deb$/Types: deb-src/' > "$list/dorvala-deb-src.sources.tmp"
  mv "$list/dorvala-deb-src.sources.tmp" "$list/dorvala-deb-src.sources"
else
  # The one-line format of older installs and many images.
  sed -n 's/^deb /deb-src /p' /etc/apt/sources.list > "$list/dorvala-deb-src.list.tmp"
  mv "$list/dorvala-deb-src.list.tmp" "$list/dorvala-deb-src.list"
fi
apt-get -o DPkg::Lock::Timeout=900 update -qq >&2
known || { echo "Debian's archives here have no source package $package" >&2; exit 1; }
