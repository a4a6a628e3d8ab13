/// \file
/// Database servers of the tests' own, for programs that link the engine: SQL Server's protocol in front of SQLite, and PostgreSQL.
#pragma once

#include "odbc/Drivers.h"
#include "sqlite/Sqlite.h"
#include "support/ServerProcess.h"

#include <QTemporaryDir>

namespace qm::test {

using namespace Qt::StringLiterals;

/// Why a test that needs \p driver cannot run; empty when it can.
[[nodiscard]] inline QString missingDriver(const QString &driver)
{
    return odbc::installedDrivers().contains(driver, Qt::CaseInsensitive) ? QString()
                                                                          : u"no ODBC driver named %1 is installed"_s.arg(driver);
}

/// Speaks SQL Server's protocol; database "sales" holds what \p sql makes, in tables whose columns are declared in SQL Server's types.
class TdsServer final
{
public:
    static constexpr char kUser[] = "plain", kPassword[] = "pw";

    explicit TdsServer(const char *sql, const QStringList &more = {}) : m_more(more)
    {
        int code = SQLITE_OK;
        const auto connection = sqlite::open(m_folder.filePath(u"sales.db"_s), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        if (sqlite::execute(connection.get(), sql) != SQLITE_OK)
            m_problem = QString::fromUtf8(sqlite3_errmsg(connection.get()));
        else
            restart();
    }

    /// Ends the server and starts another one on the same port.
    void restart()
    {
        QStringList arguments{u"--db"_s,   u"sales="_s + m_folder.filePath(u"sales.db"_s),
                              u"--user"_s, u"plain:pw"_s,
                              u"--deny"_s, u"plain:hr"_s,
                              u"--db"_s,   u"hr=:memory:"_s};
        if (m_port != 0)
            arguments << u"--port"_s << QString::number(m_port);
        m_process.stop();
        m_problem = m_process.start(u"tds_server.py"_s, arguments + m_more) ? QString() : m_process.problem();
        m_port = m_process.port(u"port"_s);
    }
    void stop() { m_process.stop(); }

    [[nodiscard]] const QString &problem() const { return m_problem; }
    [[nodiscard]] int port() const { return m_port; }
    /// As a data source names it: "127.0.0.1,PORT".
    [[nodiscard]] QString server() const { return u"127.0.0.1,%1"_s.arg(m_port); }
    [[nodiscard]] QString connection() const
    {
        return u"Driver=FreeTDS;Server=127.0.0.1;Port=%1;UID=plain;PWD=pw;Database=sales"_s.arg(m_port);
    }

private:
    QTemporaryDir m_folder;
    QStringList m_more;
    ServerProcess m_process;
    QString m_problem;
    int m_port = 0;
};

/// A whole PostgreSQL with an empty database "sales"; superuser boss, password pw.
class PostgresServer final
{
public:
    PostgresServer()
    {
        if (!m_process.start(u"postgres.sh"_s, {}))
            m_problem = m_process.problem();
    }
    ~PostgresServer() { freeze(false); }
    PostgresServer(const PostgresServer &) = delete;
    PostgresServer &operator=(const PostgresServer &) = delete;

    [[nodiscard]] const QString &problem() const { return m_problem; }
    [[nodiscard]] QString connection(const QString &password = u"pw"_s) const
    {
        return u"Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=%1;UID=boss;PWD=%2;Database=sales"_s.arg(port()).arg(password);
    }
    [[nodiscard]] int port() const { return m_process.port(u"port"_s); }
    /// Runs \p sql. \returns what it gave, or null after an error.
    [[nodiscard]] QByteArray run(const QString &sql) const
    {
        const QString url = u"postgresql://boss:pw@127.0.0.1:%1/sales"_s.arg(port());
        return outputOf(u"psql"_s, {u"-qAtXv"_s, u"ON_ERROR_STOP=1"_s, url, u"-c"_s, sql});
    }
    /// Stops the processes of all connections made so far, or has them go on: a server that went silent.
    void freeze(bool frozen) const
    {
        const QString server = m_process.value(u"pid"_s);
        if (server.isEmpty())
            return;
        QStringList processes = QString::fromLatin1(outputOf(u"pgrep"_s, {u"-P"_s, server})).split(u'\n', Qt::SkipEmptyParts);
        processes << server;
        (void)runHost(u"kill"_s, QStringList(frozen ? u"-STOP"_s : u"-CONT"_s) + processes);
    }

private:
    ServerProcess m_process;
    QString m_problem;
};

} // namespace qm::test
