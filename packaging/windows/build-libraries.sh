#!/usr/bin/env bash
# Cross-builds the libraries that the Windows program links, from Debian's source packages, into one prefix. What is there is not built again.
#   packaging/windows/build-libraries.sh
# Environment: QM_WINDOWS_WORK  where to work (default build/windows); the prefix is its folder "prefix"
#              JOBS             parallel compilations (default 2)
# Nine minutes on two busy cores, sources fetched. Ends with status 77 when the archive does not give a source.
# fribidi is under the LGPL and stays a DLL of its own, curl is one because its users need no list of system libraries then; the others
# are linked in. Windows itself gives ODBC, TLS (Schannel), SHA-256 (CNG), fonts and help.
set -euo pipefail
. "$(dirname "$0")/common.sh"

need_packages g++-mingw-w64-x86-64-posix cmake ninja-build make gcc dpkg-dev xz-utils bzip2 tcl pkg-config libtomlplusplus-dev
need_sources
mkdir -p "$prefix/lib/pkgconfig" "$prefix/include" "$prefix/bin" "$work/log" "$work/done"
compiler=$triplet-gcc-posix
# No library names a folder of this machine.
export CFLAGS="-O2 -DNDEBUG -ffile-prefix-map=$work=." CXXFLAGS="-O2 -DNDEBUG -ffile-prefix-map=$work=."

# pkgconfig NAME VERSION LIBS [CFLAGS]
pkgconfig() {
  printf 'prefix=%s\nName: %s\nDescription: %s for Windows\nVersion: %s\nLibs: -L${prefix}/lib %s\nCflags: -I${prefix}/include %s\n' \
    "$prefix" "$1" "$1" "$2" "$3" "${4:-}" >"$prefix/lib/pkgconfig/$1.pc"
}

# archive NAME SOURCE...: compiles C sources with $flags into libNAME.a.
archive() {
  local name=$1 objects=() source object
  shift
  mkdir -p "$work/obj/$name"
  for source in "$@"; do
    object=$work/obj/$name/$(echo "${source%.c}" | tr / _).o
    $compiler $CFLAGS "${flags[@]}" -c "$source" -o "$object"
    objects+=("$object")
  done
  rm -f "$prefix/lib/lib$name.a"
  $triplet-gcc-ar-posix rcs "$prefix/lib/lib$name.a" "${objects[@]}"
}

# cmake_library SOURCE OPTION...
cmake_library() {
  local source=$1
  shift
  cmake -S "$source" -B "$source/build-windows" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" -DQM_WINDOWS_PREFIX="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_BUILD_TYPE=Release "$@"
  ninja -C "$source/build-windows" -j"$jobs" install
}

build_zlib() {
  local version
  version=$(sed -n 's/^#define ZLIB_VERSION "\(.*\)"/\1/p' zlib.h)
  flags=(-DHAVE_HIDDEN)
  archive z adler32.c compress.c crc32.c deflate.c gzclose.c gzlib.c gzread.c gzwrite.c infback.c inffast.c inflate.c inftrees.c trees.c uncompr.c zutil.c
  cp zlib.h zconf.h "$prefix/include/"
  pkgconfig zlib "$version" -lz
}

build_libdeflate() {
  flags=(-I.)
  archive deflate lib/*.c lib/x86/cpu_features.c
  cp libdeflate.h "$prefix/include/"
  pkgconfig libdeflate "$(sed -n 's/^#define LIBDEFLATE_VERSION_STRING[^"]*"\(.*\)"/\1/p' libdeflate.h)" -ldeflate
}

build_sqlite3() {
  # The amalgamation, made by this machine's tools.
  env -u CFLAGS ./configure --disable-tcl --disable-readline
  make sqlite3.c sqlite3.h
  flags=(-DSQLITE_THREADSAFE=1 -DSQLITE_ENABLE_COLUMN_METADATA -DSQLITE_ENABLE_FTS3 -DSQLITE_ENABLE_FTS3_PARENTHESIS
    -DSQLITE_ENABLE_FTS5 -DSQLITE_ENABLE_RTREE -DSQLITE_ENABLE_JSON1 -DSQLITE_ENABLE_DBSTAT_VTAB -DSQLITE_ENABLE_STMTVTAB
    -DSQLITE_ENABLE_MATH_FUNCTIONS -DSQLITE_MAX_VARIABLE_NUMBER=250000 -DSQLITE_USE_URI)
  archive sqlite3 sqlite3.c
  cp sqlite3.h sqlite3ext.h "$prefix/include/" 2>/dev/null || cp sqlite3.h src/sqlite3ext.h "$prefix/include/"
  pkgconfig sqlite3 "$(cat VERSION)" -lsqlite3
}

build_fmtlib() { cmake_library . -DFMT_TEST=OFF -DFMT_DOC=OFF; }
build_spdlog() { cmake_library . -DSPDLOG_FMT_EXTERNAL=ON -DSPDLOG_BUILD_EXAMPLE=OFF -DSPDLOG_WCHAR_FILENAMES=ON; }

# Debian's security patches compare macros that the CMake build leaves out (XML_GE) or without a value (XML_DTD).
build_expat() {
  local source=.
  [ -f CMakeLists.txt ] || source=expat
  sed -i 's/^#cmakedefine XML_DTD$/#cmakedefine XML_DTD 1/' $source/expat_config.h.cmake
  cmake_library $source -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF -DEXPAT_SHARED_LIBS=OFF "-DCMAKE_C_FLAGS=$CFLAGS -DXML_GE=1"
  pkgconfig expat "$(sed -n 's/^#define XML_M[A-Z]*_VERSION //p' $source/lib/expat.h | tr '\n' . | sed 's/\.$//')" -lexpat -DXML_STATIC
}

build_harfbuzz() {
  cmake_library . -DHB_BUILD_SUBSET=ON -DHB_BUILD_UTILS=OFF -DHB_HAVE_FREETYPE=OFF -DHB_HAVE_GLIB=OFF -DHB_HAVE_ICU=OFF -DBUILD_SHARED_LIBS=OFF
  # The subsetter's archive repeats objects that the first one has, for use as a DLL of its own.
  $triplet-gcc-ar-posix d "$prefix/lib/libharfbuzz-subset.a" hb-number.cc.obj hb-ot-cff1-table.cc.obj hb-ot-cff2-table.cc.obj hb-static.cc.obj
  local version
  version=$(sed -n 's/^#define HB_VERSION_STRING "\(.*\)"/\1/p' src/hb-version.h)
  cp src/hb*.h "$prefix/include/"
  pkgconfig harfbuzz "$version" -lharfbuzz
  pkgconfig harfbuzz-subset "$version" "-lharfbuzz-subset -lharfbuzz"
}

build_fribidi() {
  ./configure --host=$triplet --prefix="$prefix" --enable-shared --disable-static --disable-debug CC=$compiler
  make -C lib -j"$jobs" install
  make install-pkgconfigDATA
}

build_curl() {
  cmake_library . -DBUILD_CURL_EXE=OFF -DBUILD_SHARED_LIBS=ON -DBUILD_TESTING=OFF -DCURL_USE_SCHANNEL=ON -DCURL_USE_LIBSSH2=OFF \
    -DCURL_USE_LIBPSL=OFF -DUSE_LIBIDN2=OFF -DUSE_WIN32_IDN=ON -DCURL_DISABLE_LDAP=ON -DCURL_DISABLE_LDAPS=ON -DCURL_ZLIB=OFF \
    -DCURL_DISABLE_FTP=ON -DCURL_DISABLE_TELNET=ON -DCURL_DISABLE_TFTP=ON -DCURL_DISABLE_DICT=ON -DCURL_DISABLE_GOPHER=ON \
    -DCURL_DISABLE_RTSP=ON -DCURL_DISABLE_SMB=ON -DCURL_DISABLE_MQTT=ON -DCURL_DISABLE_POP3=ON -DCURL_DISABLE_IMAP=ON \
    -DENABLE_MANUAL=OFF -DENABLE_UNICODE=ON
}

# library SOURCE_PACKAGE: fetches and builds it once.
library() {
  local package=$1
  [ ! -f "$work/done/$package" ] || return 0
  unpack "$package"
  say "building $package"
  # Not as a condition of its own: bash would then go on after a failed step.
  set +e
  (set -e; cd "$work/src/$package"; "build_$package") >"$work/log/$package.log" 2>&1
  local result=$?
  set -e
  [ $result -eq 0 ] || { tail -20 "$work/log/$package.log" >&2; fail "$package was not built; the whole log is $work/log/$package.log"; }
  touch "$work/done/$package"
}

# toml++ is headers; compiled once here, as Debian does.
if [ ! -f "$work/done/toml++" ]; then
  cp -r /usr/include/toml++ "$prefix/include/"
  printf '#define TOML_IMPLEMENTATION\n#include <toml++/toml.h>\n' >"$work/toml.cpp"
  $triplet-g++-posix -std=c++20 $CXXFLAGS -DTOML_HEADER_ONLY=0 -I"$prefix/include" -c "$work/toml.cpp" -o "$work/toml.o"
  $triplet-gcc-ar-posix rcs "$prefix/lib/libtomlplusplus.a" "$work/toml.o"
  pkgconfig tomlplusplus "$(dpkg-query -W -f '${Version}' libtomlplusplus-dev | sed 's/-.*//')" -ltomlplusplus -DTOML_HEADER_ONLY=0
  touch "$work/done/toml++"
fi
for package in zlib libdeflate sqlite3 fmtlib spdlog fribidi harfbuzz curl expat; do
  library "$package"
done

say "the libraries are in $prefix"
