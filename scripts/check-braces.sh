#!/usr/bin/env bash
# The one brace style: none round a single statement. Says which files differ; with --fix writes them.
# A pass that removes braces leaves some lines badly broken (clang-format 14), so a second pass without it follows.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mapfile -t sources < <(git ls-files -- 'src/*.cpp' 'src/*.h' 'tools/*.cpp' 'tools/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'bench/*.h')
cp --parents -- "${sources[@]}" "$work"

format() {
  (cd "$work" && printf '%s\0' "${sources[@]}" | xargs -0 -n 64 -P "$(nproc)" clang-format -i)
}
{ cat .clang-format; echo "RemoveBracesLLVM: true"; } >"$work/.clang-format"
format
cp .clang-format "$work/.clang-format"
format

status=0
for file in "${sources[@]}"; do
  cmp -s "$file" "$work/$file" && continue
  if [ "${1:-}" = "--fix" ]; then
    cp "$work/$file" "$file"
    echo "braces: written $file"
  else
    echo "check: $file has braces round single statements; scripts/check-braces.sh --fix removes them" >&2
    status=1
  fi
done
exit "$status"
