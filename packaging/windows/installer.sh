#!/usr/bin/env bash
# Makes the per-machine set-up of the folder that pack.sh has packed; pack.sh calls it.
#   packaging/windows/installer.sh BUILD_FOLDER OUTPUT_FOLDER
# The same folder gives the same set-up. setup.nsi tells what the set-up does and its options.
set -euo pipefail
. "$(dirname "$0")/common.sh"
build=$(realpath "$1")
out=$(realpath "$2")
need_packages nsis imagemagick librsvg2-bin
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
folder=$out/Quillmark-$version
[ -f "$folder/quillmark.exe" ] || fail "$folder is not packed; run packaging/windows/pack.sh"

# What is installed is the folder without what the zip alone needs.
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
cp -rp "$folder" "$stage/program"
rm "$stage/program/Try Quillmark.cmd"

# The picture beside the first and the last page, twice as large as shown for fine screens.
rsvg-convert --width 176 --height 176 --output "$stage/mark.png" "$project/src/shell/icons/quillmark.svg"
convert -size 328x628 gradient:'#f2f6fc'-'#c9daf2' "$stage/mark.png" -gravity north -geometry +0+120 -composite -type truecolor "BMP3:$stage/side.bmp"
touch -r "$folder" "$stage/side.bmp"

# Installed in a fixed order; uninstalling removes these and nothing else.
cd "$stage/program"
find . -type f -printf '%P\n' | LC_ALL=C sort | while IFS= read -r file; do
  place=$(dirname "/$file")
  printf 'SetOutPath "$INSTDIR%s"\nFile "${FOLDER}/%s"\n' "$(tr / '\\' <<<"${place%/}")" "$file"
done >"$stage/install.nsh"
{
  find . -type f -printf '%P\n' | LC_ALL=C sort | tr / '\\' | sed 's/.*/Delete "$INSTDIR\\&"/'
  find . -mindepth 1 -type d -printf '%P\n' | LC_ALL=C sort -r | tr / '\\' | sed 's/.*/RMDir "$INSTDIR\\&"/'
} >"$stage/remove.nsh"

setup=$out/Quillmark-$version-setup.exe
SOURCE_DATE_EPOCH=$(stat -c %Y "$folder") makensis -V2 -WX -INPUTCHARSET UTF8 -DVERSION="$version" -DFOLDER="$stage/program" -DINSTALL="$stage/install.nsh" -DREMOVE="$stage/remove.nsh" \
  -DICON="$build/resources/quillmark.ico" -DPICTURE="$stage/side.bmp" -DKILOBYTES="$(du -sk --apparent-size "$stage/program" | cut -f1)" -DOUTPUT="$setup" "$here/setup.nsi" >"$out/setup.log" 2>&1 \
  || { tail -20 "$out/setup.log" >&2; fail "the set-up was not made"; }
rm "$out/setup.log"
