#!/usr/bin/env bash
# Cross-builds the game for 64-bit Windows and packs it:
#   dist/windows/dorvala/         dorvala.exe with the DLLs, plugins, sounds, tune, maker page
#   dist/dorvala-windows-x64.zip  that folder, zipped
#   dist/dorvala-setup.exe        an installer (per user, no administrator needed)
# --tests also builds the test programs into build-windows/bin, runnable there under Wine
# (scripts/windows/test.sh runs them). Qt for Windows comes from build-qt.sh.
set -euo pipefail
source "$(dirname "$0")/common.sh"

tests=OFF
[ "${1:-}" = "--tests" ] && tests=ON
start=$SECONDS

apt_install g++-mingw-w64-x86-64-posix cmake ninja-build qt6-base-dev qt6-base-dev-tools nsis zip
mingw_alternatives
"$repo/scripts/windows/build-qt.sh"
# libminiupnpc, linked in statically: the host asks the router over UPnP-IGD as on Linux.
miniupnpc_dir=$("$repo/scripts/windows/build-miniupnpc.sh")

werror=OFF
[ -n "${CI:-}" ] && werror=ON
# Qt's own wrapper finds its relocated tree; it chains our toolchain file for the compilers.
mkdir -p "$build_dir"
"$qt_dir/bin/qt-cmake" -S "$repo" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DQT_CHAINLOAD_TOOLCHAIN_FILE="$repo/cmake/mingw-w64.cmake" -DCMAKE_PREFIX_PATH="$miniupnpc_dir" \
  -DDORVALA_TESTS=$tests -DDORVALA_BENCH=OFF -DDORVALA_WERROR="$werror" \
  > "$build_dir/configure.log" 2>&1 || { cat "$build_dir/configure.log"; exit 1; }
ninja -C "$build_dir"

# What a Windows program needs beside it: Qt's DLLs and plugins, MinGW's runtime.
deploy() {
  local to=$1 platforms=$2
  mkdir -p "$to/platforms" "$to/styles" "$to/imageformats"
  for dll in Qt6Core Qt6Gui Qt6Widgets Qt6Network; do
    cp -u "$qt_dir/bin/$dll.dll" "$to/"
  done
  for plugin in $platforms; do
    cp -u "$qt_dir/plugins/platforms/$plugin.dll" "$to/platforms/"
  done
  cp -u "$qt_dir/plugins/styles/qwindowsvistastyle.dll" "$to/styles/"
  for plugin in qgif qico qjpeg; do
    cp -u "$qt_dir/plugins/imageformats/$plugin.dll" "$to/imageformats/"
  done
  for dll in "$mingw_gcc_dir/libstdc++-6.dll" "$mingw_gcc_dir/libgcc_s_seh-1.dll" \
             "$mingw_lib_dir/libwinpthread-1.dll"; do
    [ "$to/$(basename "$dll")" -nt "$dll" ] && continue
    x86_64-w64-mingw32-strip --strip-unneeded -o "$to/$(basename "$dll")" "$dll"
  done
}

if [ "$tests" = ON ]; then
  deploy "$build_dir/bin" "qwindows qoffscreen"
  cp -u "$qt_dir/bin/Qt6Test.dll" "$build_dir/bin/"
fi

program="$dist/windows/dorvala"
rm -rf "$program"
mkdir -p "$program"
x86_64-w64-mingw32-strip --strip-unneeded -o "$program/dorvala.exe" "$build_dir/bin/dorvala.exe"
deploy "$program" "qwindows qoffscreen"
cp "$repo"/assets/sounds/* "$program/"
cp -r "$repo/assets/maker" "$program/maker"
# Qt looks for its plugins beside the program; a qt.conf says so even if a Qt elsewhere
# on the machine has set QT_PLUGIN_PATH.
printf '[Paths]\nPrefix = .\nPlugins = .\n' > "$program/qt.conf"

rm -f "$dist/dorvala-windows-x64.zip" "$dist/dorvala-setup.exe"
(cd "$dist/windows" && zip -qr9 ../dorvala-windows-x64.zip dorvala)
# The installer's file lists: what it installs is exactly what its uninstaller removes.
lists="$dist/windows"
(
  cd "$program"
  echo "; written by scripts/windows/build.sh" > "$lists/install-files.nsh"
  echo "; written by scripts/windows/build.sh" > "$lists/uninstall-files.nsh"
  while read -r folder; do
    out='$INSTDIR'
    [ "$folder" != . ] && out="\$INSTDIR\\${folder#./}"
    out=${out//\//\\}
    echo "SetOutPath \"$out\"" >> "$lists/install-files.nsh"
    find "$folder" -maxdepth 1 -type f -printf '%f\n' | sort | while read -r file; do
      echo "File \"$program/${folder#./}/$file\"" >> "$lists/install-files.nsh"
      echo "Delete \"$out\\$file\"" >> "$lists/uninstall-files.nsh"
    done
  done < <(find . -type d | sort)
  find . -mindepth 1 -type d | sort -r | while read -r folder; do
    out="\$INSTDIR\\${folder#./}"
    echo "RMDir \"${out//\//\\}\"" >> "$lists/uninstall-files.nsh"
  done
)
echo 'SetOutPath "$INSTDIR"' >> "$lists/install-files.nsh"
version=$(sed -n 's/^project(Dorvala VERSION \([0-9.]*\).*/\1/p' "$repo/CMakeLists.txt")
makensis -V2 -DVERSION="$version" -DLISTS="$lists" -DOUTFILE="$dist/dorvala-setup.exe" \
  "$repo/packaging/windows/dorvala.nsi"

echo
echo "Windows build in $((SECONDS - start)) s:"
for file in "$dist/dorvala-windows-x64.zip" "$dist/dorvala-setup.exe"; do
  printf '  %-40s %s bytes\n' "${file#$repo/}" "$(stat -c %s "$file")"
done
