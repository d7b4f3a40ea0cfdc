#!/usr/bin/env bash
# Installs what is needed, builds, and runs the whole test suite, ending with CTest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
werror=OFF
[ -n "${CI:-}" ] && werror=ON
scripts/build.sh -DDORVALA_WERROR=$werror
export QT_QPA_PLATFORM=offscreen DORVALA_LOCAL_IP=127.0.0.1
ctest --test-dir "${DORVALA_BUILD_DIR:-build}" --output-on-failure -j2 "$@"
