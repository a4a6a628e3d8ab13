/// \file
/// Database servers of the tests' own, for programs that link the engine: SQL Server's protocol in front of SQLite, and PostgreSQL.
#pragma once

#include "odbc/Drivers.h"
#include "reporting/engine/Sqlite.h"
#include "support/ServerProcess.h"

#include <QTemporaryDir>

#include <signal.h>

namespace qm::test {

/// Why a test that needs \p driver cannot run; empty when it can.
[[nodiscard]] inline QString missingDriver(const QString &driver)
{
    return odbc::installedDrivers().contains(driver, Qt::CaseInsensitive)
               ? QString()
               : QStringLiteral("no ODBC driver named %1 is installed").arg(driver);
}

/// Speaks SQL Server's protocol; database "sales" holds what \p sql makes, in tables whose columns are declared in SQL Server's types.
class TdsServer final
{
public:
    static constexpr char kUser[] = "plain", kPassword[] = "pw";

    explicit TdsServer(const char *sql, const QStringList &more = {}) : m_more(more)
    {
        int code = SQLITE_OK;
        const auto connection =
            sqlite::open(m_folder.filePath(QStringLiteral("sales.db")), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        if (sqlite::execute(connection.get(), sql) != SQLITE_OK)
            m_problem = QString::fromUtf8(sqlite3_errmsg(connection.get()));
        else
            restart();
    }

    /// Ends the server and starts another one on the same port.
    void restart()
    {
        QStringList arguments{QStringLiteral("--db"),   QStringLiteral("sales=") + m_folder.filePath(QStringLiteral("sales.db")),
                              QStringLiteral("--user"), QStringLiteral("plain:pw"),
                              QStringLiteral("--deny"), QStringLiteral("plain:hr"),
                              QStringLiteral("--db"),   QStringLiteral("hr=:memory:")};
        if (m_port != 0)
            arguments << QStringLiteral("--port") << QString::number(m_port);
        m_process.stop();
        m_problem = m_process.start(QStringLiteral("tds_server.py"), arguments + m_more) ? QString() : m_process.problem();
        m_port = m_process.port(QStringLiteral("port"));
    }
    void stop() { m_process.stop(); }

    [[nodiscard]] const QString &problem() const { return m_problem; }
    [[nodiscard]] int port() const { return m_port; }
    /// As a data source names it: "127.0.0.1,PORT".
    [[nodiscard]] QString server() const { return QStringLiteral("127.0.0.1,%1").arg(m_port); }
    [[nodiscard]] QString connection() const
    {
        return QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=%1;UID=plain;PWD=pw;Database=sales").arg(m_port);
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
        if (!m_process.start(QStringLiteral("postgres.sh"), {}))
            m_problem = m_process.problem();
    }
    ~PostgresServer() { freeze(false); }
    PostgresServer(const PostgresServer &) = delete;
    PostgresServer &operator=(const PostgresServer &) = delete;

    [[nodiscard]] const QString &problem() const { return m_problem; }
    [[nodiscard]] QString connection(const QString &password = QStringLiteral("pw")) const
    {
        return QStringLiteral("Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=%1;UID=boss;PWD=%2;Database=sales")
            .arg(port())
            .arg(password);
    }
    [[nodiscard]] int port() const { return m_process.port(QStringLiteral("port")); }
    /// Runs \p sql. \returns what it gave, or null after an error.
    [[nodiscard]] QByteArray run(const QString &sql) const
    {
        const QString url = QStringLiteral("postgresql://boss:pw@127.0.0.1:%1/sales").arg(port());
        return outputOf(QStringLiteral("psql"),
                        {QStringLiteral("-qAtXv"), QStringLiteral("ON_ERROR_STOP=1"), url, QStringLiteral("-c"), sql});
    }
    /// Stops the processes of all connections made so far, or has them go on: a server that went silent.
    void freeze(bool frozen) const
    {
        const auto server = static_cast<pid_t>(m_process.port(QStringLiteral("pid")));
        if (server <= 0)
            return;
        for (const QByteArray &child : outputOf(QStringLiteral("pgrep"), {QStringLiteral("-P"), QString::number(server)}).split('\n'))
            if (!child.isEmpty())
                ::kill(static_cast<pid_t>(child.toInt()), frozen ? SIGSTOP : SIGCONT);
        ::kill(server, frozen ? SIGSTOP : SIGCONT);
    }

private:
    ServerProcess m_process;
    QString m_problem;
};

} // namespace qm::test
