#!/usr/bin/env bash
# Installs every Debian package that building, testing and running the project needs. Safe to run again: it installs only what is missing.
#   scripts/setup.sh            what building, running and testing need
#   scripts/setup.sh --bench    also the peers that scripts/bench.sh measures against
set -euo pipefail

packages=(
  # compiler and build
  g++ cmake ninja-build pkg-config ccache clang-format clang-tidy
  # linked libraries
  qt6-base-dev qt6-svg-dev libgl1-mesa-dev libsqlite3-dev unixodbc-dev libtomlplusplus-dev libspdlog-dev libexpat1-dev libssl-dev
  zlib1g-dev libdeflate-dev libharfbuzz-dev libfribidi-dev libfontconfig-dev libcurl4-openssl-dev libcups2-dev libmspack-dev
  # fonts that the program ships
  fonts-dejavu-core fonts-dejavu-extra fonts-droid-fallback
  # the help file's compiler, and what runs it
  fp-utils-3.2.2 python3
  # tests: a mail server and a print server of the tests' own
  openssl python3-aiosmtpd cups cups-client cups-filters
  # tests: database servers of the tests' own and the drivers that reach them
  unixodbc tdsodbc postgresql-15 odbc-postgresql libsqliteodbc
  # tests: a virtual display, readers that are not ours, locale definitions
  xvfb xauth xdotool locales python3-openpyxl poppler-utils qpdf sqlite3 p7zip-full
  # the fuzzer's compiler, its run-time (libFuzzer, sanitizers) and linker
  clang libclang-rt-dev lld
)
if [ "${1:-}" = "--bench" ]; then
  packages+=(libxlsxwriter-dev libhpdf-dev time)
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
done
if [ "${#missing[@]}" -eq 0 ]; then
  echo "setup: everything is installed"
  exit 0
fi

run=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "setup: these packages are missing and this user may not install them: ${missing[*]}" >&2; exit 1; }
  run=(sudo)
fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${run[@]}" apt-get update -qq
"${run[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
