#!/usr/bin/env bash
# Makes the pictures of README from the real program on a virtual display: the main window, the report viewer, and a page of a PDF.
# They land in docs/images.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
for tool in import:imagemagick pdftoppm:poppler-utils xdotool:xdotool Xvfb:xvfb; do
  command -v "${tool%%:*}" >/dev/null || { echo "screenshots: install the package ${tool##*:} first" >&2; exit 1; }
done
scripts/build.sh release quillmark quillmark-report quillmark-import quillmark-trial

bin=$PWD/build/release/bin
work=$(mktemp -d)
images=$PWD/docs/images
mkdir -p "$images"
export XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache XDG_RUNTIME_DIR=$work/run QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
mkdir -p "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"

Xvfb -displayfd 3 -screen 0 1400x900x24 3>"$work/display" 2>/dev/null &
server=$!
program=
finish() {
  [ -n "$program" ] && kill "$program" 2>/dev/null
  kill "$server" 2>/dev/null
  rm -rf "$work"
}
trap finish EXIT
for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$work/display")

"$bin/quillmark-trial" --to "$work/trial/" --samples samples --register >/dev/null
"$bin/quillmark" &
program=$!

window() { # title: waits for a visible window whose title begins with it
  local id=
  for _ in $(seq 100); do
    id=$(xdotool search --onlyvisible --name "^$1" 2>/dev/null | tail -n 1) && [ -n "$id" ] && { echo "$id"; return; }
    sleep 0.1
  done
  echo "screenshots: no window '$1' appeared" >&2
  return 1
}

main=$(window "Quillmark SQL Report Generator")
sleep 1
xdotool windowfocus --sync "$main" windowsize --sync "$main" 1280 780
xdotool key --delay 120 Home Right Down Down Down Down
sleep 1
import -window "$main" "$images/main-window.png"

xdotool key --delay 120 Tab Down Down
xdotool key --delay 200 alt+s g
viewer=$(window "Failed logons")
xdotool windowfocus --sync "$viewer"
sleep 1
import -window "$viewer" "$images/viewer.png"

"$bin/quillmark-report" --format pdf --output "$work/report.pdf" "$work/trial/Packages/Server/Query Groups/Security/Failed logons by account.rqn"
pdftoppm -r 70 -png -singlefile "$work/report.pdf" "$images/pdf-page"
echo "screenshots: $(ls "$images" | tr '\n' ' ')"
