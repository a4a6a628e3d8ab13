#!/usr/bin/env bash
# Runs one QtTest program for Windows under Wine as CTest runs those of this machine: same variables, text on standard output, same exit code.
#   packaging/windows/wine-run.sh PROGRAM ARGUMENT...      (the cross-build's CMAKE_CROSSCOMPILING_EMULATOR)
# Programs that run at the same time get a prefix each, as the registry and named objects of Windows belong to the whole computer.
set -euo pipefail
. "$(dirname "$0")/common.sh"
. "$here/wine.sh"
if [ ! -f "$WINEPREFIX/.ready" ]; then
  mkdir -p "$(dirname "$WINEPREFIX")"
  (flock 9; need_wine) 9>"$WINEPREFIX.lock"
fi

base=$WINEPREFIX
for ((slot = 1; ; slot = slot % 8 + 1)); do
  exec {lock}>"$base.$slot.lock"
  if flock -n $lock; then break; fi
  exec {lock}>&-
  [ $slot -lt 8 ] || sleep 1
done
export WINEPREFIX=$base.$slot
# A test that was killed may have left processes and registry entries.
if [ -e "$WINEPREFIX.busy" ]; then
  wine_server -k || true
  settle
  rm -rf "$WINEPREFIX"
fi
: >"$WINEPREFIX.busy"
temporary=$(realpath "${TMPDIR:-/tmp}")
if [ ! "$WINEPREFIX/.ready" -nt "$base/.ready" ] || [ "$(cat "$WINEPREFIX/.ready")" != "$temporary" ]; then
  copy_prefix "$base" "$WINEPREFIX" "$temporary"
fi

# QtTest prints nothing on Windows without a console; it writes a file. What the program says itself goes through a file too: Wine's own
# processes would hold a pipe open.
text=$WINEPREFIX.text
rm -rf "$text"
mkdir "$text"
trap 'rm -rf "$text" "$WINEPREFIX.busy"' EXIT
for folder in QM_SOURCE_DIR QM_BIN_DIR QM_DATA_DIR; do
  [ -z "${!folder:-}" ] || export "$folder=Z:${!folder}"
done
# What the tests start around Wine ends when this process does.
export QM_TEST_RUN=$$ QM_TEST_ZONE=${TZ:-}
# A hundred thousand random operations on files take an hour here.
export QM_MODEL_STEPS=${QM_MODEL_STEPS:-3000}
export WINEQT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
shown=()
if [ "$WINEQT_QPA_PLATFORM" = windows ] && [ -z "${DISPLAY:-}" ]; then
  settle # Wine's desktop would be one that began without a display
  shown=(xvfb-run -a -s "-screen 0 1280x1024x24")
fi

code=0
"${shown[@]}" wine "$@" -o "$(windows_path "$text/test"),txt" </dev/null >"$text/said" 2>&1 {lock}>&- || code=$?
cat "$text/said" "$text/test" 2>/dev/null || true
exit $code
