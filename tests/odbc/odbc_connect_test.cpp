#include "datasources/AdoConnectionTester.h"
#include "odbc/Connection.h"
#include "support/DatabaseServers.h"
#include "support/ErrorOf.h"
#include "support/SilentServer.h"
#include "support/System.h"

#include <QProcess>
#include <QtTest>

#include <thread>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

/// Variables that have this program do one thing instead of its tests.
constexpr char kTestInChild[] = "QM_TEST_IN_CHILD", kLeaveBehind[] = "QM_LEAVE_BEHIND";
constexpr char kSql[] = "CREATE TABLE t(id int)";

QString sqlServerString(const QString &server, const QString &database, const QString &user, const QString &password)
{
    return u"Provider=SQLOLEDB.1;Persist Security Info=False;User ID="_s + user + u";Password="_s + password + u";Initial Catalog="_s +
           database + u";Data Source="_s + server;
}

QString oracleString(const QString &service, const QString &user, const QString &password)
{
    return u"Provider=MSDAORA.1;Password="_s + password + u";User ID="_s + user + u";Data Source="_s + service +
           u";Persist Security Info=False"_s;
}

/// What the test of a connection says; empty when it succeeds.
QString said(const QString &connection, std::chrono::milliseconds deadline = AdoConnectionTester::kDeadline)
{
    AdoConnectionTester tester(deadline);
    const QString text = test::errorOf([&] { tester.testConnection(connection); }).description();
    // Wine's ADO is not complete; what follows is then the same as elsewhere.
    const QString throughOdbc = u"Through ODBC, as reports are read: "_s;
    return test::underWine() && text.contains(throughOdbc) ? text.mid(text.indexOf(throughOdbc) + throughOdbc.size()) : text;
}

/// What the test of a connection says in a child of this program that sees other drivers and variables: the driver manager reads its
/// list once.
QString saidWith(const QMap<QString, QString> &variables, const QByteArray &odbcinst, const QString &connection)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"odbcinst.ini"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(odbcinst) != odbcinst.size())
        return file.errorString();
    file.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ODBCSYSINI"_s, folder.path());
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

    static QString beginning(const QString &text) { return text.section(u"\r\n"_s, 0, 0); }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = test::missingDriver(u"FreeTDS"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_tds = std::make_unique<test::TdsServer>(kSql, QStringList{u"--user"_s, QString::fromUtf8("rep:s3;c={r}et"), u"--user"_s,
                                                                    QString::fromUtf8("blank: a'\"b= "), u"--user"_s,
                                                                    QString::fromUtf8("Zoë:Żółć日本")});
        QVERIFY2(m_tds->problem().isEmpty(), qPrintable(m_tds->problem()));
    }

    void the_right_answers_connect_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password"); // as ADO wants it written
        QTest::newRow("semicolon, equals, braces") << u"rep"_s << u"\"s3;c={r}et\""_s;
        QTest::newRow("quotes and outer blanks") << u"blank"_s << u"\" a'\"\"b= \""_s;
        QTest::newRow("not Latin") << QString::fromUtf8("Zoë") << QString::fromUtf8("Żółć日本");
    }
    void the_right_answers_connect()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        QCOMPARE(said(sqlServerString(m_tds->server(), u"sales"_s, user, password)), QString());
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
        const QString nobody = u"127.0.0.1,%1"_s.arg(test::closedPort());
        row("host not found", sql(u"host.invalid"_s, "sales", "plain", "pw"),
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
            u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=sales;Data Source="_s +
                m_tds->server(),
            "^Log-in: ");
        row("no driver for Oracle", oracleString(u"XE"_s, u"boss"_s, u"pw"_s),
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
        QVERIFY2(text.count(u"\r\n\r\n"_s) >= 1, qPrintable(text)); // what to do follows
        QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void a_missing_driver_library_is_told_with_its_path()
    {
        if (test::onWindows())
            QSKIP("drivers are registered for the computer on Windows; the variables of a process change nothing");
        const QString text = saidWith({}, "[ODBC Driver 18 for SQL Server]\nDriver=/nowhere/libmsodbcsql.so\n",
                                      sqlServerString(m_tds->server(), u"sales"_s, u"plain"_s, u"pw"_s));
        QVERIFY2(text.startsWith(u"Driver: "_s) && text.contains(u"/nowhere/libmsodbcsql.so"_s), qPrintable(text));
    }

    void a_silent_server_ends_the_test_at_its_deadline_and_blocks_nobody()
    {
        const test::SilentServer silent;
        QVERIFY2(silent.problem().isEmpty(), qPrintable(silent.problem()));
        const QString server = u"127.0.0.1,%1"_s.arg(silent.port());
        QElapsedTimer elapsed;
        elapsed.start();
        const QString text = said(sqlServerString(server, u"sales"_s, u"plain"_s, u"pw"_s), std::chrono::milliseconds(1200));
        QVERIFY2(text.startsWith(u"Network: "_s), qPrintable(text));
        QVERIFY2(elapsed.elapsed() < 8000, qPrintable(QString::number(elapsed.elapsed())));
        // The thread that may still be waiting in the driver must not hold up the next test.
        elapsed.restart();
        QCOMPARE(said(sqlServerString(m_tds->server(), u"sales"_s, u"plain"_s, u"pw"_s)), QString());
        QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void a_named_instance_is_asked_for_and_its_browser_may_be_silent()
    {
        test::SilentServer browser({u"--browser"_s});
        if (!browser.problem().isEmpty())
            QSKIP(qPrintable(u"UDP port 1434 is not to be had here: "_s + browser.problem()));
        QElapsedTimer elapsed;
        elapsed.start();
        const QString text = said(sqlServerString(u"127.0.0.2\\payroll"_s, u"sales"_s, u"plain"_s, u"pw"_s));
        QVERIFY2(text.startsWith(u"Network: the SQL Server Browser of 127.0.0.2 (UDP port 1434) did not tell the port of the "
                                 "instance \"payroll\""_s),
                 qPrintable(text));
        QVERIFY(elapsed.elapsed() < 10'000);
        const QByteArray question = QByteArray("\x04payroll\0", 9).toHex();
        QTRY_COMPARE(browser.questions(), QByteArrayList{question});

        // An instance that listens where nobody answers: the port told is the one that is tried.
        const std::optional<QString> failure = odbc::testConnecting(
            odbc::Endpoint::ofAdo(sqlServerString(u"127.0.0.2\\payroll"_s, u"sales"_s, u"plain"_s, u"pw"_s)), std::chrono::seconds(15));
        QTRY_COMPARE(browser.questions(), (QByteArrayList{question, question}));
        QVERIFY2(failure && failure->startsWith(u"Network: Unable to connect"_s), qPrintable(failure.value_or(QString())));
    }

    void the_program_ends_while_a_test_is_left_behind()
    {
        // This program calls itself, leaves a test behind that nobody will answer, and quits at once.
        const test::SilentServer silent;
        QVERIFY2(silent.problem().isEmpty(), qPrintable(silent.problem()));
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(kLeaveBehind), QString::number(silent.port()));
        child.setProcessEnvironment(environment);
        QElapsedTimer elapsed;
        elapsed.start();
        child.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(child.waitForFinished(30'000));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 7);
        QVERIFY(elapsed.elapsed() < 20'000);
    }

    /// Proves: the string is parsed, the driver found by Oracle's name, user and password escaped, log-in and refusal reported.
    /// Does not prove: TNS names, ORA- texts, Oracle's types and SQL, or that Oracle's own driver takes the braces.
    void an_oracle_string_reaches_the_driver_of_that_name_played_by_postgresql()
    {
        if (test::onWindows())
            QSKIP("drivers are registered for the computer on Windows; the variables of a process change nothing");
        if (const QString missing = test::missingDriver(u"PostgreSQL Unicode"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const test::PostgresServer server;
        if (!server.problem().isEmpty())
            QSKIP(qPrintable(server.problem()));
        QVERIFY(!server.run(u"CREATE USER rep PASSWORD 's3;c={r}et '''"_s).isNull());
        const auto saidByIt = [&](const QString &user, const QString &password) {
            // The variables stand in for the TNS name, which this driver does not read.
            return saidWith({{u"PGHOST"_s, u"127.0.0.1"_s}, {u"PGPORT"_s, QString::number(server.port())}, {u"PGDATABASE"_s, u"sales"_s}},
                            "[Oracle 21 ODBC driver]\nDriver=psqlodbcw.so\n", oracleString(u"XE"_s, user, password));
        };
        QCOMPARE(saidByIt(u"boss"_s, u"pw"_s), QString());
        QCOMPARE(saidByIt(u"rep"_s, u"\"s3;c={r}et '\""_s), QString());
        const QString refused = saidByIt(u"boss"_s, u"geheim!"_s);
        QVERIFY2(refused.startsWith(u"Log-in: "_s) && refused.contains(u"password authentication failed"_s), qPrintable(refused));
        QVERIFY(!refused.contains(u"geheim!"_s));
    }
};

int main(int argc, char *argv[])
{
    if (const QString port = qEnvironmentVariable(kLeaveBehind); !port.isEmpty()) {
        const QCoreApplication application(argc, argv);
        // Without a protocol version this driver waits for ever on a server that says nothing.
        const odbc::Endpoint endpoint =
            odbc::Endpoint::ofOdbc(u"Driver=FreeTDS;Server=127.0.0.1;Port=%1;TDS_Version=auto;UID=a;PWD=b;Database=c;"_s.arg(port));
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
