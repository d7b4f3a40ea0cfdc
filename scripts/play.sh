#!/usr/bin/env bash
# Installs what is needed, builds, and starts the game. Without DORVALA_FTP_URL a local
# registry (FTP on 127.0.0.1:2121) runs for as long as the game does.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
scripts/build.sh -DDORVALA_TESTS=OFF -DDORVALA_BENCH=OFF > build.log 2>&1 || { tail -40 build.log; exit 1; }

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "Tidak ada layar (no display): start the game from a desktop session, or run scripts/demo.sh to watch a match played offscreen."
  exec scripts/demo.sh
fi

registry_pid=""
cleanup() { [ -n "$registry_pid" ] && kill "$registry_pid" 2>/dev/null || true; }
trap cleanup EXIT
if [ -z "${DORVALA_FTP_URL:-}" ]; then
  root="${XDG_DATA_HOME:-$HOME/.local/share}/Pobrek/dorvala/registry"
  mkdir -p "$root"
  if ! (exec 3<>/dev/tcp/127.0.0.1/2121) 2>/dev/null; then
    /usr/bin/python3 scripts/registry.py --host 127.0.0.1 --port 2121 --root "$root" > /dev/null &
    registry_pid=$!
    for _ in $(seq 50); do (exec 3<>/dev/tcp/127.0.0.1/2121) 2>/dev/null && break; sleep 0.1; done
  fi
  export DORVALA_FTP_URL="ftp://dorvala@127.0.0.1:2121/"
fi
"${DORVALA_BUILD_DIR:-build}/bin/dorvala" "$@"
