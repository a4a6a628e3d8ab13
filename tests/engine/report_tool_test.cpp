#include "core/RuntimeError.h"
#include "engine/run/RunLedger.h"
#include "support/HostProgram.h"
#include "support/System.h"
#include "support/TempInstallation.h"
#include "support/ToolRun.h"

#include <csignal>

using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

constexpr int kTimeoutMs = 30'000;

ToolResult run(const QStringList &arguments)
{
    return runTool("quillmark-report", arguments);
}

} // namespace

/// quillmark-report as a script calls it.
class ReportToolTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TempInstallation> m_installation;

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
            return !all.empty() && all.front().status == qm::RunStatus::Running;
        } catch (const qm::RuntimeError &error) { // the other process is about to make it
            if (!onWindows())
                throw;
            qWarning("%s", error.what());
            return false;
        }
    }

private Q_SLOTS:
    void init()
    {
        m_installation.reset(); // the environment it set must be back before the next one changes it
        m_installation = std::make_unique<TempInstallation>();
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
        QTest::addColumn<QString>("said");
        const auto row = [](const char *arguments, const char *said) {
            QTest::newRow(arguments[0] ? arguments : "nothing")
                << QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts) << QString::fromLatin1(said);
        };
        row("", "No query file");
        row("a.rqn b.rqn", "More than one");
        row("--nosuch a.rqn", "nosuch");
        row("--format docx a.rqn", "Choose pdf, html, xlsx or csv");
        row("--format", "--format");
        row("--param account a.rqn", "NAME=VALUE");
        row("--param a=1 --param a=2 a.rqn", "given twice");
        row("--from 2026-02-30 a.rqn", "YYYY-MM-DD");
        row("--from 2026-02-02 --to 2026-02-01 a.rqn", "--from lies after --to");
        row("--all-time --to 2026-02-01 a.rqn", "exclude each other");
        row("--output= a.rqn", "needs a value");
    }
    void wrong_usage_is_told_with_status_2()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, said);
        const ToolResult outcome = run(arguments);
        QCOMPARE(outcome.code, 2);
        QVERIFY2(outcome.err.contains(said) && outcome.err.contains(u"--help"_s) && outcome.out.isEmpty(), qPrintable(outcome.err));
    }

    void failures_say_what_and_where_with_status_1()
    {
        const auto told = [&](const QStringList &arguments) {
            const ToolResult outcome = run(arguments);
            return outcome.code == 1 && outcome.out.isEmpty() ? outcome.err : u"wrong status or output"_s;
        };
        QVERIFY(told({m_installation->path() + u"none.rqn"_s}).contains(u"none.rqn"_s));
        QVERIFY(told({u"--rows"_s, query("SELECT id\nFROM nosuch")}).contains(u"line 2, column 6: no such table: nosuch"_s));
        QCOMPARE(reports(), QStringList());
    }

    void a_report_never_takes_the_place_of_what_it_is_made_from()
    {
        const QString file = query("SELECT id FROM e");
        const QString settings = m_installation->write(u"Config/Email.cfg"_s, "format = 1\n");
        // What stands beside a database holds rows of it, that of another package too.
        const QString beside = m_installation->write(m_installation->packagePath(u"Mail"_s) + u"EventLog.db-wal"_s, "rows");
        QStringList targets{file, database(), settings, m_installation->path() + u"Packages.ini"_s, beside};
        if (!onWindows()) { // where links are an administrator's
            targets << m_installation->path() + u"x.csv"_s;
            QVERIFY(QFile::link(database(), targets.last()));
        }
        for (const QString &target : targets) {
            const QByteArray before = m_installation->read(target);
            const ToolResult outcome = run({u"--output"_s, target, file});
            QCOMPARE(outcome.code, 1);
            QVERIFY2(outcome.err.contains(u"cannot replace "_s + target), qPrintable(outcome.err));
            QCOMPARE(m_installation->read(target), before);
        }
        const QTemporaryDir elsewhere;
        const QString copy = elsewhere.filePath(u"copy.db"_s);
        QVERIFY(QFile::copy(database(), copy));
        for (const char *part : {"", "-wal", "-shm", "-journal"}) {
            const QString target = QDir::toNativeSeparators(copy + QLatin1String(part));
            if (*part)
                m_installation->write(target, "rows");
            QVERIFY(run({u"--database"_s, copy, u"--output"_s, target, file}).err.contains(u"it is made from that file"_s));
        }
    }

    void what_cannot_be_printed_is_a_failure()
    {
        QCOMPARE(run({u"--rows"_s, query("SELECT id FROM e")}).code, 0);
        if (onWindows())
            QSKIP("there is no device that is always full");
        QProcess process;
        process.setStandardOutputFile(u"/dev/full"_s);
        process.start(toolPath("quillmark-report"), {u"--history"_s});
        const ToolResult outcome = finished(process);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(u"Standard output"_s), qPrintable(outcome.err));
    }

    void reports_go_where_they_are_sent()
    {
        const QString file =
            query("SELECT id, at FROM e WHERE at >= :date_from AND at < :date_to", "[output]\ntype = \"file\"\nformat = \"html\"\n");
        const ToolResult rows = run({u"--rows"_s, u"--all-time"_s, file});
        QCOMPARE(rows.out, u"2\n"_s);
        QCOMPARE(rows.err, QString());
        QCOMPARE(reports(), QStringList());
        QCOMPARE(run({u"--rows"_s, u"--from"_s, u"2026-01-15"_s, u"--to"_s, u"2026-02-01"_s, file}).out, u"1\n"_s);
        const ToolResult named = run({u"--all-time"_s, file});
        QCOMPARE(named.code, 0);
        QCOMPARE(reports().size(), 1);
        QVERIFY(named.out.endsWith(reports().first() + u'\n') && reports().first().startsWith(u"My query 2"_s));
        run({u"--all-time"_s, u"--format"_s, u"csv"_s, file});
        QCOMPARE(reports().filter(u".csv"_s).size(), 1);
        const QString exact = m_installation->path() + u"exact.csv"_s;
        const ToolResult both = run({u"--rows"_s, u"--all-time"_s, u"-o"_s, exact, file});
        QCOMPARE(both.out, u"2\n"_s);
        QVERIFY(m_installation->read(exact).startsWith("id,at\r\n1,2026-01-01"));
        const ToolResult history = run({u"--history"_s});
        QVERIFY2(history.out.count(u'\n') == 5, qPrintable(history.err));
        QVERIFY2(history.out.contains(u"command line"_s) && history.out.contains(u"exact.csv"_s), qPrintable(history.out));
        QVERIFY(run({u"--help"_s}).out.contains(u"--all-time"_s));
    }

    /// No registered installation: one that lies around the query file is found, and a query outside works on a database that is named.
    void a_query_is_run_without_a_registered_installation()
    {
        const QString inside = query("SELECT id FROM e");
        m_installation->removeRegistryEntry();
        QCOMPARE(run({u"--rows"_s, inside}).out, u"2\n"_s);
        const QTemporaryDir elsewhere;
        const QString outside = elsewhere.filePath(u"q.rqn"_s);
        QVERIFY(QFile::copy(inside, outside));
        QCOMPARE(run({u"--rows"_s, outside}).code, 1);
        QCOMPARE(run({u"--rows"_s, u"--database"_s, database(), outside}).out, u"2\n"_s);
        const ToolResult pattern = run({u"--format"_s, u"csv"_s, u"--database"_s, database(), outside});
        QVERIFY2(pattern.err.contains(u"--output FILE"_s), qPrintable(pattern.err));
        QCOMPARE(QDir(elsewhere.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{u"q.rqn"_s});
    }

    /// Whoever can put a "Packages.ini" above a query would choose mail server, log and data.
    void an_installation_that_others_could_have_made_is_not_used()
    {
        if (onWindows())
            QSKIP("rights of files are another matter there");
        const QString inside = query("SELECT id FROM e");
        const auto open = [&](bool toAll) {
            const auto rights = QFile::permissions(m_installation->path());
            return QFile::setPermissions(m_installation->path(), toAll ? rights | QFile::WriteOther : rights & ~QFile::WriteOther);
        };
        QVERIFY(open(true));
        QCOMPARE(run({u"--rows"_s, inside}).out, u"2\n"_s); // the registered one
        m_installation->removeRegistryEntry();
        const ToolResult refused = run({u"--rows"_s, inside});
        QCOMPARE(refused.code, 1);
        QVERIFY2(refused.err.contains(m_installation->path() + u" is not used as an installation"_s), qPrintable(refused.err));
        QVERIFY(open(false));
        QCOMPARE(run({u"--rows"_s, inside}).out, u"2\n"_s);
    }

    void history_is_bounded_and_cannot_steer_the_terminal()
    {
        qm::RunLedger ledger(m_installation->path());
        qm::LedgerEntry entry;
        entry.description = u"\u001b]0;owned\u0007 \u009b31m \u202Etxt"_s;
        entry.error = u"broken\u001b[2J"_s;
        entry.status = qm::RunStatus::Failed;
        ledger.finish(entry);
        const ToolResult shown = run({u"--history"_s});
        QVERIFY2(shown.out.contains(u"\\u001b]0;owned\\u0007 \\u009b31m \\u202etxt"_s) && shown.out.contains(u"broken\\u001b[2J"_s),
                 qPrintable(shown.out));
        QVERIFY2(run({u"no\u001b[31m.rqn"_s}).err.contains(u"no\\u001b[31m.rqn"_s), "an error's text");
        if (onWindows())
            QSKIP("the rest looks at the process from outside");
        int code = SQLITE_OK;
        const auto connection = qm::sqlite::open(ledger.path(), SQLITE_OPEN_READWRITE, code);
        QCOMPARE(qm::sqlite::execute(
                     connection.get(),
                     "WITH RECURSIVE n(i) AS (SELECT 3 UNION ALL SELECT i+1 FROM n WHERE i < 300000) INSERT INTO run SELECT i, "
                     "query_file, description, package, \"trigger\", period, output_type, format, output_file, started_utc, "
                     "ended_utc, rows, bytes, sha256, status, error, note, host, pid, process_start FROM run, n WHERE run.id = 1"),
                 SQLITE_OK);
        QProcess process;
        process.start(toolPath("quillmark-report"), {u"--history"_s});
        process.setReadChannel(QProcess::StandardOutput);
        qint64 lines = 0;
        QByteArray peak;
        while (process.waitForReadyRead(kTimeoutMs)) {
            lines += process.readAllStandardOutput().count('\n');
            if (lines > 290'000 && peak.isEmpty())
                peak = readFile(u"/proc/%1/status"_s.arg(process.processId()));
        }
        QCOMPARE(lines, 300'000);
        const QRegularExpressionMatch most = QRegularExpression(u"VmHWM:\\s+(\\d+) kB"_s).match(QString::fromLatin1(peak));
#ifndef __SANITIZE_ADDRESS__ // it keeps what was freed
        QVERIFY2(most.hasMatch() && most.captured(1).toInt() < 150'000, qPrintable(most.captured(1)));
#endif
    }

    void what_is_no_file_or_no_name_ends_the_run_with_a_word()
    {
        if (onWindows())
            QSKIP("no pipes among files, and no bytes in arguments");
        const QString file = query("SELECT id FROM e"), pipe = m_installation->path() + u"pipe"_s;
        const auto shell = [&](const QString &command) {
            QProcess process;
            process.start(u"/bin/sh"_s, {u"-c"_s, command, u"sh"_s, toolPath("quillmark-report"), file, pipe});
            return finished(process);
        };
        // A name that is no text would be written under another one.
        const ToolResult bytes = shell(u"exec \"$1\" --output \"$(printf 'a\\377.csv')\" \"$2\""_s);
        QCOMPARE(bytes.code, 2);
        QVERIFY2(bytes.err.contains(u"no valid UTF-8"_s), qPrintable(bytes.err));
        // The system's limit for a file is a failed write, not the end of the program.
        const QString large = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 300000) SELECT i FROM n");
        const ToolResult limited = shell(u"ulimit -f 1000; exec \"$1\" --output \"$3.csv\" \"$2\""_s);
        QCOMPARE(limited.code, 1);
        QVERIFY2(limited.err.contains(u"File too large"_s), qPrintable(limited.err));
        // A pipe that nobody reads, in place of the ledger and as the output.
        static_cast<void>(query("SELECT id FROM e"));
        const QString ledger = qm::RunLedger(m_installation->path()).path();
        QVERIFY(QFile::remove(ledger) && !outputOf(u"mkfifo"_s, {ledger}).isNull() && !outputOf(u"mkfifo"_s, {pipe}).isNull());
        const ToolResult made = run({u"--rows"_s, file});
        QCOMPARE(made.out, u"2\n"_s);
        QVERIFY2(made.err.contains(u"RunLedger.db could not be written: "_s) && made.err.contains(u"it is not a file"_s),
                 qPrintable(made.err));
        QVERIFY2(run({u"--history"_s}).err.contains(u"it is not a file"_s), "the history");
        QProcess process;
        process.start(toolPath("quillmark-report"), {u"--output"_s, pipe, file});
        QTest::qWait(500);
        QVERIFY(interrupt(process, SIGTERM));
        QTest::qWait(1500);
        QVERIFY(interrupt(process, SIGTERM));
        QVERIFY2(process.waitForFinished(5000) && process.exitCode() == 1, "it heeds the second signal at the latest");
        // With a reader it arrives.
        const ToolResult read = shell(u"cat \"$3\" & \"$1\" --format csv --output \"$3\" \"$2\" >/dev/null; wait"_s);
        QCOMPARE(read.out, u"id\n1\n2\n"_s);
    }

    void an_interrupt_cancels_and_leaves_no_file()
    {
        const QString endless = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n",
                                      "[output]\ntype = \"file\"\nformat = \"csv\"\n");
        QProcess process;
        process.start(toolPath("quillmark-report"), {endless});
        QTRY_VERIFY_WITH_TIMEOUT(isRunning(), kTimeoutMs);
        if (!interrupt(process, SIGTERM)) {
            process.kill();
            process.waitForFinished();
            QSKIP("a program without a console cannot be interrupted on Windows");
        }
        static_cast<void>(interrupt(process, SIGTERM)); // as by who signals the process and then its group
        const ToolResult outcome = finished(process);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(u"cancelled"_s), qPrintable(outcome.err));
        QCOMPARE(reports(), QStringList());
        QCOMPARE(qm::RunLedger(m_installation->path()).list(1).front().status, qm::RunStatus::Cancelled);
    }

    void a_killed_run_is_marked_by_the_next_and_what_it_left_elsewhere_is_swept()
    {
        const QString endless = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n");
        const QTemporaryDir elsewhere;
        const auto put = [&](const QString &name, const QDateTime &changed) {
            QFile file(elsewhere.filePath(name));
            QVERIFY(QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly));
            QVERIFY(file.setFileTime(changed, QFileDevice::FileModificationTime));
        };
        const auto there = [&] { return QDir(elsewhere.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); };
        QProcess process;
        process.start(toolPath("quillmark-report"), {u"--format"_s, u"csv"_s, u"--output"_s, elsewhere.filePath(u"r.csv"_s), endless});
        QTRY_VERIFY_WITH_TIMEOUT(isRunning(), kTimeoutMs);
        QCOMPARE(run({u"--rows"_s, query("SELECT 1")}).out, u"1\n"_s);
        QCOMPARE(qm::RunLedger(m_installation->path()).list().back().status, qm::RunStatus::Running); // it lives
        process.kill();
        static_cast<void>(finished(process));
        for (const QString &own : there()) // where its file has a name
            QVERIFY(QFile::remove(elsewhere.filePath(own)));
        // As where a file system knows no files without a name. What has just been written may still be somebody's.
        put(u".quillmark-left.tmp"_s, QDateTime::currentDateTime());
        QCOMPARE(run({u"--rows"_s, query("SELECT 1")}).out, u"1\n"_s);
        QCOMPARE(qm::RunLedger(m_installation->path()).list().back().status, qm::RunStatus::Interrupted);
        QCOMPARE(there(), QStringList(u".quillmark-left.tmp"_s));

        // The run's time is put back so that it is long gone.
        {
            int code = SQLITE_OK;
            const auto ledger = qm::sqlite::open(m_installation->path() + u"Logs/RunLedger.db"_s, SQLITE_OPEN_READWRITE, code);
            QCOMPARE(qm::sqlite::execute(ledger.get(), "UPDATE run SET started_utc = '2026-01-02 10:00:00', "
                                                       "ended_utc = '2026-01-02 11:00:00' WHERE status = 'interrupted'"),
                     SQLITE_OK);
        }
        const QDateTime then(QDate(2026, 1, 2), QTime(10, 30), Qt::UTC);
        put(u".quillmark-left.tmp"_s, then);
        put(u".quillmark-before.tmp"_s, then.addSecs(-7200));
        put(u".quillmark-after.tmp"_s, then.addSecs(7200)); // of another program, which may live
        put(u".report.tmp"_s, then);
        put(u"below/.quillmark-left.tmp"_s, then);
        static_cast<void>(run({u"--rows"_s, query("SELECT 1")}));
        QCOMPARE(there(), QStringList({u".quillmark-after.tmp"_s, u".quillmark-before.tmp"_s, u".report.tmp"_s}));
        QVERIFY(QFile::exists(elsewhere.filePath(u"below/.quillmark-left.tmp"_s)));
        put(u".quillmark-left.tmp"_s, then);
        static_cast<void>(run({u"--rows"_s, query("SELECT 1")}));
        QVERIFY(there().contains(u".quillmark-left.tmp"_s)); // the folder was clean and is no longer looked at
    }
};

QTEST_GUILESS_MAIN(ReportToolTest)
#include "report_tool_test.moc"
