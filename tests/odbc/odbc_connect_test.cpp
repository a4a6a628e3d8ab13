#include "datasources/AdoConnectionTester.h"
#include "odbc/Connection.h"
#include "support/DatabaseServers.h"
#include "support/ErrorOf.h"

#include <QNetworkDatagram>
#include <QProcess>
#include <QTcpServer>
#include <QUdpSocket>
#include <QtTest>

#include <thread>

using namespace qm;

namespace {

/// Variables that have this program do one thing instead of its tests.
constexpr char kTestInChild[] = "QM_TEST_IN_CHILD", kLeaveBehind[] = "QM_LEAVE_BEHIND";
constexpr char kSql[] = "CREATE TABLE t(id int)";

QString sqlServerString(const QString &server, const QString &database, const QString &user, const QString &password)
{
    return QStringLiteral("Provider=SQLOLEDB.1;Persist Security Info=False;User ID=") + user + QStringLiteral(";Password=") + password +
           QStringLiteral(";Initial Catalog=") + database + QStringLiteral(";Data Source=") + server;
}

QString oracleString(const QString &service, const QString &user, const QString &password)
{
    return QStringLiteral("Provider=MSDAORA.1;Password=") + password + QStringLiteral(";User ID=") + user +
           QStringLiteral(";Data Source=") + service + QStringLiteral(";Persist Security Info=False");
}

/// What the test of a connection says; empty when it succeeds.
QString said(const QString &connection, std::chrono::milliseconds deadline = AdoConnectionTester::kDeadline)
{
    AdoConnectionTester tester(deadline);
    return test::errorOf([&] { tester.testConnection(connection); }).description();
}

/// What the test of a connection says in a child of this program that sees other drivers and variables: the driver manager reads its
/// list once.
QString saidWith(const QMap<QString, QString> &variables, const QByteArray &odbcinst, const QString &connection)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("odbcinst.ini")));
    if (!file.open(QIODevice::WriteOnly) || file.write(odbcinst) != odbcinst.size())
        return file.errorString();
    file.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ODBCSYSINI"), folder.path());
    for (auto it = variables.cbegin(); it != variables.cend(); ++it)
        environment.insert(it.key(), it.value());
    environment.insert(QString::fromLatin1(kTestInChild), connection);
    QProcess child;
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), {});
    return child.waitForFinished(30'000) ? QString::fromUtf8(child.readAllStandardOutput()) : child.errorString();
}

} // namespace

/// The test of a connection against real drivers and servers.
class OdbcConnectTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<test::TdsServer> m_tds;

    static QString beginning(const QString &text) { return text.section(QStringLiteral("\r\n"), 0, 0); }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = test::missingDriver(QStringLiteral("FreeTDS")); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_tds = std::make_unique<test::TdsServer>(kSql, QStringList{QStringLiteral("--user"), QString::fromUtf8("rep:s3;c={r}et"),
                                                                    QStringLiteral("--user"), QString::fromUtf8("blank: a'\"b= "),
                                                                    QStringLiteral("--user"), QString::fromUtf8("Zoë:Żółć日本")});
        QVERIFY2(m_tds->problem().isEmpty(), qPrintable(m_tds->problem()));
    }

    void the_right_answers_connect_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password"); // as ADO wants it written
        QTest::newRow("plain") << QStringLiteral("plain") << QStringLiteral("pw");
        QTest::newRow("semicolon, equals, braces") << QStringLiteral("rep") << QStringLiteral("\"s3;c={r}et\"");
        QTest::newRow("quotes and outer blanks") << QStringLiteral("blank") << QStringLiteral("\" a'\"\"b= \"");
        QTest::newRow("not Latin") << QString::fromUtf8("Zoë") << QString::fromUtf8("Żółć日本");
    }
    void the_right_answers_connect()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        QCOMPARE(said(sqlServerString(m_tds->server(), QStringLiteral("sales"), user, password)), QString());
    }

    void a_failure_names_its_step_first_and_comes_in_time_data()
    {
        QTest::addColumn<QString>("connection");
        QTest::addColumn<QString>("first"); // regular expression for the first line
        const auto sql = [&](const QString &server, const char *database, const char *user, const char *password) {
            return sqlServerString(server, QString::fromLatin1(database), QString::fromLatin1(user), QString::fromLatin1(password));
        };
        const auto row = [](const char *name, const QString &connection, const char *first) {
            QTest::newRow(name) << connection << QString::fromLatin1(first);
        };
        QTcpServer closed; // a port that was free a moment ago
        closed.listen(QHostAddress::LocalHost);
        const QString nobody = QStringLiteral("127.0.0.1,%1").arg(closed.serverPort());
        closed.close();
        row("host not found", sql(QStringLiteral("host.invalid"), "sales", "plain", "pw"),
            "^Server name: Unknown host machine name\\. \\[native error 20013");
        row("port closed", sql(nobody, "sales", "plain", "pw"), "^Network: Unable to connect: .* \\[native error 20009");
        row("wrong password", sql(m_tds->server(), "sales", "plain", "wrong"),
            "^Log-in: Login failed for user 'plain'\\. \\[native error 18456, SQLSTATE 42000\\]$");
        row("password cut at a semicolon by ADO's rules", sql(m_tds->server(), "sales", "rep", "s3;c={r}et"), "^Log-in: Login failed");
        row("wrong database", sql(m_tds->server(), "none", "plain", "pw"),
            "^Database: Cannot open database \"none\" requested by the login\\. .*\\[native error 4060");
        row("database denied", sql(m_tds->server(), "hr", "plain", "pw"), "^Database: Cannot open database \"hr\"");
        row("no server named", sql(QString(), "sales", "plain", "pw"), "^Server name: no server is named");
        row("integrated, without a ticket",
            QStringLiteral("Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=sales;Data Source=") +
                m_tds->server(),
            "^Log-in: ");
        row("no driver for Oracle", oracleString(QStringLiteral("XE"), QStringLiteral("boss"), QStringLiteral("pw")),
            "^Driver: no ODBC driver for Oracle is installed\\. Looked for: .*Installed: .*FreeTDS");
    }
    void a_failure_names_its_step_first_and_comes_in_time()
    {
        QFETCH(QString, connection);
        QFETCH(QString, first);
        QElapsedTimer elapsed;
        elapsed.start();
        const QString text = said(connection);
        QVERIFY2(beginning(text).contains(QRegularExpression(first)), qPrintable(text));
        QVERIFY2(text.count(QStringLiteral("\r\n\r\n")) >= 1, qPrintable(text)); // what to do follows
        QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void a_missing_driver_library_is_told_with_its_path()
    {
        const QString text =
            saidWith({}, "[ODBC Driver 18 for SQL Server]\nDriver=/nowhere/libmsodbcsql.so\n",
                     sqlServerString(m_tds->server(), QStringLiteral("sales"), QStringLiteral("plain"), QStringLiteral("pw")));
        QVERIFY2(text.startsWith(QStringLiteral("Driver: ")) && text.contains(QStringLiteral("/nowhere/libmsodbcsql.so")),
                 qPrintable(text));
    }

    void a_silent_server_ends_the_test_at_its_deadline_and_blocks_nobody()
    {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost)); // accepts through its backlog and says nothing
        const QString server = QStringLiteral("127.0.0.1,%1").arg(silent.serverPort());
        QElapsedTimer elapsed;
        elapsed.start();
        const QString text = said(sqlServerString(server, QStringLiteral("sales"), QStringLiteral("plain"), QStringLiteral("pw")),
                                  std::chrono::milliseconds(1200));
        QVERIFY2(text.startsWith(QStringLiteral("Network: ")), qPrintable(text));
        QVERIFY2(elapsed.elapsed() < 2500, qPrintable(QString::number(elapsed.elapsed())));
        // The thread that may still be waiting in the driver must not hold up the next test.
        elapsed.restart();
        QCOMPARE(said(sqlServerString(m_tds->server(), QStringLiteral("sales"), QStringLiteral("plain"), QStringLiteral("pw"))), QString());
        QVERIFY2(elapsed.elapsed() < 1000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void a_named_instance_is_asked_for_and_its_browser_may_be_silent()
    {
        QUdpSocket browser;
        if (!browser.bind(QHostAddress(QStringLiteral("127.0.0.2")), 1434))
            QSKIP("UDP port 1434 is not to be had here");
        QElapsedTimer elapsed;
        elapsed.start();
        const QString text = said(
            sqlServerString(QStringLiteral("127.0.0.2\\payroll"), QStringLiteral("sales"), QStringLiteral("plain"), QStringLiteral("pw")));
        QVERIFY2(text.startsWith(QStringLiteral("Network: the SQL Server Browser of 127.0.0.2 (UDP port 1434) did not tell the port of the "
                                                "instance \"payroll\"")),
                 qPrintable(text));
        QVERIFY(elapsed.elapsed() < 4000);
        QCOMPARE(browser.receiveDatagram().isValid(), true); // the question of the test above

        std::optional<QString> failure;
        std::jthread asking([&] {
            failure =
                odbc::testConnecting(odbc::Endpoint::ofAdo(sqlServerString(QStringLiteral("127.0.0.2\\payroll"), QStringLiteral("sales"),
                                                                           QStringLiteral("plain"), QStringLiteral("pw"))),
                                     std::chrono::seconds(15));
        });
        QTRY_VERIFY_WITH_TIMEOUT(browser.hasPendingDatagrams(), 3000);
        QNetworkDatagram question = browser.receiveDatagram();
        // An instance that listens where nobody answers: the port told is the one that is tried.
        const QByteArray answer = "ServerName;X;InstanceName;payroll;IsClustered;No;Version;16.0;tcp;" + QByteArray::number(1) + ";;";
        const auto size = static_cast<quint16>(answer.size());
        browser.writeDatagram(QByteArray("\x05") + static_cast<char>(size & 0xFF) + static_cast<char>(size >> 8) + answer,
                              question.senderAddress(), static_cast<quint16>(question.senderPort()));
        asking.join();
        QCOMPARE(question.data(), QByteArray("\x04payroll\0", 9));
        QVERIFY2(failure && failure->startsWith(QStringLiteral("Network: Unable to connect")), qPrintable(failure.value_or(QString())));
    }

    void the_program_ends_while_a_test_is_left_behind()
    {
        // This program calls itself, leaves a test behind that nobody will answer, and quits at once.
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(kLeaveBehind), QString::number(silent.serverPort()));
        child.setProcessEnvironment(environment);
        QElapsedTimer elapsed;
        elapsed.start();
        child.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(child.waitForFinished(10'000));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 7);
        QVERIFY(elapsed.elapsed() < 5000);
    }

    /// Proves: the string is parsed, the driver found by Oracle's name, user and password escaped, log-in and refusal reported.
    /// Does not prove: TNS names, ORA- texts, Oracle's types and SQL, or that Oracle's own driver takes the braces.
    void an_oracle_string_reaches_the_driver_of_that_name_played_by_postgresql()
    {
        if (const QString missing = test::missingDriver(QStringLiteral("PostgreSQL Unicode")); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const test::PostgresServer server;
        if (!server.problem().isEmpty())
            QSKIP(qPrintable(server.problem()));
        QVERIFY(!server.run(QStringLiteral("CREATE USER rep PASSWORD 's3;c={r}et '''")).isNull());
        const auto saidByIt = [&](const QString &user, const QString &password) {
            // The variables stand in for the TNS name, which this driver does not read.
            return saidWith({{QStringLiteral("PGHOST"), QStringLiteral("127.0.0.1")},
                             {QStringLiteral("PGPORT"), QString::number(server.port())},
                             {QStringLiteral("PGDATABASE"), QStringLiteral("sales")}},
                            "[Oracle 21 ODBC driver]\nDriver=psqlodbcw.so\n", oracleString(QStringLiteral("XE"), user, password));
        };
        QCOMPARE(saidByIt(QStringLiteral("boss"), QStringLiteral("pw")), QString());
        QCOMPARE(saidByIt(QStringLiteral("rep"), QStringLiteral("\"s3;c={r}et '\"")), QString());
        const QString refused = saidByIt(QStringLiteral("boss"), QStringLiteral("geheim!"));
        QVERIFY2(refused.startsWith(QStringLiteral("Log-in: ")) && refused.contains(QStringLiteral("password authentication failed")),
                 qPrintable(refused));
        QVERIFY(!refused.contains(QStringLiteral("geheim!")));
    }
};

int main(int argc, char *argv[])
{
    if (const QString port = qEnvironmentVariable(kLeaveBehind); !port.isEmpty()) {
        const QCoreApplication application(argc, argv);
        // Without a protocol version this driver waits for ever on a server that says nothing.
        const odbc::Endpoint endpoint = odbc::Endpoint::ofOdbc(
            QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=%1;TDS_Version=auto;UID=a;PWD=b;Database=c;").arg(port));
        return odbc::testConnecting(endpoint, std::chrono::milliseconds(300)) ? 7 : 1;
    }
    const QCoreApplication application(argc, argv);
    if (const QString connection = qEnvironmentVariable(kTestInChild); !connection.isEmpty()) {
        fputs(said(connection).toUtf8().constData(), stdout);
        return 0;
    }
    OdbcConnectTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "odbc_connect_test.moc"
