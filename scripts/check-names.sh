#!/usr/bin/env bash
# Names in every header of src/ as .clang-tidy wants them: one translation unit includes them all, so that it takes seconds and no build.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-names-XXXXXX")
trap 'rm -rf "$work"' EXIT
git ls-files -- 'src/*.h' ':!*Windows.h' | sed 's|.*|#include "&"|' >"$work/headers.cpp"
modules=(Qt6Widgets Qt6Network Qt6PrintSupport sqlite3 tomlplusplus odbc harfbuzz harfbuzz-subset fontconfig expat libcurl spdlog libcrypto fribidi)
includes=$(pkg-config --cflags "${modules[@]}" | sed 's/-I/-isystem /g')
# shellcheck disable=SC2086
if ! clang-tidy --quiet --config-file=.clang-tidy --checks='-*,readability-identifier-naming' --warnings-as-errors='*' --header-filter="^$PWD/src/|/src/.*\.h\$" "$work/headers.cpp" -- \
  -std=c++20 -fPIC -I. -Isrc -DQT_NO_CAST_FROM_ASCII -DQUILLMARK_VERSION='""' $includes >"$work/said" 2>&1; then
  grep -E 'error:' "$work/said" >&2 || cat "$work/said" >&2
  echo "check: names in these headers differ from .clang-tidy" >&2
  exit 1
fi
