#!/usr/bin/env bash
# Makes libminiupnpc for Windows (x86-64, MinGW-w64, a static library) from Debian's own
# miniupnpc source package, built by its own CMake, and prints the folder it is installed in:
# ~/.cache/dorvala/miniupnpc-<Debian's source version>-mingw (DORVALA_MINIUPNPC_CACHE instead
# of ~/.cache/dorvala). The game finds it there with find_package(miniupnpc): the imported
# target carries MINIUPNP_STATICLIB and the ws2_32 and iphlpapi links.
#
# Does nothing but print the folder when it holds a build of the same source version. Messages
# go to standard error; standard output is the folder alone.
set -euo pipefail
source "$(dirname "$0")/common.sh"
exec 3>&1 1>&2

apt_install g++-mingw-w64-x86-64-posix cmake ninja-build dpkg-dev
mingw_alternatives

"$(dirname "$0")/../debian-sources.sh" miniupnpc
version=$(apt-cache showsrc miniupnpc | sed -n 's/^Version: //p' | sort -V | tail -1)
[ -n "$version" ] || { echo "Debian has no miniupnpc source here" >&2; exit 1; }

prefix="${DORVALA_MINIUPNPC_CACHE:-$HOME/.cache/dorvala}/miniupnpc-$version-mingw"
# Written last: a build broken off halfway is never taken for a finished one.
stamp="$prefix/built-from-debian-source"
if [ -f "$stamp" ]; then
  echo "miniupnpc for Windows: $prefix (already there)"
  echo "$prefix" >&3
  exit 0
fi

echo "miniupnpc for Windows: building Debian's $version source"
start=$SECONDS
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && apt-get source -qq miniupnpc="$version" > "$work/source.log" 2>&1) \
  || { cat "$work/source.log"; exit 1; }
src=$(find "$work" -mindepth 1 -maxdepth 1 -type d -name 'miniupnpc-*' | head -1)
# The samples, tests and shared library are of no use to the game and would only cost time.
cmake -S "$src" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$repo/cmake/mingw-w64.cmake" -DCMAKE_INSTALL_PREFIX="$prefix" \
  -DUPNPC_BUILD_STATIC=ON -DUPNPC_BUILD_SHARED=OFF -DUPNPC_BUILD_TESTS=OFF -DUPNPC_BUILD_SAMPLE=OFF \
  > "$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
ninja -C "$work/build" > "$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
rm -rf "$prefix"
cmake --install "$work/build" > /dev/null
echo "miniupnpc $version" > "$stamp"
echo "miniupnpc for Windows: built in $((SECONDS - start)) s into $prefix"
echo "$prefix" >&3
