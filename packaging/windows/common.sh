# Sourced by the scripts of this folder: places, packages and Debian's sources.
triplet=x86_64-w64-mingw32
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
project=$(cd "$here/../.." && pwd)
# Everything that is fetched or built besides the program itself.
work=${QM_WINDOWS_WORK:-$project/build/windows}
prefix=$work/prefix
qt=$work/qt-mingw
jobs=${JOBS:-2}

say() { printf '%s: %s\n' "$(basename "$0" .sh)" "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0" .sh)" "$*" >&2; exit 1; }

# as_root COMMAND...: package installation only.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; elif command -v sudo >/dev/null; then sudo "$@"; else return 1; fi
}

# need_packages PACKAGE...: installs the Debian packages that are missing.
need_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
  done
  [ "${#missing[@]}" -gt 0 ] || return 0
  say "installing ${missing[*]}"
  as_root apt-get -o DPkg::Lock::Timeout=600 update -qq
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null \
    || fail "these packages are missing and could not be installed: ${missing[*]}"
}

# need_sources: has apt know the source packages beside the binary ones.
need_sources() {
  apt-cache showsrc zlib >/dev/null 2>&1 && return 0
  local list=/etc/apt/sources.list.d
  if [ -f $list/debian.sources ]; then
    sed 's/^Types:.*/Types: deb-src/' $list/debian.sources | as_root tee $list/debian-src.sources >/dev/null
  else
    sed -n 's/^deb /deb-src /p' /etc/apt/sources.list | as_root tee $list/debian-src.list >/dev/null
  fi
  as_root apt-get -o DPkg::Lock::Timeout=600 update -qq
}

# unpack PACKAGE: Debian's patched source of PACKAGE as $work/src/PACKAGE. apt checks the files against the archive's signed lists.
# Where the archive does not hold the newest source (any more), the next older one it offers is taken, and that is said.
unpack() {
  local package=$1 version got=
  mkdir -p "$work/dl/$package" "$work/src"
  [ ! -d "$work/src/$package" ] || return 0
  for version in $(apt-cache showsrc "$package" | sed -n 's/^Version: //p' | sort -uVr); do
    if (cd "$work/dl/$package" && apt-get source -qq --download-only "$package=$version" >apt.log 2>&1); then got=$version; break; fi
    say "the archive does not give the source of $package $version"
  done
  [ -n "$got" ] || fail "no source of $package could be fetched; $work/dl/$package/apt.log says why"
  rm -rf "$work/src/$package.part"
  dpkg-source --no-check -x "$work/dl/$package/${package}_${got#*:}.dsc" "$work/src/$package.part" >"$work/dl/$package/unpack.log" 2>&1
  mv "$work/src/$package.part" "$work/src/$package"
}
