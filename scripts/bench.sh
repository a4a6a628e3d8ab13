#!/usr/bin/env bash
# Measures the program against its peers on this machine, in one run, and says which goals hold.
#   scripts/bench.sh                  sets up, builds the release preset, measures
#   scripts/bench.sh --build DIR      measures what DIR already holds, builds nothing
#   scripts/bench.sh --rounds N       runs each contender N times (default 5); medians count
# CPU is user and system time together. A contender and its peer take turns, so that the machine's moods fall on both alike.
set -euo pipefail
cd "$(dirname "$0")/.."
build=
rounds=5
while [ $# -gt 0 ]; do
  case $1 in
    --build) build=$2; shift 2 ;;
    --rounds) rounds=$2; shift 2 ;;
    *) echo "usage: scripts/bench.sh [--build DIR] [--rounds N]" >&2; exit 2 ;;
  esac
done
if [ -z "$build" ]; then
  scripts/setup.sh --bench
  scripts/build.sh release
  build=build/release
fi
bin=$PWD/$build/bin
for need in "$bin/quillmark-report" "$bin/bench_report" sqlite3 /usr/bin/time; do
  command -v "$need" >/dev/null || { echo "bench: $need is missing; scripts/setup.sh --bench and scripts/build.sh release make it" >&2; exit 1; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen
mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME"
missed=0

# --- measuring ---------------------------------------------------------------------------------------------------------------------
cost() { # command...: prints CPU seconds and peak memory in kB
  local out=$work/cost
  if ! /usr/bin/time -o "$out" -f '%U %S %M' "$@" >"$work/said" 2>&1; then
    echo "bench: failed: $*" >&2
    cat "$work/said" >&2
    exit 1
  fi
  awk '{ printf "%.3f %d\n", $1 + $2, $3 }' "$out"
}

median() { sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }

line() { printf '%-44s %10s %10s %8s %8s  %s\n' "$@"; }

verdict() { # value goal: PASS when value <= goal
  awk -v value="$1" -v goal="$2" 'BEGIN { print value <= goal ? "PASS" : "MISS" }'
}

judge() { # what own peer goal
  local ratio holds
  ratio=$(awk -v own="$2" -v peer="$3" 'BEGIN { printf "%.2f", own / peer }')
  holds=$(verdict "$ratio" "$4")
  [ "$holds" = PASS ] || missed=$((missed + 1))
  line "$1" "$2 s" "$3 s" "$ratio" "<= $4" "$holds"
}

compare() { # what goal own-function peer-function
  local round
  : >"$work/own"
  : >"$work/peer"
  for round in $(seq "$rounds"); do
    $3 | cut -d' ' -f1 >>"$work/own"
    $4 | cut -d' ' -f1 >>"$work/peer"
  done
  judge "$1" "$(median <"$work/own")" "$(median <"$work/peer")" "$2"
}

# --- the table ---------------------------------------------------------------------------------------------------------------------
select="SELECT id, time, event_id, source, computer, user, message FROM event ORDER BY id"
printf 'description = "Events"\nsql = """\n%s\n"""\n' "$select" >"$work/Events.rqn"
"$bin/bench_report" data 1000000 "$work/1000000.db"
"$bin/bench_report" data 100000 "$work/100000.db"

# The same rows with a group, sums and a chart: by computer, whose rows stand scattered, so that all of them are put into another order.
printf 'description = "Events"\nreport_file = "%s"\nsql = """\n%s\n"""\n' "$work/Grouped.rpt" "$select" >"$work/Grouped.rqn"
cat >"$work/Grouped.rpt" <<'LAYOUT'
format = 1
[[group]]
field = "computer"
[[group.subtotal]]
function = "count"
[[group.subtotal]]
field = "event_id"
function = "sum"
[[total]]
function = "count"
[[total]]
field = "user"
function = "distinct"
[[chart]]
kind = "bar"
title = "Events by source"
category = "source"
top = 10
other = true
LAYOUT

report() { cost "$bin/quillmark-report" --format "$1" --database "$work/$2.db" --output "$work/own.$1" "$work/Events.rqn"; }
shell() { cost sqlite3 "-$1" "$work/1000000.db" ".once $work/peer.$1" "$select"; }
grouped() { cost "$bin/quillmark-report" --format "$1" --database "$work/$2.db" --output "$work/grouped.$1" "$work/Grouped.rqn"; }
own_csv() { report csv 1000000; }
own_html() { report html 1000000; }
grouped_csv() { grouped csv 1000000; }
grouped_html() { grouped html 1000000; }
own_xlsx() { report xlsx 100000; }
peer_csv() { shell csv; }
peer_html() { shell html; }
peer_xlsx() { cost "$bin/bench_report" libxlsxwriter "$work/100000.db" "$work/peer.xlsx"; }
own_pdf() { cost "$bin/bench_pdf" quillmark 100000 "$work/own.pdf"; }
peer_pdf() { cost "$bin/bench_pdf" libharu 100000 "$work/peer.pdf"; }

printf '%s, %s processors, medians of %s rounds\n\n' "$(uname -m)" "$(nproc)" "$rounds"
line "CPU" "own" "peer" "ratio" "goal" ""
compare "CSV, 1M rows; peer sqlite3 -csv" 0.7 own_csv peer_csv
for file in own peer; do
  records=$(grep -c '^' "$work/$file.csv")
  [ "$records" -ge 1000000 ] || { echo "bench: $file.csv holds $records lines instead of 1,000,000" >&2; exit 1; }
done
compare "HTML, 1M rows; peer sqlite3 -html" 0.9 own_html peer_html
compare "CSV in groups, 1M rows; peer the plain table" 1.3 grouped_csv own_csv
compare "HTML, groups and sums; peer the plain table" 1.3 grouped_html own_html
compare "XLSX, 100k rows; peer libxlsxwriter" 0.45 own_xlsx peer_xlsx
if [ -x "$bin/bench_pdf" ]; then
  compare "PDF, 100k rows; peer libharu" 0.15 own_pdf peer_pdf
else
  echo "bench: no bench_pdf here (libhpdf-dev is missing): PDF is not compared" >&2
fi

# --- memory ------------------------------------------------------------------------------------------------------------------------
idle=$(cost "$bin/quillmark-report" --version | cut -d' ' -f2)
printf '\n'
line "Peak memory (idle $((idle / 1024)) MB)" "100k rows" "1M rows" "growth" "above" ""
judge_memory() { # what, peak kB of 100k rows, of 1M rows
  local growth above holds=PASS
  growth=$(awk -v small="$2" -v large="$3" 'BEGIN { printf "%.3f", large / small - 1 }')
  above=$(awk -v large="$3" -v idle="$idle" 'BEGIN { printf "%.1f", (large - idle) / 1024 }')
  if [ "$(verdict "$growth" 0.1)" = MISS ] || [ "$(verdict "$above" 40)" = MISS ]; then
    holds=MISS
    missed=$((missed + 1))
  fi
  line "$1; goal: growth 10 %, 40 MB above idle" "$(($2 / 1024)) MB" "$(($3 / 1024)) MB" \
    "$(awk -v growth="$growth" 'BEGIN { printf "%.1f %%", 100 * growth }')" "$above MB" "$holds"
}
for format in csv html xlsx pdf; do
  judge_memory "$format" "$(report "$format" 100000 | cut -d' ' -f2)" "$(report "$format" 1000000 | cut -d' ' -f2)"
done

# --- a database server --------------------------------------------------------------------------------------------------------------
server=
port=
if [ -x "$bin/bench_odbc" ] && command -v psql odbcinst >/dev/null && odbcinst -q -d | grep -qF '[PostgreSQL Unicode]'; then
  tests/servers/postgres.sh 1200 >"$work/server" 2>&1 &
  server=$!
  trap 'kill "$server" 2>/dev/null || true; wait "$server" 2>/dev/null || true; rm -rf "$work"' EXIT
  for _ in $(seq 150); do
    grep -q '^READY' "$work/server" && break
    sleep 0.1
  done
  port=$(sed -nE 's/^READY port=([0-9]+).*/\1/p' "$work/server")
fi
if [ -n "$port" ]; then
  sqlite3 -csv "$work/1000000.db" "$select" >"$work/event.csv"
  psql -qX "postgresql://boss:pw@127.0.0.1:$port/sales" \
    -c 'CREATE TABLE event(id int PRIMARY KEY, time timestamp, event_id int, source text, computer text, "user" text, message text)' \
    -c "\\copy event from '$work/event.csv' csv" -c ANALYZE
  rm "$work/event.csv"
  connection="Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=$port;UID=boss;PWD=pw;Database=sales;UseDeclareFetch=1;Fetch=1000"
  rows_sql='SELECT id, time, event_id, source, computer, "user", message FROM event'
  own_rows() { cost "$bin/bench_odbc" own "$connection" "$rows_sql" 1000000; }
  peer_rows() { cost "$bin/bench_odbc" raw "$connection" "$rows_sql" 1000000; }
  server_report() { # rows
    printf 'description = "Events"\ndata_source = "ODBC::%s"\nsql = """\n%s WHERE id <= %s ORDER BY id\n"""\n' \
      "$connection" "$rows_sql" "$1" >"$work/Server.rqn"
    cost "$bin/quillmark-report" --format pdf --output "$work/server.pdf" "$work/Server.rqn"
  }
  printf '\n'
  line "A database server (PostgreSQL)" "own" "peer" "ratio" "goal" ""
  compare "ODBC rows, 1M; peer bare bound fetch" 1.3 own_rows peer_rows
  judge_memory "pdf from the server" "$(server_report 100000 | cut -d' ' -f2)" "$(server_report 1000000 | cut -d' ' -f2)"
else
  echo "bench: no PostgreSQL with its ODBC driver here: rows from a server are not compared" >&2
fi

# --- programs that compare by themselves ---------------------------------------------------------------------------------------------
if [ -x "$bin/bench_catalogue" ]; then
  printf '\n'
  "$bin/bench_catalogue" | tee "$work/catalogue"
  figure() { # words of the line, kind: the seconds behind "cpu" or "wall"
    grep -F "$1" "$work/catalogue" | sed -E "s/.* $2 +([0-9.]+) s.*/\1/" | head -n 1
  }
  floor=$(figure "(floor)" cpu)
  own=$(figure "TomlQueryReader" cpu)
  printf '\n'
  line "Catalogue" "own" "peer" "ratio" "goal" ""
  judge "listing 100k query files; peer the floor" "$own" "$floor" 1.5
  judge "listing 100k query files; peer QSettings" "$own" "$(figure "QSettings per file" cpu)" 0.25
  judge "saving 100k jobs, wall; peer write + fsync" "$(figure "SaveJobs" wall)" "$(figure "POSIX write" wall)" 2
fi
if [ -x "$bin/bench_window" ]; then
  "$bin/quillmark-trial" --to "$work/trial/" --samples samples >/dev/null
  large=$work/trial/Packages/Server/"Query Groups"/Many
  mkdir "$large"
  for number in $(seq 100000); do
    printf 'description = "Report %s"\nsql = "select %s"\n' "$number" "$number" >"$large/$number.rqn"
  done
  own_window() { cost "$bin/bench_window" main "$work/trial/"; }
  peer_window() { cost "$bin/bench_window" empty; }
  printf '\n'
  line "Start of the window" "own" "peer" "ratio" "goal" ""
  compare "100k query files on disk; peer empty window" 3 own_window peer_window
fi
if [ -x "$bin/bench_schedule" ]; then
  printf '\n'
  "$bin/bench_schedule" 100000 | tee "$work/schedule"
  milliseconds() { # words of the line, kind: the figure behind "cpu", "wall" or "maximum", in seconds
    grep -F "$1" "$work/schedule" | sed -E "s/.* $2 ([0-9.]+) ms.*/\1/" | awk '{ printf "%.4f", $1 / 1000 }'
  }
  printf '\n'
  line "Schedule" "own" "peer" "ratio" "goal" ""
  judge "listing 100k jobs; peer an item widget" "$(milliseconds PopulateJobs cpu)" "$(milliseconds "item widget" cpu)" 0.15
  judge "choosing the next of 100k jobs; peer 20 ms" "$(milliseconds "choosing" cpu)" 0.0200 1
  judge "lateness of 200 due jobs, most; peer 50 ms" "$(milliseconds "wake-ups" maximum)" 0.0500 1
fi

printf '\n%s\n' "$([ "$missed" -eq 0 ] && echo "bench: every goal holds" || echo "bench: $missed goals missed")"
[ "$missed" -eq 0 ]
