#!/usr/bin/env bash
# Builds the Windows programs and packs them: a folder that runs by a double click, the same as a zip, and the per-machine set-up.
#   packaging/windows/pack.sh [BUILD_FOLDER] [OUTPUT_FOLDER]      (default build/win and its folder "package")
# Environment: that of configure.sh. The same sources and libraries give the same bytes.
set -euo pipefail
. "$(dirname "$0")/common.sh"
build=${1:-$project/build/win}
[ -f "$build/build.ninja" ] || "$here/configure.sh" "$build"
build=$(realpath "$build")
out=$(realpath -m "${2:-$build/package}")
programs=(quillmark quillmark-report quillmark-import quillmark-trial)
need_packages zip nsis binutils-mingw-w64-x86-64 mingw-w64-x86-64-dev gcc-mingw-w64-x86-64-posix-runtime libtomlplusplus-dev qt6-base-dev
ninja -C "$build" -j"$jobs" "${programs[@]}" helpfile >"$build/pack-build.log" || { tail -20 "$build/pack-build.log" >&2; fail "the programs were not built"; }

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=Quillmark-$version
folder=$out/$name
rm -rf "$folder" "$out/$name"-*
mkdir -p "$folder/licences"

# with_line_ends FILE: as Windows' editors like it.
with_line_ends() { sed -e "s/@VERSION@/$version/g" -e 's/\r*$/\r/' "$1"; }

imports() { $triplet-objdump -p "$1" | sed -n 's/^\tDLL Name: //p'; }

# add_program FILE [FOLDER]: packs a program or DLL without debugging symbols, and after it every DLL that it imports and that Windows does
# not have. What Windows has, the compiler's import libraries know.
add_program() {
  local target=$folder${2:+/$2} dll place lower
  [ ! -f "$target/$(basename "$1")" ] || return 0
  mkdir -p "$target"
  $triplet-strip --strip-all --preserve-dates -o "$target/$(basename "$1")" "$1"
  for dll in $(imports "$1"); do
    for place in "$qt/bin" "$prefix/bin"; do
      if [ -f "$place/$dll" ]; then
        add_program "$place/$dll"
        continue 2
      fi
    done
    lower=${dll,,}
    [[ $lower == api-ms-win-* ]] || [ -f "/usr/$triplet/lib/lib${lower%.*}.a" ] || fail "$(basename "$1") needs $dll, which is neither part of Windows nor in $qt/bin or $prefix/bin"
  done
}

say "gathering"
for program in "${programs[@]}"; do
  add_program "$build/bin/$program.exe"
done
# Loaded by name at run time. The window draws its controls itself and its pictures are drawings, so it needs no style or image plug-in.
add_program "$qt/plugins/platforms/qwindows.dll" platforms
cp "$build/bin/Report Generator.chm" "$folder/"
cp -r "$build/bin/fonts" "$project/samples" "$folder/"
with_line_ends "$here/README.txt" >"$folder/README.txt"
with_line_ends "$here/Try Quillmark.cmd" >"$folder/Try Quillmark.cmd"

# source_version PACKAGE: the source package that a library was built from.
source_version() {
  if [ -f "$work/src/$1/debian/changelog" ]; then
    dpkg-parsechangelog -l "$work/src/$1/debian/changelog" -S Version
  else
    dpkg-query -W -f '${source:Upstream-Version}' "$2"
  fi
}
licence() { with_line_ends "$2" >"$folder/licences/$1.txt"; }
with_line_ends "$here/third-party.txt" >"$folder/THIRD-PARTY.txt"
printf '%s\r\n' '' "They were built from Debian's source packages (https://deb.debian.org/debian, https://snapshot.debian.org) by the scripts in packaging/windows:" \
  >>"$folder/THIRD-PARTY.txt"
for package in curl expat fmtlib fribidi harfbuzz libdeflate spdlog sqlite3 zlib; do
  licence "$package" "$work/src/$package/debian/copyright"
  printf '  %-24s %s\r\n' "$package" "$(source_version "$package")" >>"$folder/THIRD-PARTY.txt"
done
printf '  %-24s %s\r\n' qt6-base "$(source_version qt6-base qt6-base-dev)" tomlplusplus "$(source_version tomlplusplus libtomlplusplus-dev)" \
  >>"$folder/THIRD-PARTY.txt"
for document in qt6-base:qt6-base-dev tomlplusplus:libtomlplusplus-dev gcc:gcc-mingw-w64-x86-64-posix-runtime mingw-w64:mingw-w64-x86-64-dev nsis:nsis; do
  licence "${document%%:*}" "/usr/share/doc/${document#*:}/copyright"
done
for text in LGPL-3 GPL-3 LGPL-2.1; do
  licence "$text" "/usr/share/common-licenses/$text"
done
# What the list names is there.
while read -r file; do
  [ -f "$folder/licences/$file" ] || fail "third-party.txt names licences/$file, which is not packed"
done < <(grep -oE '[A-Za-z0-9.-]+\.txt' "$here/third-party.txt" | grep -v LICENCE)

# No folder of this machine is in what goes out.
while IFS= read -r -d '' file; do
  for place in "$project" "$work" "$(realpath "$qt")" "$(realpath "$prefix")" "${HOME:-}"; do
    [ "${#place}" -ge 8 ] || continue # so short a text is found by chance
    # Not by a pipe: grep -q would end it early and strings would fail.
    if grep -qaF -- "$place/" "$file" || grep -qaF -- "$place/" <(strings -el "$file"); then
      fail "$(basename "$file") holds the path $place of this machine"
    fi
  done
done < <(find "$folder" -type f -print0)

find "$folder" -type d -exec chmod 755 {} + -o -type f -exec chmod 644 {} +
epoch=${SOURCE_DATE_EPOCH:-$(git -C "$project" log -1 --format=%ct 2>/dev/null || echo 1767225600)}
find "$folder" -exec touch -d "@$epoch" {} +
(cd "$out" && find "$name" | LC_ALL=C sort | TZ=UTC zip -X -q -9 "$name-windows-x64.zip" -@)

"$here/installer.sh" "$build" "$out"
say "$(cd "$out" && du -sh "$name" | tr '\t' ' '), $(cd "$out" && du -h --apparent-size "$name"-* | tr '\t\n' '  ')in $out"
