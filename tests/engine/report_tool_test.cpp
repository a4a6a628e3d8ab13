#include "core/RuntimeError.h"
#include "reporting/engine/RunLedger.h"
#include "support/System.h"
#include "support/TempInstallation.h"

#include <QtTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

constexpr int kTimeoutMs = 30'000;

struct Outcome
{
    int exitCode = -1;
    QByteArray out, err;
};

QString program()
{
    return qEnvironmentVariable("QM_BIN_DIR") + u"/quillmark-report"_s;
}

Outcome finish(QProcess &process)
{
    if (!process.waitForFinished(kTimeoutMs))
        return {-1, {}, process.errorString().toUtf8()};
    // Windows ends lines of a program's output in two characters.
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2, process.readAllStandardOutput().replace("\r\n", "\n"),
            process.readAllStandardError().replace("\r\n", "\n")};
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
        return m_installation->write(m_installation->group(u"Server"_s, u"Tests"_s) + u"/q.rqn"_s,
                                     "format = 1\ndescription = \"My query\"\nsql = '''" + sql + "'''\n" + more);
    }
    [[nodiscard]] QString database() const { return m_installation->packagePath(u"Server"_s) + u"EventLog.db"_s; }
    [[nodiscard]] QStringList reports() const
    {
        return QDir(m_installation->path() + u"Reports"_s).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    [[nodiscard]] bool isRunning() const
    {
        try {
            const auto all = qm::RunLedger(m_installation->path()).list();
            return !all.empty() && all.front().status == u"running"_s;
        } catch (const qm::RuntimeError &error) { // the other process is about to make it
            if (!qm::test::onWindows())
                throw;
            qWarning("%s", error.what());
            return false;
        }
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
        QVERIFY(told({m_installation->path() + u"none.rqn"_s}).contains("none.rqn"));
        QVERIFY(told({u"--rows"_s, file}).contains("least (a whole number"));
        QVERIFY(told({u"--rows"_s, u"--param"_s, u"leest=1"_s, file}).contains("no parameter \"leest\""));
        QVERIFY(told({u"--rows"_s, query("SELECT id\nFROM nosuch")}).contains("line 2, column 6: no such table: nosuch"));
        QVERIFY(told({u"--output"_s, m_installation->path() + u"no/x.pdf"_s, query("SELECT id FROM e")}).contains("There is no folder"));
        QCOMPARE(reports(), QStringList());
    }

    void a_report_never_takes_the_place_of_what_it_is_made_from()
    {
        const QString file = query("SELECT id FROM e");
        const QString settings = m_installation->write(u"Config/Email.cfg"_s, "format = 1\n");
        QStringList targets{file, database(), settings, m_installation->path() + u"Packages.ini"_s};
        if (!qm::test::onWindows()) { // where links are an administrator's
            targets << m_installation->path() + u"x.csv"_s;
            QVERIFY(QFile::link(database(), targets.last()));
        }
        for (const QString &target : targets) {
            const QByteArray before = m_installation->read(target);
            const Outcome outcome = runTool({u"--output"_s, target, file});
            QCOMPARE(outcome.exitCode, 1);
            QVERIFY2(outcome.err.contains("cannot replace " + target.toUtf8()), outcome.err.constData());
            QCOMPARE(m_installation->read(target), before);
        }
    }

    void what_cannot_be_printed_is_a_failure()
    {
        QCOMPARE(runTool({u"--rows"_s, query("SELECT id FROM e")}).exitCode, 0);
        if (qm::test::onWindows())
            QSKIP("there is no device that is always full");
        QProcess process;
        process.setStandardOutputFile(u"/dev/full"_s);
        process.start(program(), {u"--history"_s});
        const Outcome outcome = finish(process);
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.err.contains("Standard output"), outcome.err.constData());
    }

    void reports_go_where_they_are_sent()
    {
        const QString file =
            query("SELECT id, at FROM e WHERE at >= :date_from AND at < :date_to", "[output]\ntype = \"file\"\nformat = \"html\"\n");
        const Outcome rows = runTool({u"--rows"_s, u"--all-time"_s, file});
        QCOMPARE(rows.out, QByteArray("2\n"));
        QCOMPARE(rows.err, QByteArray());
        QCOMPARE(reports(), QStringList());
        QCOMPARE(runTool({u"--rows"_s, u"--from"_s, u"2026-01-15"_s, u"--to"_s, u"2026-02-01"_s, file}).out, QByteArray("1\n"));
        const Outcome named = runTool({u"--all-time"_s, file});
        QCOMPARE(named.exitCode, 0);
        QCOMPARE(reports().size(), 1);
        QVERIFY(named.out.endsWith(reports().first().toUtf8() + '\n') && reports().first().startsWith(u"My query 2"_s));
        runTool({u"--all-time"_s, u"--format"_s, u"csv"_s, file});
        QCOMPARE(reports().filter(u".csv"_s).size(), 1);
        const QString exact = m_installation->path() + u"exact.csv"_s;
        const Outcome both = runTool({u"--rows"_s, u"--all-time"_s, u"-o"_s, exact, file});
        QCOMPARE(both.out, QByteArray("2\n"));
        QVERIFY(m_installation->read(exact).startsWith("id,at\r\n1,2026-01-01"));
        const Outcome history = runTool({u"--history"_s});
        QVERIFY2(history.out.count('\n') == 5, history.err.constData());
        QVERIFY2(history.out.contains("command line") && history.out.contains("exact.csv"), history.out.constData());
        QVERIFY(runTool({u"--help"_s}).out.contains("--all-time"));
    }

    /// No registered installation: one that lies around the query file is found, and a query outside works on a database that is named.
    void a_query_is_run_without_a_registered_installation()
    {
        const QString inside = query("SELECT id FROM e");
        m_installation->removeRegistryEntry();
        QCOMPARE(runTool({u"--rows"_s, inside}).out, QByteArray("2\n"));
        const QTemporaryDir elsewhere;
        const QString outside = elsewhere.filePath(u"q.rqn"_s);
        QVERIFY(QFile::copy(inside, outside));
        QCOMPARE(runTool({u"--rows"_s, outside}).exitCode, 1);
        QCOMPARE(runTool({u"--rows"_s, u"--database"_s, database(), outside}).out, QByteArray("2\n"));
        const Outcome pattern = runTool({u"--format"_s, u"csv"_s, u"--database"_s, database(), outside});
        QVERIFY2(pattern.err.contains("--output FILE"), pattern.err.constData());
        QCOMPARE(QDir(elsewhere.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{u"q.rqn"_s});
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
        QTRY_VERIFY_WITH_TIMEOUT(isRunning(), kTimeoutMs);
        if (!qm::test::interrupt(process, signal)) {
            process.kill();
            process.waitForFinished();
            QSKIP("a program without a console cannot be interrupted on Windows");
        }
        const Outcome outcome = finish(process);
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.err.contains("cancelled"), outcome.err.constData());
        QCOMPARE(reports(), QStringList());
        QCOMPARE(qm::RunLedger(m_installation->path()).list(1).front().status, u"cancelled"_s);
    }

    void a_killed_run_is_marked_by_the_next()
    {
        const QString endless = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n");
        QProcess process;
        process.start(program(), {u"--rows"_s, endless});
        QTRY_VERIFY_WITH_TIMEOUT(isRunning(), kTimeoutMs);
        QCOMPARE(runTool({u"--rows"_s, query("SELECT 1")}).out, QByteArray("1\n"));
        QCOMPARE(qm::RunLedger(m_installation->path()).list().back().status, u"running"_s); // it lives
        process.kill();
        finish(process);
        QCOMPARE(runTool({u"--rows"_s, query("SELECT 1")}).out, QByteArray("1\n"));
        QCOMPARE(qm::RunLedger(m_installation->path()).list().back().status, u"interrupted"_s);
    }
};

QTEST_GUILESS_MAIN(ReportToolTest)
#include "report_tool_test.moc"
