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
# unreachable TEXT...: ends with status 77, which says: nothing is wrong here, but what is needed could not be fetched.
unreachable() { printf '%s: %s\n' "$(basename "$0" .sh)" "$*" >&2; exit 77; }

# not_fetched LOG: whether apt says in LOG that the archive did not answer or did not give a file.
not_fetched() { grep -qE 'Failed to fetch|Unable to fetch|Could not (resolve|connect)|Cannot initiate the connection|Connection (failed|timed out)|[0-9]{3}  [A-Z]' "$1"; }
apt_options=(-o DPkg::Lock::Timeout=600 -o Acquire::Retries=3 -o Acquire::http::Timeout=60 -o Acquire::https::Timeout=60)

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
  local log
  log=$(mktemp)
  if as_root apt-get "${apt_options[@]}" update -qq >"$log" 2>&1 &&
    as_root env DEBIAN_FRONTEND=noninteractive apt-get "${apt_options[@]}" install -y -qq --no-install-recommends "${missing[@]}" >>"$log" 2>&1; then
    rm -f "$log"
    return 0
  fi
  tail -n 5 "$log" >&2
  ! not_fetched "$log" || unreachable "these packages are missing and the archive does not give them: ${missing[*]}"
  fail "these packages are missing and could not be installed: ${missing[*]}; the whole log is $log"
}

# lists_sources: whether apt knows source packages.
lists_sources() { [ -n "$(apt-cache showsrc zlib 2>/dev/null)" ]; }

# need_sources: has apt know the source packages beside the binary ones.
need_sources() {
  ! lists_sources || return 0
  local list=/etc/apt/sources.list.d
  as_root true || fail "apt knows no source packages, and only root may add them: add deb-src lines to $list and run apt-get update"
  if [ -f $list/debian.sources ]; then
    sed 's/^Types:.*/Types: deb-src/' $list/debian.sources | as_root tee $list/debian-src.sources >/dev/null
  else
    sed -n 's/^deb /deb-src /p' /etc/apt/sources.list | as_root tee $list/debian-src.list >/dev/null
  fi
  as_root apt-get "${apt_options[@]}" update -qq || true
  lists_sources || unreachable "the archive does not list its source packages; check the network and the lists in $list"
}

# fetch_source PACKAGE: its newest source that the archive gives, into $work/dl/PACKAGE; sets fetched to the version.
fetch_source() {
  local package=$1 version
  fetched=
  for version in $(apt-cache showsrc "$package" | sed -n 's/^Version: //p' | sort -uVr); do
    if (cd "$work/dl/$package" && apt-get "${apt_options[@]}" source -qq --download-only "$package=$version" >apt.log 2>&1); then
      fetched=$version
      return 0
    fi
    say "the archive does not give the source of $package $version"
  done
  return 1
}

# unpack PACKAGE: Debian's patched source of PACKAGE as $work/src/PACKAGE. apt checks the files against the archive's signed lists.
# Where the archive does not hold the newest source (any more), the next older one it offers is taken, and that is said. All are asked for
# again after a while: an archive that is busy often gives the file then.
unpack() {
  local package=$1 pause log=$work/dl/$1/apt.log
  mkdir -p "$work/dl/$package" "$work/src"
  [ ! -d "$work/src/$package" ] || return 0
  for pause in 10 30 0; do
    ! fetch_source "$package" || break
    sleep $pause
  done
  if [ -z "$fetched" ]; then
    [ -f "$log" ] || fail "the archive lists no source of $package"
    ! not_fetched "$log" || unreachable "no source of $package could be fetched, so nothing can be built here; $log says why"
    fail "no source of $package could be taken; $log says why"
  fi
  rm -rf "$work/src/$package.part"
  dpkg-source --no-check -x "$work/dl/$package/${package}_${fetched#*:}.dsc" "$work/src/$package.part" >"$work/dl/$package/unpack.log" 2>&1 \
    || fail "the source of $package could not be unpacked; $work/dl/$package/unpack.log says why"
  mv "$work/src/$package.part" "$work/src/$package"
}
