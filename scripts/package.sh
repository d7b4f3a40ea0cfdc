#!/usr/bin/env bash
# Builds the Debian package for players, dist/dorvala_<version>_amd64.deb, checks its desktop
# entry and AppStream data, and runs lintian on it (errors fail; warnings are shown).
# Installs what it needs first. Builds in build-package/ (or $DORVALA_PACKAGE_BUILD_DIR),
# Release, without tests or benchmarks.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh dpkg-dev lintian appstream desktop-file-utils man-db

build="${DORVALA_PACKAGE_BUILD_DIR:-build-package}"
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
# Debian's hardening flags (fortify, stack protector, full RELRO with immediate binding).
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
flags=(-DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
       -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)")
mkdir -p "$build"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DDORVALA_TESTS=OFF \
  -DDORVALA_BENCH=OFF "${flags[@]}" "${launcher[@]}" > "$build/configure.log" 2>&1 \
  || { cat "$build/configure.log"; exit 1; }
ninja -C "$build" > "$build/build.log" 2>&1 || { tail -40 "$build/build.log"; exit 1; }

rm -f "$build"/dorvala_*.deb
(cd "$build" && cpack -G DEB > cpack.log 2>&1) || { cat "$build/cpack.log"; exit 1; }
debs=("$build"/dorvala_*_amd64.deb)
[ -f "${debs[0]}" ] || { echo "cpack made no dorvala_*_amd64.deb" >&2; exit 1; }
mkdir -p dist
rm -f dist/dorvala_*.deb
cp "${debs[0]}" dist/
deb=dist/$(basename "${debs[0]}")

# The package's own files, as a desktop sees them once installed: the desktop entry, and the
# AppStream data together with the entry and icons it names (--no-net: no address is fetched).
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
dpkg-deb -x "$deb" "$tree"
desktop-file-validate "$tree"/usr/share/applications/*.desktop
appstreamcli validate-tree --no-net "$tree"
lintian --fail-on error "$deb"
echo "$deb"
