/// \file
/// The ODBC C API as this platform ships it. Wide calls take UTF-16 everywhere.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

#include <odbcinst.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
