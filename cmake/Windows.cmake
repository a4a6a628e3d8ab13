# What stands in for other systems' libraries on Windows: the parts of Windows itself.

add_library(qm_odbc32 INTERFACE)
target_link_libraries(qm_odbc32 INTERFACE odbc32)
add_library(PkgConfig::ODBC ALIAS qm_odbc32)

# The newest interfaces used are those of Windows 10; windows.h without its macros min and max and its rarely used parts.
add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE)
