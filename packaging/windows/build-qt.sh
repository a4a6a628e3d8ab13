#!/usr/bin/env bash
# Cross-builds the part of Qt that the program uses (qtbase, shared) for 64-bit Windows from Debian's source package, and packs it.
#   packaging/windows/build-qt.sh
# Environment: QM_WINDOWS_WORK  where to work (default build/windows); result: its folder "qt-mingw" and "qt-mingw.tar.xz"
#              JOBS             parallel compilations (default 2)
# About half an hour on two cores, 2 GB of disk. Ends with status 77 when the archive does not give a source. The packed folder may be unpacked anywhere.
set -euo pipefail
. "$(dirname "$0")/common.sh"

need_packages g++-mingw-w64-x86-64-posix qt6-base-dev qt6-base-dev-tools cmake ninja-build dpkg-dev xz-utils tcl make gcc
need_sources
unpack qt6-base
unpack sqlite3
grep -q "$(dpkg-query -W -f '${Version}' qt6-base-dev | sed 's/[+-].*//')" "$work/src/qt6-base/.cmake.conf" \
  || fail "the source of Qt and the installed qt6-base-dev differ in version; run apt-get upgrade"

# Debian cuts the bundled SQLite out of Qt; the amalgamation made of Debian's own source takes its place.
if [ ! -f "$work/src/qt6-base/src/3rdparty/sqlite/sqlite3.c" ]; then
  say "making SQLite's amalgamation"
  mkdir -p "$work/src/sqlite3-qt" "$work/src/qt6-base/src/3rdparty/sqlite"
  (cd "$work/src/sqlite3-qt" && ../sqlite3/configure --disable-tcl --disable-readline && make sqlite3.c sqlite3.h) >"$work/sqlite-qt.log" 2>&1
  cp "$work"/src/sqlite3-qt/sqlite3.[ch] "$work/src/qt6-base/src/3rdparty/sqlite/"
fi

# Off besides what is not used: tabletevent (Debian cuts its bundled header out), the second Direct2D platform plug-in, and pkg-config,
# which would find this machine's libraries.
off=(pkg_config vulkan dbus icu zstd glib network ssl concurrent xml tabletevent direct2d1_1 androiddeployqt
  system_zlib system_png system_jpeg system_freetype system_harfbuzz system_pcre2 system_doubleconversion system_sqlite
  sql_psql sql_mysql sql_oci sql_ibase sql_db2)
switches=("${off[@]/#/-DFEATURE_}")
switches=("${switches[@]/%/=OFF}")
# No library names a folder of this machine.
export CFLAGS="-ffile-prefix-map=$work=." CXXFLAGS="-ffile-prefix-map=$work=."
say "configuring"
cmake -S "$work/src/qt6-base" -B "$work/qt-build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_INSTALL_PREFIX="$qt" -DBUILD_SHARED_LIBS=ON -DQT_HOST_PATH=/usr \
  -DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/cmake" -DQT_QMAKE_TARGET_MKSPEC=win32-g++ \
  -DQT_BUILD_TESTS=OFF -DQT_BUILD_EXAMPLES=OFF -DQT_BUILD_BENCHMARKS=OFF -DINPUT_opengl=no -DFEATURE_testlib=ON \
  -DFEATURE_sql_sqlite=ON -DFEATURE_sql_odbc=ON "${switches[@]}" >"$work/qt-configure.log" 2>&1 \
  || { tail -40 "$work/qt-configure.log" >&2; fail "Qt was not configured"; }
say "building (half an hour)"
ninja -C "$work/qt-build" -j"$jobs" >"$work/qt-build.log" 2>&1 || { tail -40 "$work/qt-build.log" >&2; fail "Qt was not built"; }
cmake --install "$work/qt-build" --strip >"$work/qt-install.log" 2>&1
# The compiler's own libraries belong beside Qt's.
for library in libgcc_s_seh-1.dll libstdc++-6.dll; do
  cp "$($triplet-g++-posix -print-file-name=$library)" "$qt/bin/"
done
cp "/usr/$triplet/lib/libwinpthread-1.dll" "$qt/bin/"
tar -C "$work" -cJf "$work/qt-mingw.tar.xz" qt-mingw
say "Qt is in $qt and packed in $work/qt-mingw.tar.xz"
