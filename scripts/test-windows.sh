#!/usr/bin/env bash
# Cross-builds the Windows programs and runs what runs under Wine: test programs on the off-screen plug-in, then quillmark-report.exe.
#   scripts/test-windows.sh
# Installs the Debian packages it needs. The first run unpacks or builds Qt and builds the libraries (see packaging/windows/configure.sh).
# docs/windows.md says what is not covered.
set -euo pipefail
. "$(dirname "$0")/../packaging/windows/common.sh"
. "$project/packaging/windows/wine.sh"
build=${QM_WINDOWS_BUILD:-$project/build/win}

tests=(core_errors_test core_walltime_test platform_windows_test framework_round_trip_test framework_bad_files_test
  framework_query_files_test framework_components_test com_components_test com_window_test next_run_test schedule_behaviour_test schedule_model_test)

QM_WINDOWS_WORK=$work "$project/packaging/windows/configure.sh" "$build"
ninja -C "$build" -j"$jobs" "${tests[@]}" quillmark-report quillmark-trial quillmark-import
need_wine

failed=()
for test in "${tests[@]}"; do
  log=$build/$test.txt
  rm -f "$log"
  if ! TZ=Europe/Berlin QM_SOURCE_DIR=$(windows_path "$project") QM_BIN_DIR=$(windows_path "$build/bin") \
    run_wine 300 "$build/bin/$test.exe" -o "$(windows_path "$log"),txt" >/dev/null 2>&1; then
    failed+=("$test")
    grep -A4 '^FAIL' "$log" 2>/dev/null || say "$test wrote nothing or ran too long"
  fi
  say "$test: $(grep '^Totals' "$log" 2>/dev/null || echo 'no result')"
done
[ "${#failed[@]}" -eq 0 ] || fail "failed under Wine: ${failed[*]}"

"$project/packaging/windows/test-reports.sh" "$build"
QM_WINDOWS_WORK=$work "$project/packaging/windows/pack.sh" "$build"
QM_WINDOWS_WORK=$work "$project/packaging/windows/test-package.sh" "$build"
say "what is covered passes; docs/windows.md names what is not"
