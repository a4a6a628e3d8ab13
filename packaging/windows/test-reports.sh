#!/usr/bin/env bash
# Generates every sample report with quillmark-report.exe under Wine and with the program of this machine, from one trial installation,
# and compares: CSV byte for byte, XLSX and PDF by the rows or text in them.
#   packaging/windows/test-reports.sh [WINDOWS_BUILD] [LINUX_BUILD]      (defaults build/win and build/release)
set -euo pipefail
. "$(dirname "$0")/common.sh"
. "$here/wine.sh"
windows=$(realpath "${1:-$project/build/win}")
linux=$(realpath "${2:-$project/build/release}")
[ -x "$linux/bin/quillmark-report" ] && [ -x "$linux/bin/quillmark-trial" ] \
  || fail "build this machine's programs first: scripts/build.sh release quillmark-report quillmark-trial"
need_wine
need_packages python3-openpyxl poppler-utils

trial=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-windows-XXXXXX")
trap 'rm -rf "$trial"' EXIT
export TZ=Europe/Berlin
"$linux/bin/quillmark-trial" --to "$trial/trial/" --samples "$project/samples" >"$trial/trial.log" 2>&1 \
  || { cat "$trial/trial.log" >&2; fail "the trial installation could not be made"; }

# rows FILE: the lines a spreadsheet or a page shows. Times of the run are masked. What names the period is left out: Wine guesses the name of the
# zone by its rules, so the text is another one and breaks elsewhere; and with it the number of pages, their numbers and the order by pages, so a PDF's lines are compared as a set.
rows() {
  case $1 in
    *.xlsx) /usr/bin/python3 - "$1" <<'PY'
import sys, openpyxl
for sheet in openpyxl.load_workbook(sys.argv[1], read_only=True):
    for row in sheet.iter_rows(values_only=True):
        print(sheet.title, row)
PY
      ;;
    *.pdf) pdftotext -layout "$1" - | tr -s ' \f' ' ' | sed 's/^ //' | sort -u ;;
  esac | grep -vE 'Period|UTC|Europe/|^(last|this|previous) [a-z]+$|Page [0-9]+|[0-9]+ (of|/) [0-9]+' |
    sed -E 's/[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}(:[0-9]{2})?/TIME/g; s/ on [0-9]+ pages?/ on PAGES/'
}

reports=0
differ=()
while IFS= read -r query; do
  rm -f "$trial"/linux.* "$trial"/windows.*
  # Wine takes its time to start a program, so the three start together.
  for format in csv xlsx pdf; do
    run_wine 120 "$windows/bin/quillmark-report.exe" --format $format --output "$(windows_path "$trial/windows.$format")" \
      "$(windows_path "$query")" >"$trial/theirs.$format.log" 2>&1 &
  done
  for format in csv xlsx pdf; do
    "$linux/bin/quillmark-report" --format $format --output "$trial/linux.$format" "$query" >"$trial/ours.$format.log" 2>&1 || true
  done
  wait
  for format in csv xlsx pdf; do
    ours=$trial/linux.$format
    theirs=$trial/windows.$format
    reports=$((reports + 1))
    if [ ! -f "$ours" ] || [ ! -f "$theirs" ]; then
      differ+=("$(basename "$query") $format: not generated: $(tail -n 1 "$trial/ours.$format.log") / $(tail -n 1 "$trial/theirs.$format.log")")
    elif [ $format = csv ]; then
      cmp -s "$ours" "$theirs" || differ+=("$(basename "$query") csv: the bytes differ")
    else
      diff <(rows "$ours") <(rows "$theirs") >"$trial/diff" || differ+=("$(basename "$query") $format: $(head -n 3 "$trial/diff" | tr '\n' ' ')")
    fi
  done
done < <(find "$trial/trial" -name '*.rqn' | sort)

say "$reports reports generated twice, ${#differ[@]} differ"
if [ "${#differ[@]}" -gt 0 ]; then
  printf '  %s\n' "${differ[@]}" >&2
  exit 1
fi
[ "$reports" -gt 0 ] || fail "the trial installation holds no query"
