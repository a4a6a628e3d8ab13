#include "odbc/Engines.h"

#include <algorithm>
#include <array>

namespace qm::odbc {

namespace {

constexpr char kStandardSchema[] = "SELECT t.table_name, t.table_type, c.column_name, c.data_type FROM information_schema.tables t "
                                   "JOIN information_schema.columns c ON c.table_schema = t.table_schema AND c.table_name = t.table_name "
                                   "WHERE t.table_schema NOT IN ('information_schema', 'pg_catalog', 'sys') "
                                   "ORDER BY t.table_type, t.table_name, c.ordinal_position";

constexpr const char *kServerDrivers[] = {"ODBC Driver 18 for SQL Server", "ODBC Driver 17 for SQL Server", "ODBC Driver 13 for SQL Server",
                                          "FreeTDS", "Devart ODBC Driver for SQL Server"};
constexpr const char *kOracleDrivers[] = {"Oracle 21 ODBC driver", "Oracle 19 ODBC driver", "Oracle 18 ODBC driver",
                                          "Oracle 12c ODBC driver", "Devart ODBC Driver for Oracle"};
// Reports show UTC, and the driver gives times with a zone in the session's.
constexpr const char *kPostgresSession[] = {"SET TIME ZONE 'UTC'", "SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY"};
constexpr const char *kOracleTransaction[] = {"SET TRANSACTION READ ONLY"};

constexpr std::array kEngines{
    Engine{.dialect = SqlDialect::Standard, .label = "a database", .schemaQuery = kStandardSchema},
    Engine{.dialect = SqlDialect::Sqlite,
           .label = "SQLite",
           .word = "sqlite",
           .schemaQuery = "SELECT m.name, m.type, p.name, p.type FROM sqlite_master m JOIN pragma_table_info(m.name) p "
                          "WHERE m.type IN ('table', 'view') AND m.name NOT LIKE 'sqlite\\_%' ESCAPE '\\' "
                          "ORDER BY m.type, m.name COLLATE NOCASE, p.cid"},
    Engine{.dialect = SqlDialect::MsSql,
           .label = "Microsoft SQL Server",
           .word = "mssql",
           .drivers = kServerDrivers,
           .firstYear = 1753,
           .schemaQuery = kStandardSchema},
    Engine{.dialect = SqlDialect::Oracle,
           .label = "Oracle",
           .word = "oracle",
           .drivers = kOracleDrivers,
           .driversHold = "oracle",
           .transactionCommands = kOracleTransaction,
           .hasBigIntegers = false,
           .schemaQuery = "SELECT table_name, 'TABLE', column_name, data_type FROM user_tab_columns ORDER BY table_name, column_id"},
    Engine{.dialect = SqlDialect::PostgreSql,
           .label = "PostgreSQL",
           .word = "postgresql",
           .sessionCommands = kPostgresSession,
           .backendQuery = "SELECT pg_backend_pid()",
           .cancelCommand = "SELECT pg_cancel_backend(%1)",
           .hasBooleans = true,
           .hasEndlessDecimals = true,
           .schemaQuery = kStandardSchema},
};

constexpr const char *kCommonKeys[] = {"Driver", "DSN", "Server", "Port", "Database", "UID", "PWD"};

constexpr const char *kFreeTdsMarks[] = {"freetds", "tdsodbc"};
constexpr const char *kFreeTdsKeys[] = {
    "Servername", "TDS_Version",        "APP",       "WSID",  "Language",  "Address",          "ClientCharset", "TextSize", "PacketSize",
    "Encryption", "Trusted_Connection", "UseNTLMv2", "Realm", "ServerSPN", "ApplicationIntent"};
// Without a version the driver guesses it by connecting, and never ends where a server is silent.
constexpr Setting kFreeTdsDefaults[] = {{"TDS_Version", "7.4"}};

constexpr const char *kOracleMarks[] = {"oracle", "sqora"};
constexpr const char *kOracleKeys[] = {"DBQ", "User ID", "Password"};

constexpr const char *kMicrosoftMarks[] = {"sql server", "sql native client", "msodbcsql"};
constexpr const char *kMicrosoftKeys[] = {"Address",
                                          "Addr",
                                          "APP",
                                          "WSID",
                                          "Language",
                                          "Encrypt",
                                          "TrustServerCertificate",
                                          "HostnameInCertificate",
                                          "Trusted_Connection",
                                          "Authentication",
                                          "ApplicationIntent",
                                          "MultiSubnetFailover",
                                          "MARS_Connection",
                                          "QuotedId",
                                          "AnsiNPW",
                                          "Regional",
                                          "ServerSPN",
                                          "ConnectRetryCount",
                                          "ConnectRetryInterval",
                                          "KeepAlive",
                                          "KeepAliveInterval",
                                          "PacketSize"};

constexpr const char *kPostgresMarks[] = {"postgres", "psqlodbc"};
constexpr const char *kPostgresKeys[] = {"Servername",
                                         "Username",
                                         "Password",
                                         "SSLmode",
                                         "ReadOnly",
                                         "Protocol",
                                         "UseDeclareFetch",
                                         "Fetch",
                                         "BoolsAsChar",
                                         "KeepaliveTime",
                                         "KeepaliveInterval",
                                         "UnknownSizes",
                                         "MaxVarcharSize",
                                         "MaxLongVarcharSize",
                                         "TextAsLongVarchar",
                                         "UnknownsAsLongVarchar",
                                         "ByteaAsLongVarBinary",
                                         "UseServerSidePrepare",
                                         "ApplicationName",
                                         "LFConversion"};
// A cursor keeps memory flat.
constexpr Setting kPostgresDefaults[] = {
    {"UseDeclareFetch", "1"}, {"Fetch", "1000"}, {"BoolsAsChar", "0"}, {"KeepaliveTime", "30"}, {"KeepaliveInterval", "10"}};

// Its own driver is never asked: these rows are read by the embedded reader. What only that driver would heed may stand in the string.
constexpr const char *kSqliteMarks[] = {"sqlite"};
constexpr const char *kSqliteKeys[] = {"Timeout",    "NoTXN",  "NoWCHAR", "NoCreat",   "LongNames",
                                       "ShortNames", "BigInt", "StepAPI", "SyncPragma"};

constexpr const char *kOtherKeys[] = {
    "Servername", "Host", "Hostname", "User", "Username", "Password", "Charset", "SSLmode", "Encrypt", "TrustServerCertificate", "APP"};

/// The first row that knows a driver's name tells its family; the last one takes every name.
constexpr std::array kDriverFamilies{
    DriverFamily{Family::FreeTds, SqlDialect::MsSql, kFreeTdsMarks, kFreeTdsKeys, kFreeTdsDefaults},
    DriverFamily{Family::Oracle, SqlDialect::Oracle, kOracleMarks, kOracleKeys, {}},
    DriverFamily{Family::Microsoft, SqlDialect::MsSql, kMicrosoftMarks, kMicrosoftKeys, {}},
    DriverFamily{Family::PostgreSql, SqlDialect::PostgreSql, kPostgresMarks, kPostgresKeys, kPostgresDefaults},
    DriverFamily{Family::Sqlite, SqlDialect::Sqlite, kSqliteMarks, kSqliteKeys, {}},
    DriverFamily{Family::Other, SqlDialect::Standard, {}, kOtherKeys, {}},
};

bool holds(Words words, const QString &key)
{
    return std::any_of(words.begin(), words.end(),
                       [&](const char *word) { return key.compare(QLatin1StringView(word), Qt::CaseInsensitive) == 0; });
}

} // namespace

const Engine &engineOf(SqlDialect dialect)
{
    return *std::find_if(kEngines.begin(), kEngines.end(), [&](const Engine &engine) { return engine.dialect == dialect; });
}

const DriverFamily &driverFamily(Family family)
{
    return *std::find_if(kDriverFamilies.begin(), kDriverFamilies.end(), [&](const DriverFamily &row) { return row.family == family; });
}

Family familyOf(const QString &driver)
{
    for (const DriverFamily &row : kDriverFamilies)
        for (const char *mark : row.marks)
            if (driver.contains(QLatin1StringView(mark), Qt::CaseInsensitive))
                return row.family;
    return Family::Other;
}

QString chooseDriver(const Engine &engine, const QStringList &installed)
{
    for (const char *wanted : engine.drivers)
        for (const QString &driver : installed)
            if (driver.compare(QLatin1StringView(wanted), Qt::CaseInsensitive) == 0)
                return driver;
    for (const QString &driver : installed)
        if (engine.driversHold && driver.contains(QLatin1StringView(engine.driversHold), Qt::CaseInsensitive))
            return driver;
    return {};
}

QStringList driverNames(const Engine &engine)
{
    QStringList names;
    for (const char *name : engine.drivers)
        names << QString::fromLatin1(name);
    return names;
}

bool maySet(const DriverFamily &family, const QString &key)
{
    return holds(kCommonKeys, key) || holds(family.keys, key);
}

} // namespace qm::odbc
