/// \file
/// What the connection string of a query file may ask for. Query files come from anybody: what they write must not run code, open files or
/// reach further than the operator's own data sources do.
#pragma once

#include "core/ConnectionString.h"
#include "odbc/Engines.h"

#include <QString>

namespace qm::odbc {

/// A connection string that was found harmless.
struct GuardedSource
{
    Properties properties; ///< as they may go to the driver
    QString driver;        ///< its name, or what the DSN names
    QString dsn;           ///< empty when the string names a driver
    Family family = Family::Other;
    QString file; ///< of the SQLite family: the database, as string or DSN name it
};

/// Either the source or why it is refused.
struct Guarding
{
    GuardedSource source;
    QString refusal; ///< a sentence for the operator, with what to do; empty: not refused
};

/// Takes \p connection apart: it names one driver or one DSN that this computer lists, and sets only keys that are known to be harmless.
/// Loads no driver and connects to nothing.
[[nodiscard]] Guarding guard(const QString &connection);

} // namespace qm::odbc
