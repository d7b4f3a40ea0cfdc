#!/usr/bin/env bash
# Installs the Debian 12 packages the game needs to build, play and test, and any further
# packages named as arguments (--dev: the developers' tools). Safe to re-run: it only calls
# apt-get when something is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-multimedia-dev libgl-dev
  libfluidsynth-dev timgm6mb-soundfont fluidsynth
  python3 python3-pyftpdlib
  libminiupnpc-dev
  xvfb xauth imagemagick
)
for extra in "$@"; do
  if [ "$extra" = "--dev" ]; then
    packages+=(sox clang libclang-rt-14-dev x11-utils xdotool)
  else
    packages+=("$extra")
  fi
done

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  echo "Installing: ${missing[*]}"
  $sudo_cmd apt-get -o DPkg::Lock::Timeout=900 update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get -o DPkg::Lock::Timeout=900 install -y -qq \
    --no-install-recommends "${missing[@]}"
fi
