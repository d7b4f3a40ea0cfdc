# Shared settings of the Windows scripts; sourced, not run.
# shellcheck shell=bash

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
# The Qt for Windows that the game is built with (made or unpacked by build-qt.sh).
qt_dir="${DORVALA_QT_WINDOWS:-$HOME/.cache/dorvala/qt-6.4.2-mingw}"
# A ready Qt build made by build-qt.sh's recipe, kept beside the repository on CI machines
# (the team's machines keep it in /work/shared).
shared_qt="${DORVALA_SHARED_QT:-}"
if [ -z "$shared_qt" ]; then
  shared_qt="$repo/../shared/qt-windows"
  [ -d "$shared_qt" ] || [ ! -d /work/shared/qt-windows ] || shared_qt=/work/shared/qt-windows
fi
qt_archive_sha256=b604f12cbf001a9e4ebcba996f7842ab976ff1688ae72eb5a7d703b50116ff4b
build_dir="${DORVALA_WINDOWS_BUILD_DIR:-$repo/build-windows}"
dist="$repo/dist"
mingw_gcc_dir=/usr/lib/gcc/x86_64-w64-mingw32/12-posix
mingw_lib_dir=/usr/x86_64-w64-mingw32/lib

# Debian installs the 64-bit loader outside PATH when wine32 is not installed.
wine64_command() {
  if command -v wine64 >/dev/null; then
    command -v wine64
  elif [ -x /usr/lib/wine/wine64 ]; then
    echo /usr/lib/wine/wine64
  else
    return 1
  fi
}

apt_install() {
  local missing=()
  for package in "$@"; do
    dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -ne 0 ]; then
    echo "missing packages: ${missing[*]} (install them as root)" >&2
    return 1
  fi
  apt-get -o DPkg::Lock::Timeout=900 update -qq
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 install -y -qq "${missing[@]}"
}

# The compilers with posix threads: std::thread and Qt need them.
mingw_alternatives() {
  for tool in gcc g++; do
    if [ "$(readlink -f "/usr/bin/x86_64-w64-mingw32-$tool")" != "/usr/bin/x86_64-w64-mingw32-$tool-posix" ] \
        && [ "$(id -u)" -eq 0 ]; then
      update-alternatives --set "x86_64-w64-mingw32-$tool" "/usr/bin/x86_64-w64-mingw32-$tool-posix" >/dev/null
    fi
  done
}
