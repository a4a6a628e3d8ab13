#!/usr/bin/env bash
# Sets up, builds and runs every test.
#   scripts/test.sh                   the dev preset
#   scripts/test.sh --preset asan     another preset (asan: address and undefined-behaviour sanitizers)
#   scripts/test.sh -R NAME           only tests whose name matches (any further ctest option works too)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=dev
if [ "${1:-}" = "--preset" ]; then
  preset=$2
  shift 2
fi
scripts/setup.sh
scripts/check.sh
scripts/build.sh "$preset"
ctest --preset "$preset" -j 2 "$@"
