/// \file
/// A database to connect to, and the ODBC connection string that does it.
#pragma once

#include "odbc/Diagnostics.h"
#include "odbc/Engines.h"

#include <QString>

#include <chrono>
#include <optional>
#include <vector>

namespace qm::odbc {

/// What the operator names. Holds a password: never shown.
struct Endpoint
{
    enum class Kind { SqlServer, Oracle, Odbc };

    Kind kind = Kind::Odbc;
    QString server;   ///< SQL Server: host, "host,port" or "host\instance"; Oracle: service name
    QString database; ///< SQL Server only
    QString user, password;
    bool integrated = false; ///< log in as the user of this process
    QString connection;      ///< Kind::Odbc: the connection string as written

    /// What the OLE DB connection string \p text asks for. Providers other than the two known ones are taken for SQL Server when
    /// they name a catalogue, else for Oracle.
    static Endpoint ofAdo(const QString &text);
    static Endpoint ofOdbc(const QString &connection);
};

/// A SQL Server address taken apart.
struct ServerAddress
{
    QString host, instance;
    int port = 0; ///< 0: not given

    /// "tcp:host\instance,port" and parts of it; "." and "(local)" are this machine.
    static ServerAddress of(const QString &server);
};

/// How to reach an endpoint from here.
struct Route
{
    QString driver; ///< its name, or empty when only the driver manager knows (DSN)
    Family family = Family::Other;
    std::vector<QString> strings; ///< connection strings to try in turn: more than one where the driver's version decides the spelling
};

/// Either a route or the reason why there is none.
struct Routing
{
    Route route;
    std::optional<ConnectFailure> failure;
};

/// Chooses a driver and writes its connection string. Asks the SQL Server Browser for a named instance's port, at most \p patience long.
[[nodiscard]] Routing routeTo(const Endpoint &endpoint, std::chrono::milliseconds patience);

} // namespace qm::odbc
