#!/usr/bin/env bash
# Cross-builds the Windows programs and runs under Wine what makes sense there: the test programs, the sample reports, the packed program.
#   scripts/test-windows.sh              all of it
#   scripts/test-windows.sh -R NAME      only test programs whose name matches (any further ctest option works too)
# Installs the Debian packages it needs. The first run unpacks or builds Qt and builds the libraries (see packaging/windows/configure.sh).
# docs/windows.md says what is not covered.
set -euo pipefail
. "$(dirname "$0")/../packaging/windows/common.sh"
. "$project/packaging/windows/wine.sh"
build=${QM_WINDOWS_BUILD:-$project/build/win}

export QM_WINDOWS_WORK=$work
log=$(mktemp)
"$project/scripts/setup.sh" >"$log" 2>&1 || {
  code=$?
  cat "$log" >&2
  ! not_fetched "$log" || unreachable "packages are missing and the archive does not give them"
  exit $code
}
rm -f "$log"
"$project/packaging/windows/configure.sh" "$build"
ninja -C "$build" -j"$jobs"
need_wine
need_packages xvfb xauth poppler-utils qpdf python3-openpyxl python3-aiosmtpd
xvfb-run -a -s "-screen 0 1280x1024x24" ctest --test-dir "$build" -j 2 --output-on-failure --no-tests=error "$@"
[ $# -eq 0 ] || exit 0

# What this machine's programs make is what the others are compared with.
"$project/scripts/build.sh" dev quillmark-report quillmark-trial
"$project/packaging/windows/test-reports.sh" "$build" "$project/build/dev"
"$project/packaging/windows/pack.sh" "$build"
"$project/packaging/windows/test-package.sh" "$build"
say "what is covered passes; docs/windows.md names what is not"
