#include "reporting/engine/RowSources.h"

#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "reporting/engine/Failure.h"
#include "reporting/engine/OdbcRowSource.h"
#include "reporting/engine/SqliteRowSource.h"

namespace qm {

namespace {

bool isSecretKey(const QString &key)
{
    const QString name = key.trimmed().toLower();
    return name == QStringLiteral("pwd") || name.contains(QStringLiteral("password")) || name.contains(QStringLiteral("passwd")) ||
           name.contains(QStringLiteral("secret")) || name.contains(QStringLiteral("token"));
}

/// The end of a connection string's value that begins at \p from: "{...}" (with "}}" inside), quoted, or up to the next semicolon.
qsizetype valueEnd(const QString &text, qsizetype from)
{
    while (from < text.size() && text[from].isSpace())
        ++from;
    if (from < text.size() && (text[from] == u'{' || text[from] == u'"' || text[from] == u'\'')) {
        const QChar close = text[from] == u'{' ? QChar(u'}') : text[from];
        for (qsizetype i = from + 1; i < text.size(); ++i) {
            if (text[i] != close)
                continue;
            if (i + 1 < text.size() && text[i + 1] == close)
                ++i;
            else
                return qMax(i + 1, text.indexOf(u';', i + 1) < 0 ? text.size() : text.indexOf(u';', i + 1));
        }
        return text.size();
    }
    const qsizetype semicolon = text.indexOf(u';', from);
    return semicolon < 0 ? text.size() : semicolon;
}

constexpr char kOdbcPrefix[] = "ODBC::", kSqlServerPrefix[] = "MSSQL::", kOraclePrefix[] = "Oracle::";

SqlDialect dialectOf(const QString &driver)
{
    switch (odbc::familyOf(driver)) {
    case odbc::Family::FreeTds:
    case odbc::Family::Microsoft:
        return SqlDialect::MsSql;
    case odbc::Family::Oracle:
        return SqlDialect::Oracle;
    case odbc::Family::PostgreSql:
        return SqlDialect::PostgreSql;
    case odbc::Family::Sqlite:
        return SqlDialect::Sqlite;
    case odbc::Family::Other:
        break;
    }
    return SqlDialect::Standard;
}

SourceDescription connectionSource(const QString &connection)
{
    const odbc::Properties properties = odbc::parseOdbc(connection);
    const QString dsn = properties.value(u"DSN");
    QString driver = properties.value(u"Driver");
    if (driver.isEmpty() && dsn.isEmpty())
        failReport(QStringLiteral("The data source \"ODBC::%1\" names neither a driver nor a data source name. Write "
                                  "\"ODBC::Driver={...};Server=...;\" or \"ODBC::DSN=...;\".")
                       .arg(redacted(connection)));
    if (driver.isEmpty())
        driver = odbc::driverOfDsn(dsn);
    odbc::Endpoint endpoint = odbc::Endpoint::ofOdbc(connection);
    for (const char *key : {"PWD", "Password"})
        if (const auto password = properties.find(QString::fromLatin1(key)))
            endpoint.password = *password;
    return {{}, QStringLiteral("ODBC::%1").arg(redacted(connection)), dialectOf(driver), endpoint};
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

QString redacted(const QString &text)
{
    QString shown;
    qsizetype at = 0;
    while (at < text.size()) {
        const qsizetype equals = text.indexOf(u'=', at);
        if (equals < 0)
            break;
        const qsizetype semicolon = text.indexOf(u';', at);
        if (semicolon >= 0 && semicolon < equals) {
            shown += text.mid(at, semicolon + 1 - at);
            at = semicolon + 1;
            continue;
        }
        QString key = text.mid(at, equals - at);
        key = key.mid(key.lastIndexOf(u':') + 1);
        const qsizetype end = valueEnd(text, equals + 1);
        shown += text.mid(at, equals + 1 - at) + (isSecretKey(key) ? QStringLiteral("***") : text.mid(equals + 1, end - equals - 1));
        if (end < text.size())
            shown += text[end];
        at = end + 1;
    }
    return shown + text.mid(at);
}

SourceDescription describeSource(const QString &dataSource, const QString &database, const QString &installPath)
{
    if (dataSource.isEmpty())
        return {database, QStringLiteral("event database %1").arg(files::lastPart(database)), SqlDialect::Sqlite, {}};
    if (dataSource.startsWith(QLatin1StringView(kOdbcPrefix), Qt::CaseInsensitive))
        return connectionSource(dataSource.mid(static_cast<qsizetype>(sizeof kOdbcPrefix) - 1));
    return savedSource(dataSource, installPath);
}

QString sqlFor(const Query &query, SqlDialect dialect)
{
    static const QMap<SqlDialect, QString> names{{SqlDialect::Oracle, QStringLiteral("oracle")},
                                                 {SqlDialect::MsSql, QStringLiteral("mssql")},
                                                 {SqlDialect::PostgreSql, QStringLiteral("postgresql")},
                                                 {SqlDialect::Sqlite, QStringLiteral("sqlite")}};
    const QString variant = query.sqlFor.value(names.value(dialect));
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
