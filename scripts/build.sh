#!/usr/bin/env bash
# Configures and builds one preset (dev, release, asan, tidy), or some of its targets.   scripts/build.sh [PRESET [TARGET...]]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}
shift || true
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake --preset "$preset" "${launcher[@]}" >/dev/null
targets=()
[ "$#" -gt 0 ] && targets=(--target "$@")
cmake --build --preset "$preset" "${targets[@]}"
