#!/usr/bin/env bash
# Configures the cross-build of the program for 64-bit Windows: has Qt and the libraries made or unpacked first where they are missing.
#   packaging/windows/configure.sh [BUILD_FOLDER]      (default build/win)
# Environment: QM_WINDOWS_WORK  where Qt and the libraries lie (default build/windows)
#              QM_QT_ARCHIVE    a packed Qt made by build-qt.sh; without one, ../shared/windows/qt-mingw.tar.xz is taken if it is there,
#                               else Qt is built from Debian's source (half an hour)
#              JOBS             parallel compilations (default 2)
# Ends with status 77 when something is missing that the archive does not give now: then nothing is wrong with the program.
set -euo pipefail
. "$(dirname "$0")/common.sh"
build=${1:-$project/build/win}

need_packages g++ g++-mingw-w64-x86-64-posix qt6-base-dev qt6-base-dev-tools qt6-svg-dev cmake ninja-build ccache xz-utils icoutils \
  librsvg2-bin
if [ ! -d "$qt" ]; then
  archive=${QM_QT_ARCHIVE:-$project/../shared/windows/qt-mingw.tar.xz}
  mkdir -p "$work"
  if [ -f "$archive" ]; then
    say "unpacking Qt from $archive"
    tar -xJf "$archive" -C "$work"
  else
    "$here/build-qt.sh"
  fi
fi
"$here/build-libraries.sh"

# The host's Qt gives moc, rcc and uic; its version is the target's.
export QM_WINDOWS_PREFIX=$prefix
cmake -S "$project" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-Release}" -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
  -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_TOOLCHAIN_FILE="$qt/lib/cmake/Qt6/qt.toolchain.cmake" \
  -DQT_CHAINLOAD_TOOLCHAIN_FILE="$here/toolchain.cmake" -DQT_HOST_PATH=/usr \
  -DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/cmake" -DQM_WINDOWS_PREFIX="$prefix" \
  -DCMAKE_CROSSCOMPILING_EMULATOR="env;QM_WINDOWS_WORK=$work;$here/wine-run.sh"
say "configured; build with: ninja -C $build -j$jobs"
