#!/usr/bin/env bash
# Builds the fuzzer (clang) and has it try every reader and the writers.
#   scripts/fuzz.sh [SECONDS [TARGET...]]   SECONDS for each target (5); all targets
# What it learns stays in build/fuzz/corpus, an input that breaks something in build/fuzz/finds: run it again with
#   QM_FUZZ_TARGET=TARGET QM_FONTS=build/fuzz/bin/fonts build/fuzz/bin/quillmark-fuzz FIND
# and add it to tests/fuzz/seeds.py once it is mended.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-5}
shift || true
scripts/setup.sh
scripts/build.sh fuzz
bin=$PWD/build/fuzz/bin
corpus=$PWD/build/fuzz/corpus
finds=$PWD/build/fuzz/finds
mkdir -p "$finds"
python3 tests/fuzz/seeds.py . "$bin/Report Generator.chm" "$corpus"
[ "$#" -gt 0 ] || mapfile -t all < <("$bin/quillmark-fuzz")
[ "$#" -gt 0 ] || set -- "${all[@]}"

# Temporary files lie in memory where the system has such a folder.
memory=/tmp
[ -d /dev/shm ] && memory=/dev/shm
TMPDIR=$(mktemp -d "$memory/quillmark-fuzz-XXXXXX")
trap 'rm -rf "$TMPDIR"' EXIT
export TMPDIR bin corpus finds seconds QM_FONTS=$bin/fonts TZ=Europe/Berlin LC_ALL=C.UTF-8

try() {
  local target=$1 log=$TMPDIR/$1.log options=() result=0
  case $target in
    jobs | email | data-source | query | layout) options=(-dict=tests/fuzz/toml.dict) ;;
    evtxml) options=(-dict=tests/fuzz/xml.dict) ;;
  esac
  mkdir -p "$corpus/$target"
  QM_FUZZ_TARGET=$target "$bin/quillmark-fuzz" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2000 -max_len=20000 "${options[@]}" \
    -artifact_prefix="$finds/$target-" -print_final_stats=1 "$corpus/$target" >"$log" 2>&1 || result=$?
  printf '%-14s %8s inputs, %s edges%s\n' "$target" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
    "$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -c6-)" "$([ "$result" -eq 0 ] || echo ": FOUND")"
  [ "$result" -eq 0 ] || { grep -vE '^#[0-9]+\s' "$log" | tail -40; return 1; }
}
export -f try
printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} bash -c 'try {}' || { echo "fuzz: inputs that break something are in build/fuzz/finds" >&2; exit 1; }
echo "fuzz: nothing found"
