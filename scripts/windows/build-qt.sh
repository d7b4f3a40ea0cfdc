#!/usr/bin/env bash
# Makes Qt 6.4.2 for Windows (x86-64, MinGW-w64 with posix threads) in
# ${DORVALA_QT_WINDOWS:-~/.cache/dorvala/qt-6.4.2-mingw}: Core, Gui, Widgets, Network, Test
# and the windows and offscreen platform plugins, from Debian's own qt6-base source package,
# with the host's Qt tools (moc, rcc, uic from /usr).
#
# Does nothing when that folder already holds a build. When a ready build made by this
# recipe is at hand (DORVALA_SHARED_QT, else ../shared/qt-windows beside the repository),
# unpacks it after checking its sha256 instead of building: a build from source takes
# about 50 minutes of two cores. --from-source builds even then.
set -euo pipefail
source "$(dirname "$0")/common.sh"

from_source=0
[ "${1:-}" = "--from-source" ] && from_source=1

if [ -x "$qt_dir/bin/qt-cmake" ] && [ -f "$qt_dir/bin/Qt6Widgets.dll" ]; then
  echo "Qt for Windows: $qt_dir (already there)"
  exit 0
fi
mkdir -p "$(dirname "$qt_dir")"

if [ $from_source -eq 0 ] && [ -f "$shared_qt/qt-6.4.2-mingw.tar.xz" ]; then
  archive="$shared_qt/qt-6.4.2-mingw.tar.xz"
  echo "Qt for Windows: unpacking the ready build $archive"
  echo "$qt_archive_sha256  $archive" | sha256sum --check --quiet -
  unpack="$(mktemp -d "$(dirname "$qt_dir")/.qt-unpack.XXXXXX")"
  tar -xJf "$archive" -C "$unpack"
  rm -rf "$qt_dir"
  mv "$unpack/qt-6.4.2-mingw" "$qt_dir"
  rmdir "$unpack"
  echo "Qt for Windows: $qt_dir"
  exit 0
fi

echo "Qt for Windows: building from Debian's qt6-base source (about 50 minutes on 2 cores)"
start=$SECONDS
apt_install g++-mingw-w64-x86-64-posix qt6-base-dev qt6-base-dev-tools cmake ninja-build \
  dpkg-dev libwine-dev xz-utils
mingw_alternatives

# Sources from the same mirror and suite as the machine's packages.
if ! apt-get source --print-uris qt6-base >/dev/null 2>&1; then
  [ "$(id -u)" -eq 0 ] || { echo "no deb-src entry for qt6-base; add one as root" >&2; exit 1; }
  lists=$(ls /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources 2>/dev/null || true)
  # shellcheck disable=SC2086
  mirror=$(awk '$1=="deb" {for (i=2; i<=NF; i++) if ($i ~ /^[a-z]+:\/\//) {print $i; exit}}
                $1=="URIs:" {print $2; exit}' $lists)
  [ -n "$mirror" ] || { echo "cannot tell the machine's Debian mirror" >&2; exit 1; }
  suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
  {
    echo "Types: deb-src"
    echo "URIs: $mirror"
    echo "Suites: $suite"
    echo "Components: main"
    [ -f /usr/share/keyrings/debian-archive-keyring.gpg ] \
      && echo "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg"
  } > /etc/apt/sources.list.d/dorvala-qt-source.sources
  apt-get -o DPkg::Lock::Timeout=900 update -qq
fi

work="${DORVALA_QT_WORK:-$(dirname "$qt_dir")/qt-6.4.2-mingw-work}"
mkdir -p "$work"
cd "$work"
if [ ! -d qtbase-everywhere-src-6.4.2 ]; then
  apt-get source --download-only qt6-base
  orig=$(ls qt6-base_6.4.2*.orig.tar.xz | head -1)
  [ -n "$orig" ] || { echo "Debian's qt6-base source is not 6.4.2 here" >&2; exit 1; }
  # Debian's own patches are not applied: they are for Linux builds.
  tar -xJf "$orig"
fi
src="$work/qtbase-everywhere-src-6.4.2"

# Debian's +dfsg tarball leaves out the tablet header of the Windows platform plugin; Wine
# ships the same public header. Wine's copy takes three macros from Wine's own headers.
wintab="$src/src/3rdparty/wintab"
if [ ! -f "$wintab/wintab.h" ]; then
  mkdir -p "$wintab"
  cp /usr/include/wine/wine/windows/wintab.h "$wintab/wine_wintab.h"
  cp /usr/include/wine/wine/windows/pktdef.h "$wintab/pktdef.h"
  cat > "$wintab/wintab.h" <<'HEADER'
#pragma once
#include <windows.h>
#ifndef DECL_WINELIB_TYPE_AW
#  ifdef UNICODE
#    define DECL_WINELIB_TYPE_AW(type) typedef type##W type;
#  else
#    define DECL_WINELIB_TYPE_AW(type) typedef type##A type;
#  endif
#endif
#ifndef WINELIB_NAME_AW
#  ifdef UNICODE
#    define WINELIB_NAME_AW(name) name##W
#  else
#    define WINELIB_NAME_AW(name) name##A
#  endif
#endif
#ifndef API
#  define API WINAPI
#endif
#include "wine_wintab.h"
HEADER
fi

rm -rf "$work/build"
mkdir -p "$work/build"
cd "$work/build"
"$src/configure" -xplatform win32-g++ -qt-host-path /usr -prefix "$qt_dir" \
  -release -shared -nomake examples -nomake tests -opengl no \
  -no-feature-sql -no-feature-dbus -no-feature-printsupport -no-feature-concurrent \
  -qt-zlib -qt-pcre -qt-libpng -qt-libjpeg -qt-freetype -qt-harfbuzz -no-feature-vulkan \
  -- -DCMAKE_TOOLCHAIN_FILE="$repo/cmake/mingw-w64.cmake" \
     -DQT_HOST_PATH_CMAKE_DIR=/usr/lib/x86_64-linux-gnu/cmake > "$work/configure.log" 2>&1 \
  || { tail -40 "$work/configure.log"; exit 1; }
ninja
cmake --install . > "$work/install.log"
find "$qt_dir" -name '*.dll' -exec x86_64-w64-mingw32-strip --strip-unneeded {} +
echo "Qt for Windows: built in $(( (SECONDS - start) / 60 )) min $(( (SECONDS - start) % 60 )) s into $qt_dir"
echo "(the sources and build folder $work can be removed)"
