#!/usr/bin/env bash
# Sets up, builds, lays out a trial installation with sample events, generates one report of each format, and opens the window where
# there is a display.
#   scripts/demo.sh              the trial installation goes into the user's data folder
#   scripts/demo.sh --no-window  everything but the window
set -euo pipefail
cd "$(dirname "$0")/.."
window=yes
[ "${1:-}" = "--no-window" ] && window=no

scripts/setup.sh
scripts/build.sh release quillmark quillmark-report quillmark-import quillmark-trial

bin=build/release/bin
trial=${XDG_DATA_HOME:-$HOME/.local/share}/quillmark-trial/
if [ -f "${trial}Packages.ini" ]; then
  echo "demo: using the trial installation in $trial (remove that folder to have it made anew)"
else
  "$bin/quillmark-trial" --to "$trial" --samples samples --register
fi

groups="Query Groups"
report() { # format, package folder, group, query
  local out="${trial}Reports/$4.$1"
  "$bin/quillmark-report" --format "$1" --output "$out" "${trial}Packages/$2/$groups/$3/$4.rqn"
  echo "demo: wrote $out"
}
report pdf "Server" "Security" "Failed logons by account"
report html "Mail" "Failures" "Delivery failures by reason"
report xlsx "File" "Access" "File activity by user"
report csv "Server" "Daily" "Event volume by day and level"
"$bin/quillmark-report" --history "${trial}Packages/Server/$groups/Security/Failed logons by account.rqn" | tail -n 5

if [ "$window" = yes ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$bin/quillmark"
fi
echo "demo: no display; start the window later with $bin/quillmark"
