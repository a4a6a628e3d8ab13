#!/usr/bin/env bash
# House rules that need no build: formatting, names, the direction of includes, platform conditionals in their place, no oversized source file.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0

mapfile -t sources < <(git ls-files -- 'src/*.cpp' 'src/*.h' 'tools/*.cpp' 'tools/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'bench/*.h')
if command -v clang-format >/dev/null && [ "${#sources[@]}" -gt 0 ]; then
  clang-format --dry-run -Werror "${sources[@]}" || status=1
  scripts/check-braces.sh || status=1
fi

if git grep -nE '^\s*#\s*(if|ifdef|ifndef|elif).*(Q_OS_|_WIN32|__linux__|__MINGW)' -- 'src/*' 'tools/*' ':!src/platform/*'; then
  echo "check: platform conditionals belong into src/platform" >&2
  status=1
fi

if git grep -nE '\.detach\(\)' -- 'src/*.cpp' 'src/*.h' 'tools/*.cpp' ':!src/platform/*'; then
  echo "check: a thread that nobody waits for is begun by runDetached; detached ones get lost on Windows" >&2
  status=1
fi

for file in "${sources[@]}"; do
  lines=$(wc -l <"$file")
  if [ "$lines" -gt 600 ]; then
    echo "check: $file has $lines lines; split it by responsibility" >&2
    status=1
  fi
done

python3 scripts/check-includes.py || status=1
if command -v clang-tidy >/dev/null; then
  scripts/check-names.sh || status=1
fi

[ "$status" -eq 0 ] && echo "check: house rules hold"
exit "$status"
