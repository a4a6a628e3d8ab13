#!/usr/bin/env bash
# Tries what pack.sh has packed as a user gets it, in a fresh Wine prefix that knows nothing of the build: the zip, unpacked into a folder with
# a blank and an umlaut, then the set-up: install, install again, uninstall, delete.
#   packaging/windows/test-package.sh [BUILD_FOLDER] [PACKAGE_FOLDER]      (default build/win and its folder "package")
# Pictures of the window are kept in BUILD_FOLDER/package-test.
set -euo pipefail
. "$(dirname "$0")/common.sh"
[ -n "${QM_PACKAGE_TEST:-}" ] || {
  need_packages xvfb xauth
  QM_PACKAGE_TEST=yes exec xvfb-run -a -s '-screen 0 1280x1024x24' "$0" "$@"
}
build=$(realpath "${1:-$project/build/win}")
package=$(realpath "${2:-$build/package}")
pictures=$build/package-test
need_packages unzip imagemagick xdotool python3-openpyxl poppler-utils
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
zip=$package/Quillmark-$version-windows-x64.zip
setup=$package/Quillmark-$version-setup.exe
[ -f "$zip" ] && [ -f "$setup" ] || fail "pack first: packaging/windows/pack.sh $build"

temporary=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-package-XXXXXX")
export QM_WINE_PREFIX=$temporary/prefix LC_ALL=C.UTF-8 TZ=Europe/Berlin
. "$here/wine.sh"
# Nothing of the build helps the packed programs.
unset WINEPATH WINEQT_PLUGIN_PATH WINEQT_QPA_FONTDIR WINEQT_QPA_PLATFORM
server=$(command -v wineserver64 || echo /usr/lib/wine/wineserver64)
trap '"$server" -k 2>/dev/null || true; "$server" -w 2>/dev/null || true; rm -rf "$temporary"' EXIT
need_wine
drive=$WINEPREFIX/drive_c
rm -rf "$pictures"
mkdir -p "$pictures"

checks=0
# check TEXT COMMAND...: goes on only when the command succeeds.
check() {
  local text=$1
  shift
  "$@" >"$temporary/check.log" 2>&1 || { tail -n 20 "$temporary/check.log" >&2; fail "not so: $text"; }
  checks=$((checks + 1))
}
not() { ! "$@"; }
# run SECONDS PROGRAM ARGUMENT...: as a user's double click or command line would; no path of the build is known.
# A program of Windows' own may be named alone. Wine is given its whole path: where it does not find a program at once it has "start" ask the
# shell for it, and that fails now and then on a loaded machine ("ShellExecuteEx failed", exit code 1).
run() {
  local program=$2
  [[ $program == *\\* ]] || program="C:\\windows\\system32\\${program%.exe}.exe"
  (cd / && WINEQT_FORCE_STDERR_LOGGING=1 timeout "$1" wine "$program" "${@:3}")
}
ends_with() { # CODE COMMAND...
  local wanted=$1 code=0
  shift
  "$@" || code=$?
  [ "$code" -eq "$wanted" ] || { echo "exit code $code, not $wanted"; return 1; }
}
# until_so SECONDS COMMAND...
until_so() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ $SECONDS -lt $end ] || return 1
    sleep 0.5
  done
}
# runs FOLDER: whether a window program of that folder runs in this prefix.
runs() {
  local process
  for process in $(pgrep -f -- "${1//\\/\\\\}.quillmark\.exe"); do
    ! grep -qzxF "WINEPREFIX=$WINEPREFIX" "/proc/$process/environ" 2>/dev/null || return 0
  done
  return 1
}
in_registry() { # KEY VALUE EXPECTED
  run 60 reg query "$1" /v "$2" /reg:64 >"$temporary/registry" 2>&1 && iconv -f CP850 -t UTF-8 "$temporary/registry" | tr -d '\r' | grep -qF -- "    $3" || { cat "$temporary/registry"; return 1; }
}
has_key() { run 60 reg query "$1" /reg:64; }

# three_formats FOLDER DATA: the programs in FOLDER generate a report of DATA in three formats, and other programs read the same rows in them.
three_formats() {
  local query="$2\\Packages\\Server\\Query Groups\\Security\\Failed logons by account.rqn" format
  for format in csv xlsx pdf; do
    rm -f "$drive/report.$format"
    run 120 "$1\\quillmark-report.exe" --format $format --output "C:\\report.$format" "$query" || return 1
  done
  pdftotext -layout "$drive/report.pdf" "$temporary/report.txt"
  /usr/bin/python3 - "$drive/report.csv" "$drive/report.xlsx" "$temporary/report.txt" <<'PY'
import csv, sys, openpyxl
rows = list(csv.reader(open(sys.argv[1], encoding="utf-8-sig", newline="")))
assert len(rows) > 3, f"only {len(rows)} lines in the CSV file"
sheet = [[str(cell) for cell in row if cell is not None] for row in openpyxl.load_workbook(sys.argv[2]).active.iter_rows(values_only=True)]
page = open(sys.argv[3], encoding="utf-8").read()
for row in rows[1:6]:
    assert any(row[0] in line for line in sheet), f"{row[0]} is not in the workbook"
    assert row[0] in page, f"{row[0]} is not on the pages"
PY
}

# shows_window NAME: the main window is on the screen, by its title, with more than a plain surface; keeps the picture.
shows_window() {
  local colours
  import -window root "$pictures/$1.png"
  colours=$(identify -format %k "$pictures/$1.png")
  [ "$colours" -gt 100 ] && xdotool search --onlyvisible --name '^Quillmark SQL Report Generator V'
}
# closes FOLDER: the program ends when it is asked to.
closes() {
  run 60 taskkill /im quillmark.exe >/dev/null 2>&1 || true
  until_so 30 not runs "$1"
}

say "the zip"
place="C:\\Auf Probe Müller"
unzip -q "$zip" -d "$drive/Auf Probe Müller"
folder="$place\\Quillmark-$version"
cat >"$drive/version.vbs" <<'VBS'
WScript.Echo CreateObject("Scripting.FileSystemObject").GetFileVersion(WScript.Arguments(0))
VBS
for program in quillmark quillmark-report quillmark-import quillmark-trial; do
  check "$program.exe says its version" grep -q "^$version\.0" <(run 60 cscript.exe //nologo 'C:\version.vbs' "$folder\\$program.exe")
done
check "the trial installation is laid out" run 180 "$folder\\quillmark-trial.exe" --to "$place\\Versuch"
check "the unpacked program generates CSV, XLSX and PDF" three_formats "$folder" "$place\\Versuch"
framework='HKLM\SOFTWARE\Tarrowind\Quillmark\Report Framework\8.50.000'
mkdir "$drive/alone"
cp "$drive/Auf Probe Müller/Quillmark-$version/Try Quillmark.cmd" "$drive/alone/"
check "a double click inside the zip is told to unpack it" grep -q 'Unpack the whole zip' <(run 60 cmd /c 'C:\alone\Try Quillmark.cmd' </dev/null 2>&1)
check "the double click lays out a trial and opens the window" run 240 cmd /c "$folder\\Try Quillmark.cmd"
local_data=$(run 60 cmd /c 'echo %LOCALAPPDATA%' | tr -d '\r\n')
check "the trial is registered for the user" in_registry "${framework/HKLM/HKCU}" InstallPath "$local_data\\Quillmark Trial\\"
check "the window shows" until_so 60 shows_window zip
sleep 10
check "the program still runs" runs "$folder"
check "and its window is still there" shows_window zip
check "the program ends when asked to" closes "$folder"
check "nothing is registered for the machine" not has_key 'HKLM\SOFTWARE\Tarrowind'
run 60 reg delete 'HKCU\SOFTWARE\Tarrowind' /f /reg:64 >/dev/null 2>&1

say "the set-up"
programs='C:\Program Files\Tarrowind\Quillmark'
data='C:\ProgramData\Tarrowind\Quillmark'
unix() { local path=${1#C:}; printf '%s%s' "$drive" "${path//\\//}"; }
entry='HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\Quillmark'
shortcut=$(unix 'C:\ProgramData\Microsoft\Windows\Start Menu\Programs\Quillmark SQL Report Generator.lnk')
install() { run 300 "$(windows_path "$setup")" /S "$@"; }
# The uninstaller goes on as a copy of itself.
uninstall() { run 120 "$programs\\uninstall.exe" /S "$@" && settle; }
# As itself, so that its exit code is seen; its last option may not be quoted, which only a command file can do.
uninstall_here() {
  printf '"%s\\uninstall.exe" /S _?=%s\r\nexit /b %%ERRORLEVEL%%\r\n' "$programs" "$programs" >"$drive/uninstall.cmd"
  run 120 cmd /c 'C:\uninstall.cmd'
}

mkdir -p "$drive/Belegt"
echo kept >"$drive/Belegt/note.txt"
for bad in 'C:\' 'Berichte' 'C:\Belegt' 'C:\Program Files\Berichte' "$programs\\Data"; do
  check "/DATA=$bad is refused" ends_with 2 install "/DATA=$bad"
done
check "a refused set-up leaves nothing" not test -e "$(unix "$programs")"
check "and says why" grep -q 'no Packages.ini' <(find "$drive/users" -name 'Quillmark set-up.log' -exec iconv -f UTF-16LE -t UTF-8 {} +)

check "the set-up installs" install
installed() { # the program folder holds the files of the zip and the uninstaller, nothing else
  diff <(cd "$(unix "$folder")" && find . -type f ! -name 'Try Quillmark.cmd' | LC_ALL=C sort) \
    <(cd "$(unix "$programs")" && find . -type f ! -name uninstall.exe | LC_ALL=C sort)
}
check "its files are those of the zip" installed
check "it registers the installation folder" in_registry "$framework" InstallPath "$data\\"
check "it is in the list of installed apps" in_registry "$entry" DisplayVersion "$version"
check "with a command that asks nothing" in_registry "$entry" QuietUninstallString "\"$programs\\uninstall.exe\" /S"
check "it is in the start menu" test -f "$shortcut"
check "the help is beside the program alone" not test -e "$(unix "$data")/Report Generator.chm"
check "the installed programs generate CSV, XLSX and PDF" three_formats "$programs" "$data"

run 600 "$programs\\quillmark.exe" >/dev/null 2>&1 &
window=$!
check "the installed window shows" until_so 60 shows_window setup
sleep 10
check "the installed program still runs" runs "$programs"
check "and its window is still there" shows_window setup
check "installing over a running program is refused" ends_with 2 install
check "nothing was changed by that" installed
check "uninstalling a running program is refused" ends_with 2 uninstall_here
check "nothing was removed by that" installed
check "the installed program ends when asked to" closes "$programs"
check "without an error" wait $window
settle

printf '; kept by hand\r\n' >>"$(unix "$data")/Packages.ini"
cp "$(unix "$data")/Packages.ini" "$temporary/Packages.ini"
touch "$(unix "$programs")/mine.txt"
check "the set-up installs over itself" install
check "a changed Packages.ini is kept" cmp "$(unix "$data")/Packages.ini" "$temporary/Packages.ini"
check "a file that set-up did not bring is kept" test -f "$(unix "$programs")/mine.txt"
rm "$(unix "$programs")/mine.txt"
check "its files are those of the zip again" installed

check "it uninstalls" uninstall
check "the program folder is gone" not test -e "$(unix 'C:\Program Files\Tarrowind')"
check "the shortcut is gone" not test -e "$shortcut"
check "the registry keys are gone" not has_key 'HKLM\SOFTWARE\Tarrowind'
check "the entry is gone" not has_key "$entry"
check "the installation folder is kept" cmp "$(unix "$data")/Packages.ini" "$temporary/Packages.ini"

own='C:\Daten Müller\Berichte'
check "the set-up installs with a folder of one's own" install "/DATA=$own" /EMPTY
check "that is registered" in_registry "$framework" InstallPath "$own\\"
check "its event databases are empty" grep -q '^0' <(run 60 "$programs\\quillmark-report.exe" --all-time --rows "$own\\Packages\\Server\\Query Groups\\Security\\Failed logons by account.rqn" | tr -d '\r')
check "it uninstalls with its data" uninstall /PURGE
check "the installation folder is gone" not test -e "$(unix "$own")"
check "another installation folder is kept" test -f "$(unix "$data")/Packages.ini"
check "the program is gone" not test -e "$(unix 'C:\Program Files\Tarrowind')"

say "$checks checks hold; pictures are in $pictures"
