#include "engine/rows/RowSources.h"

#include "core/ConnectionString.h"
#include "core/DataSourcePrefix.h"
#include "core/Failure.h"
#include "engine/rows/OdbcRowSource.h"
#include "engine/rows/SqliteRowSource.h"
#include "framework/ConfigReaders.h"
#include "odbc/SourceGuard.h"
#include "platform/Files.h"
#include "sqlite/Sqlite.h"

#include <QDir>
#include <QFileInfo>

namespace qm {

namespace {

/// The database file of an SQLite source. One that the query names itself must lie in the installation: a query does not choose which of
/// the operator's files are read. \throws RuntimeError reportFailed.
QString guardedFile(const odbc::GuardedSource &source, const QString &shown, const QString &installPath)
{
    if (!source.dsn.isEmpty())
        return source.file;
    const QString root = installPath.isEmpty() ? QString() : QDir(installPath).canonicalPath();
    const QString path = root.isEmpty() ? QString() : QDir(root).absoluteFilePath(source.file);
    const QString real = QFileInfo(path).exists() ? QFileInfo(path).canonicalFilePath() : QDir::cleanPath(path);
    if (root.isEmpty() || !real.startsWith(root + u'/'))
        failReport(QStringLiteral("The data source %1 is refused: its file lies outside the installation, and a query may not choose files "
                                  "there. Name the file in a DSN of this computer, and write \"ODBC::DSN=...\".")
                       .arg(shown));
    return real;
}

SourceDescription connectionSource(const QString &dataSource, const QString &connection, const QString &installPath)
{
    const QString shown = redacted(dataSource);
    const odbc::Guarding guarding = odbc::guard(connection);
    if (!guarding.refusal.isEmpty())
        failReport(QStringLiteral("The data source %1 is refused: %2").arg(shown, guarding.refusal));
    const odbc::GuardedSource &source = guarding.source;
    // Its own driver would load extensions and make files; the embedded reader does neither.
    if (source.family == odbc::Family::Sqlite)
        return {guardedFile(source, shown, installPath), shown, SqlDialect::Sqlite, {}};
    odbc::Endpoint endpoint = odbc::Endpoint::ofOdbc(connection);
    for (const auto &[key, value] : source.properties.entries())
        if (namesSecret(key))
            endpoint.password = value;
    return {{}, shown, odbc::driverFamily(source.family).dialect, endpoint};
}

[[noreturn]] void refuseClass(const QString &key, const QString &path, const QString &className)
{
    failReport(
        QStringLiteral("The data source \"%1\" is not what its file %2 holds (class \"%3\"). Another data source of the same name was "
                       "saved over it: choose that one in the query, or save this one again.")
            .arg(key, path, className));
}

/// A key of the data source table: its prefix says the kind, the rest is the file's name.
SourceDescription savedSource(const QString &key, const QString &installPath)
{
    const bool sqlServer = key.startsWith(QLatin1StringView(kSqlServerPrefix));
    if (!sqlServer && !key.startsWith(QLatin1StringView(kOraclePrefix)))
        failReport(
            QStringLiteral("The query's data source \"%1\" is of no known kind. Choose one in the query editor.").arg(redacted(key)));
    const QString name = key.mid(static_cast<qsizetype>(sqlServer ? sizeof kSqlServerPrefix : sizeof kOraclePrefix) - 1);
    if (const QString reason = files::whyNotAName(name); !reason.isEmpty())
        failReport(QStringLiteral("The query's data source \"%1\" cannot be a file: the name %2.").arg(key, reason));
    if (installPath.isEmpty())
        failReport(
            QStringLiteral("The query reads from the data source \"%1\", and the query file lies outside any installation, where data "
                           "sources are saved.")
                .arg(key));
    const QString path = installPath + QStringLiteral("Config") + kSep + name;
    const std::shared_ptr<DatabaseInfo> info = TomlDataSourceFileReader().ReadDataSource(path);
    odbc::Endpoint endpoint;
    if (const auto server = std::dynamic_pointer_cast<QMMDSMSSql>(info); server && sqlServer) {
        endpoint.kind = odbc::Endpoint::Kind::SqlServer;
        endpoint.server = server->ServerName;
        endpoint.database = server->DatabaseName;
        endpoint.user = server->UserName;
        endpoint.password = server->Password;
        endpoint.integrated = server->ConnectionType == 0;
        const QString shown = QStringLiteral("SQL Server database %1 on %2 (%3)").arg(server->DatabaseName, server->ServerName, key);
        return {{}, shown, SqlDialect::MsSql, endpoint};
    }
    const auto oracle = std::dynamic_pointer_cast<QMMDSOracle>(info);
    if (!oracle || sqlServer)
        refuseClass(key, path, info->className());
    endpoint.kind = odbc::Endpoint::Kind::Oracle;
    endpoint.server = oracle->ServerName;
    endpoint.user = oracle->UserName;
    endpoint.password = oracle->Password;
    return {{}, QStringLiteral("Oracle database %1 (%2)").arg(oracle->ServerName, key), SqlDialect::Oracle, endpoint};
}

} // namespace

SourceDescription describeSource(const QString &dataSource, const QString &database, const QString &installPath)
{
    if (dataSource.isEmpty()) {
        QString shown = QStringLiteral("event database %1").arg(files::lastPart(database));
        if (sqlite::isUnchanging(database))
            shown += QStringLiteral(" (on a read-only medium, read as it stands there)");
        return {database, shown, SqlDialect::Sqlite, {}};
    }
    if (const auto connection = odbcConnection(dataSource))
        return connectionSource(dataSource, *connection, installPath);
    return savedSource(dataSource, installPath);
}

QString sqlFor(const Query &query, SqlDialect dialect)
{
    const QString variant = query.sqlFor.value(QString::fromLatin1(odbc::engineOf(dialect).word));
    return variant.isEmpty() ? query.sql : variant;
}

std::unique_ptr<RowSource> openRowSource(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                                         const RunLimits &limits)
{
    if (source.endpoint)
        return std::make_unique<OdbcRowSource>(source, sql, parameters, limits);
    return std::make_unique<SqliteRowSource>(source.database, sql, parameters, limits);
}

void checkRowSource(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                    const RunLimits &limits)
{
    if (source.endpoint)
        OdbcRowSource::check(source, sql, parameters, limits);
    else
        static_cast<void>(SqliteRowSource(source.database, sql, parameters, limits));
}

} // namespace qm
