#!/usr/bin/env bash
# Configures and builds one preset (dev, release, asan, tidy).   scripts/build.sh [PRESET]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake --preset "$preset" "${launcher[@]}" >/dev/null
cmake --build --preset "$preset"
