#include "reporting/engine/RunLedger.h"
#include "support/TempInstallation.h"

#include <QtTest>

#include <signal.h>

namespace {

constexpr int kTimeoutMs = 30'000;

struct Outcome
{
    int exitCode = -1;
    QByteArray out, err;
};

QString program()
{
    return qEnvironmentVariable("QM_BIN_DIR") + QStringLiteral("/quillmark-report");
}

Outcome finish(QProcess &process)
{
    if (!process.waitForFinished(kTimeoutMs))
        return {-1, {}, process.errorString().toUtf8()};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

Outcome runTool(const QStringList &arguments)
{
    QProcess process;
    process.start(program(), arguments);
    return finish(process);
}

} // namespace

/// quillmark-report as a script calls it.
class ReportToolTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<qm::test::TempInstallation> m_installation;

    [[nodiscard]] QString query(const QByteArray &sql, const QByteArray &more = {}) const
    {
        return m_installation->write(m_installation->group(QStringLiteral("Server"), QStringLiteral("Tests")) + QStringLiteral("/q.rqn"),
                                     "format = 1\ndescription = \"My query\"\nsql = '''" + sql + "'''\n" + more);
    }
    [[nodiscard]] QString database() const { return m_installation->packagePath(QStringLiteral("Server")) + QStringLiteral("EventLog.db"); }
    [[nodiscard]] QStringList reports() const
    {
        return QDir(m_installation->path() + QStringLiteral("Reports")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    [[nodiscard]] bool isRunning() const
    {
        const auto all = qm::RunLedger(m_installation->path()).list();
        return !all.empty() && all.front().status == QStringLiteral("running");
    }

private Q_SLOTS:
    void init()
    {
        m_installation.reset(); // the environment it set must be back before the next one changes it
        m_installation = std::make_unique<qm::test::TempInstallation>();
        int code = SQLITE_OK;
        const auto connection = qm::sqlite::open(database(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        QCOMPARE(qm::sqlite::execute(
                     connection.get(),
                     "CREATE TABLE e(id INTEGER, at TEXT); INSERT INTO e VALUES(1,'2026-01-01 00:00:00'),(2,'2026-02-01 00:00:00')"),
                 SQLITE_OK);
    }

    void wrong_usage_is_told_with_status_2_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("said");
        const auto row = [](const char *arguments, const char *said) {
            QTest::newRow(arguments[0] ? arguments : "nothing")
                << QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts) << QByteArray(said);
        };
        row("", "No query file");
        row("a.rqn b.rqn", "More than one");
        row("--nosuch a.rqn", "nosuch");
        row("--format docx a.rqn", "Choose pdf, html, xlsx or csv");
        row("--format", "--format");
        row("--param account a.rqn", "NAME=VALUE");
        row("--param =x a.rqn", "NAME=VALUE");
        row("--param a=1 --param a=2 a.rqn", "given twice");
        row("--from 21.11.2026 a.rqn", "YYYY-MM-DD");
        row("--from 2026-02-30 a.rqn", "YYYY-MM-DD");
        row("--from 2026-02-02 --to 2026-02-01 a.rqn", "--from lies after --to");
        row("--all-time --to 2026-02-01 a.rqn", "exclude each other");
        row("--output= a.rqn", "needs a value");
    }
    void wrong_usage_is_told_with_status_2()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, said);
        const Outcome outcome = runTool(arguments);
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY2(outcome.err.contains(said) && outcome.err.contains("--help") && outcome.out.isEmpty(), outcome.err.constData());
    }

    void failures_say_what_and_where_with_status_1()
    {
        const auto told = [&](const QStringList &arguments) {
            const Outcome outcome = runTool(arguments);
            return outcome.exitCode == 1 && outcome.out.isEmpty() ? outcome.err : QByteArray("wrong status or output");
        };
        const QString file = query("SELECT id FROM e WHERE id > :least", "[[parameter]]\nname = \"least\"\ntype = \"integer\"\n");
        QVERIFY(told({m_installation->path() + QStringLiteral("none.rqn")}).contains("none.rqn"));
        QVERIFY(told({QStringLiteral("--rows"), file}).contains("least (a whole number"));
        QVERIFY(told({QStringLiteral("--rows"), QStringLiteral("--param"), QStringLiteral("leest=1"), file})
                    .contains("no parameter \"leest\""));
        QVERIFY(told({QStringLiteral("--rows"), QStringLiteral("--param"), QStringLiteral("least=x"), file}).contains("cannot be \"x\""));
        QVERIFY(told({query("SELECT id FROM e")}).contains("say --output"));
        QVERIFY(told({QStringLiteral("--rows"), query("SELECT id\nFROM nosuch")}).contains("line 2, column 6: no such table: nosuch"));
        QVERIFY(told({QStringLiteral("--rows"), query("DELETE FROM e")}).contains("may only read"));
        QVERIFY(told({QStringLiteral("--rows"),
                      m_installation->write(QStringLiteral("Packages/Server/Query Groups/Tests/bad.rqn"), "sql = '''SELECT")})
                    .contains("bad.rqn"));
        QVERIFY(told({QStringLiteral("--output"), m_installation->path() + QStringLiteral("no/x.pdf"), query("SELECT id FROM e")})
                    .contains("There is no folder"));
        const QString plain = m_installation->write(QStringLiteral("Reports/plain"), "x");
        QVERIFY(told({QStringLiteral("--output"), plain + QStringLiteral("/x.pdf"), query("SELECT id FROM e")}).contains("plain"));
        QCOMPARE(reports(), QStringList{QStringLiteral("plain")});
    }

    void a_report_never_takes_the_place_of_what_it_is_made_from()
    {
        const QString file = query("SELECT id FROM e");
        QFile::link(database(), m_installation->path() + QStringLiteral("x.csv"));
        const QString settings = m_installation->write(QStringLiteral("Config/Email.cfg"), "format = 1\n");
        for (const QString &target : {file, database(), m_installation->path() + QStringLiteral("x.csv"), settings,
                                      m_installation->path() + QStringLiteral("Packages.ini")}) {
            const QByteArray before = m_installation->read(target);
            const Outcome outcome = runTool({QStringLiteral("--output"), target, file});
            QCOMPARE(outcome.exitCode, 1);
            QVERIFY2(outcome.err.contains("cannot replace " + target.toUtf8()), outcome.err.constData());
            QCOMPARE(m_installation->read(target), before);
        }
    }

    void what_cannot_be_printed_is_a_failure()
    {
        QCOMPARE(runTool({QStringLiteral("--rows"), query("SELECT id FROM e")}).exitCode, 0);
        QProcess process;
        process.setStandardOutputFile(QStringLiteral("/dev/full"));
        process.start(program(), {QStringLiteral("--history")});
        const Outcome outcome = finish(process);
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.err.contains("Standard output"), outcome.err.constData());
    }

    void reports_go_where_they_are_sent()
    {
        const QString file =
            query("SELECT id, at FROM e WHERE at >= :date_from AND at < :date_to", "[output]\ntype = \"file\"\nformat = \"html\"\n");
        const Outcome rows = runTool({QStringLiteral("--rows"), QStringLiteral("--all-time"), file});
        QCOMPARE(rows.out, QByteArray("2\n"));
        QCOMPARE(rows.err, QByteArray());
        QCOMPARE(reports(), QStringList());
        QCOMPARE(runTool({QStringLiteral("--rows"), QStringLiteral("--from"), QStringLiteral("2026-01-15"), QStringLiteral("--to"),
                          QStringLiteral("2026-02-01"), file})
                     .out,
                 QByteArray("1\n"));
        const Outcome named = runTool({QStringLiteral("--all-time"), file});
        QCOMPARE(named.exitCode, 0);
        QCOMPARE(reports().size(), 1);
        QVERIFY(named.out.endsWith(reports().first().toUtf8() + '\n') && reports().first().startsWith(QStringLiteral("My query 2")));
        runTool({QStringLiteral("--all-time"), QStringLiteral("--format"), QStringLiteral("csv"), file});
        QCOMPARE(reports().filter(QStringLiteral(".csv")).size(), 1);
        const QString exact = m_installation->path() + QStringLiteral("exact.csv");
        const Outcome both = runTool({QStringLiteral("--rows"), QStringLiteral("--all-time"), QStringLiteral("-o"), exact, file});
        QCOMPARE(both.out, QByteArray("2\n"));
        QVERIFY(m_installation->read(exact).startsWith("id,at\r\n1,2026-01-01"));
        const Outcome history = runTool({QStringLiteral("--history")});
        QVERIFY2(history.out.count('\n') == 5, history.err.constData());
        QVERIFY2(history.out.contains("command line") && history.out.contains("exact.csv"), history.out.constData());
        QVERIFY(runTool({QStringLiteral("--help")}).out.contains("--all-time"));
    }

    /// No registered installation: one that lies around the query file is found, and a query outside works on a database that is named.
    void a_query_is_run_without_a_registered_installation()
    {
        const QString inside = query("SELECT id FROM e");
        m_installation->removeRegistryEntry();
        QCOMPARE(runTool({QStringLiteral("--rows"), inside}).out, QByteArray("2\n"));
        const QTemporaryDir elsewhere;
        const QString outside = elsewhere.filePath(QStringLiteral("q.rqn"));
        QVERIFY(QFile::copy(inside, outside));
        QCOMPARE(runTool({QStringLiteral("--rows"), outside}).exitCode, 1);
        QCOMPARE(runTool({QStringLiteral("--rows"), QStringLiteral("--database"), database(), outside}).out, QByteArray("2\n"));
        const Outcome pattern =
            runTool({QStringLiteral("--format"), QStringLiteral("csv"), QStringLiteral("--database"), database(), outside});
        QVERIFY2(pattern.err.contains("--output FILE"), pattern.err.constData());
        QCOMPARE(QDir(elsewhere.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("q.rqn")});
    }

    void an_interrupt_cancels_and_leaves_no_file_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl+C") << SIGINT;
        QTest::newRow("termination") << SIGTERM;
    }
    void an_interrupt_cancels_and_leaves_no_file()
    {
        QFETCH(int, signal);
        const QString endless = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n",
                                      "[output]\ntype = \"file\"\nformat = \"csv\"\n");
        QProcess process;
        process.start(program(), {endless});
        QTRY_VERIFY(isRunning());
        kill(static_cast<pid_t>(process.processId()), signal);
        const Outcome outcome = finish(process);
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.err.contains("cancelled"), outcome.err.constData());
        QCOMPARE(reports(), QStringList());
        QCOMPARE(qm::RunLedger(m_installation->path()).list(1).front().status, QStringLiteral("cancelled"));
    }

    void a_killed_run_is_marked_by_the_next()
    {
        const QString endless = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n");
        QProcess process;
        process.start(program(), {QStringLiteral("--rows"), endless});
        QTRY_VERIFY(isRunning());
        QCOMPARE(runTool({QStringLiteral("--rows"), query("SELECT 1")}).out, QByteArray("1\n"));
        QCOMPARE(qm::RunLedger(m_installation->path()).list().back().status, QStringLiteral("running")); // it lives
        process.kill();
        finish(process);
        QCOMPARE(runTool({QStringLiteral("--rows"), query("SELECT 1")}).out, QByteArray("1\n"));
        QCOMPARE(qm::RunLedger(m_installation->path()).list().back().status, QStringLiteral("interrupted"));
    }
};

QTEST_GUILESS_MAIN(ReportToolTest)
#include "report_tool_test.moc"
