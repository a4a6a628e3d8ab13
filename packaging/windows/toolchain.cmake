# Debian's mingw-w64 for 64-bit Windows; the posix flavour of the compiler is the one that has std::thread.
# QM_WINDOWS_PREFIX (a CMake or environment variable) is the folder with the cross-built libraries.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(qm_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${qm_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${qm_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${qm_triplet}-windres)

if(NOT QM_WINDOWS_PREFIX)
    set(QM_WINDOWS_PREFIX "$ENV{QM_WINDOWS_PREFIX}")
endif()
set(CMAKE_FIND_ROOT_PATH /usr/${qm_triplet})
if(QM_WINDOWS_PREFIX)
    list(PREPEND CMAKE_FIND_ROOT_PATH ${QM_WINDOWS_PREFIX})
    set(ENV{PKG_CONFIG_LIBDIR} ${QM_WINDOWS_PREFIX}/lib/pkgconfig)
endif()
# Nothing of this machine's own libraries may leak in; its programs (moc, python3) are wanted.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QM_WINDOWS_PREFIX)
