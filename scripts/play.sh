#!/usr/bin/env bash
# Installs what is needed, builds, and starts the game as a player's first start has it:
# nothing configured (a registry comes from the settings screen, DORVALA_FTP_URL or --registry).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh -DDORVALA_TESTS=OFF -DDORVALA_BENCH=OFF > build.log 2>&1 || { tail -40 build.log; exit 1; }

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "Tidak ada layar (no display): start the game from a desktop session, or run scripts/demo.sh to watch a match played offscreen."
  exec scripts/demo.sh
fi

exec "${DORVALA_BUILD_DIR:-build}/bin/dorvala" "$@"
