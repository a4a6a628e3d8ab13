#include "app/RunJournal.h"
#include "app/WholeProgram.h"
#include "platform/ApplicationLog.h"
#include "support/System.h"
#include "support/ToolRun.h"

#include <QLabel>
#include <QPushButton>

#include <sqlite3.h>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

constexpr char kFileQuery[] =
    "description = \"%1\"\nsql = '''SELECT n FROM numbers ORDER BY n'''\n[output]\ntype = \"file\"\nformat = \"csv\"\n"
    "file = \"%1.{format}\"\n";

void makeDatabase(const QString &path)
{
    sqlite3 *connection = nullptr;
    QCOMPARE(sqlite3_open(path.toUtf8().constData(), &connection), SQLITE_OK);
    QCOMPARE(
        sqlite3_exec(connection, "CREATE TABLE numbers(n INTEGER); INSERT INTO numbers VALUES (1), (2), (3)", nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(connection);
}

} // namespace

/// Three scheduled reports seconds apart on the real clock: one runs once, one daily, one lost its query file.
class DayInTheLifeTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void without_a_display_the_program_says_so()
    {
        if (onWindows())
            QSKIP("a session of this system always has a display");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        environment.insert(u"DISPLAY"_s, u":no"_s);
        const ToolResult ended = runTool("quillmark", {}, {}, environment);
        QCOMPARE(ended.code, 1);
        QVERIFY2(ended.err.contains(u"There is no display"_s), qPrintable(ended.err));
    }

    void files_table_job_file_and_ledger_agree_at_the_end_of_the_day()
    {
        const TempInstallation installation({serverPackage()});
        makeDatabase(installation.packagePath(u"Server"_s) + u"EventLog.db"_s);
        const QString group = installation.group(u"Server"_s, u"Daily"_s);
        const auto query = [&](const QString &name) { return group + kSep + name + u".rqn"_s; };
        for (const QString &name : {u"once"_s, u"every day"_s})
            installation.write(query(name), QString::fromLatin1(kFileQuery).arg(name).toUtf8());

        SystemClock clock;
        const WallTime now = clock.wallNow();
        const WallTime dueOnce = secondsFrom(now, 5), dueDaily = secondsFrom(now, 7), dueLost = secondsFrom(now, 9);
        auto jobs = std::make_shared<JobCollection>();
        const auto add = [&](int id, const QString &name, const WallTime &when, int frequencyCode) {
            jobs->push_back(std::make_shared<ScheduledReportJob>(ScheduledReportJob{name, query(name), when, frequencyCode, id}));
        };
        add(1, u"once"_s, dueOnce, 0);
        add(2, u"every day"_s, dueDaily, 1);
        add(3, u"lost"_s, dueLost, 1);
        const QString jobFile = installation.path() + u"Config"_s + kSep + u"Jobs.cfg"_s;
        TomlJobConfigReader().SaveJobs(jobs, jobFile);

        WholeProgram program(installation);
        program.window->Form_Load();
        program.window->show();
        JobTable &table = program.window->schedule().table();
        QCOMPARE(table.rows(), 3);
        QTRY_COMPARE_WITH_TIMEOUT(table.rows(), 2, 30'000);
        QTRY_VERIFY_WITH_TIMEOUT(!program.prompts.shown.empty(), 30'000);
        QTest::qWait(300);

        // The one box is about the lost file; it came when that job had become the earliest.
        QCOMPARE(program.prompts.shown.size(), std::size_t{1});
        QCOMPARE(program.prompts.shown[0].text, u"The query file for the scheduled Report Job is either missing or corrupt."_s);

        // Files: each report once.
        for (const QString &name : {u"once"_s, u"every day"_s}) {
            const QByteArray csv = installation.read(u"Reports/"_s + name + u".csv"_s);
            QCOMPARE(csv.trimmed().split('\n').size(), 4);
        }
        QCOMPARE(QDir(installation.path() + u"Reports"_s).entryList(QDir::Files).size(), 2);

        // Job file: the Single has gone, the others have moved to tomorrow at their own time.
        const auto saved = TomlJobConfigReader().LoadJobs(jobFile);
        QCOMPARE(saved->size(), std::size_t{2});
        QVERIFY(saved->at(0)->DateTime == (WallTime{dueDaily.date.addDays(1), dueDaily.secondOfDay}));
        QVERIFY(saved->at(1)->DateTime == (WallTime{dueLost.date.addDays(1), dueLost.secondOfDay}));

        // Table: the daily report's row has followed; the lost one's still shows the date it missed, and is marked.
        QVERIFY(table.nextRun(0) == saved->at(0)->DateTime);
        QVERIFY(table.nextRun(1) == dueLost);
        QVERIFY(table.index(1, JobTable::QueryFile).data(Qt::ForegroundRole).isValid());
        QVERIFY(program.window->schedule().dtblScheduleTable().isVisible());

        // Ledger, newest first: not run, done, done, each started by the schedule.
        const std::vector<LedgerEntry> runs = RunLedger(installation.path()).list();
        QCOMPARE(runs.size(), std::size_t{3});
        QCOMPARE(runs[0].status, RunStatus::NotRun);
        for (const LedgerEntry &run : runs)
            QCOMPARE(run.trigger, RunTrigger::Schedule);
        for (const std::size_t i : {std::size_t{1}, std::size_t{2}}) {
            QCOMPARE(runs[i].status, RunStatus::Done);
            QCOMPARE(runs[i].rows, 3);
        }
        const QByteArray logText = installation.read(u"Logs/quillmark.log"_s);
        QVERIFY(logText.contains("was not run: query file missing"));
        // The schedule stands still by then, and says so.
        const auto *notice = program.window->findChild<QLabel *>(u"scheduleNotice"_s);
        QVERIFY(notice->isVisible() && notice->text().contains(u"lost.rqn"_s));
    }

    void a_long_scheduled_report_is_seen_and_ends_only_with_its_cancel_or_the_program()
    {
        const TempInstallation installation({serverPackage()});
        makeDatabase(installation.packagePath(u"Server"_s) + u"EventLog.db"_s);
        const QString group = installation.group(u"Server"_s, u"Daily"_s);
        const auto query = [&](const QString &name) { return group + kSep + name + u".rqn"_s; };
        installation.write(query(u"endless"_s),
                           QByteArray(kFileQuery)
                               .replace("%1", "Endless & more")
                               .replace("SELECT n FROM numbers ORDER BY n",
                                        "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n"));
        installation.write(query(u"short"_s), QByteArray(kFileQuery).replace("%1", "short"));
        const QString jobFile = installation.path() + u"Config"_s + kSep + u"Jobs.cfg"_s;
        auto jobs = std::make_shared<JobCollection>();
        int id = 0;
        for (const QString &name : {u"endless"_s, u"endless"_s, u"short"_s}) {
            ++id;
            jobs->push_back(std::make_shared<ScheduledReportJob>(ScheduledReportJob{name, query(name), {{2026, 1, 1}, id}, 0, id}));
        }
        TomlJobConfigReader().SaveJobs(jobs, jobFile);
        const auto statuses = [&] {
            QStringList all;
            for (const LedgerEntry &run : RunLedger(installation.path()).list())
                all.prepend(runWord(run.status));
            return all.join(u' ');
        };
        {
            WholeProgram program(installation);
            program.window->Form_Load(); // returns although a report is being made
            program.window->show();
            const auto *made = program.window->findChild<QLabel *>(u"scheduledRun"_s);
            QTRY_VERIFY(made->isVisible() && made->text().contains(u"rows so far"_s));
            QVERIFY2(made->text().startsWith(u"Making 'Endless & more': "_s), qPrintable(made->text()));
            QVERIFY(!program.window->findChild<QLabel *>(u"NextSchReport"_s)->isVisible());
            // Other windows come and go.
            program.window->commands().sstbrReportsMenuToolbar_ToolClick(u"ID_AboutQuillmarkReportsMenu"_s);
            auto *about = program.window->findChild<QWidget *>(u"frmAbout"_s);
            QVERIFY(about && about->isVisible());
            about->close();
            QVERIFY(!program.window->commands().tool(u"ID_Generate"_s)->isEnabled());
            QTest::qWait(300);
            QCOMPARE(statuses(), u"running"_s);
            program.window->close();
            QTRY_VERIFY(!program.window->isVisible());
            QCOMPARE(statuses(), u"cancelled"_s);
        }
        QCOMPARE(TomlJobConfigReader().LoadJobs(jobFile)->size(), std::size_t{2});

        WholeProgram program(installation);
        program.window->Form_Load();
        program.window->show();
        auto *cancel = program.window->findChild<QPushButton *>(u"cmdCancelScheduledRun"_s);
        QTRY_COMPARE(cancel->text(), u"Cancel 'Endless && more'"_s);
        QTest::mouseClick(cancel, Qt::LeftButton);
        QTRY_COMPARE(statuses(), u"cancelled cancelled done"_s);
        QTRY_COMPARE(program.window->findChild<QLabel *>(u"NextSchReport"_s)->text(), u"No Reports Scheduled"_s);
        QVERIFY(!cancel->isVisible());
        QVERIFY(program.prompts.shown.empty());

        // What is refused before it begins leaves its trace too; the last query of the schedule is the current one.
        QFile::remove(query(u"short"_s));
        for (const QString &identifier : {u"QuillmarkReports.ServerLogs"_s, u"Nobody.Knows"_s})
            program.window->reportRunner().RunReport(identifier, true);
        QCOMPARE(program.prompts.shown.size(), std::size_t{2});
        QCOMPARE(statuses(), u"cancelled cancelled done not run not run"_s);
        QCOMPARE(installation.read(u"Logs/quillmark.log"_s).count("short.rqn was not begun: "), 2);

        // So does a report that a plug-in fails to make.
        const QString plugin = installation.path() + u"Components/"_s + QFileInfo(QStringLiteral(SAMPLE_COMPONENTS)).fileName();
        QVERIFY(QDir().mkpath(QFileInfo(plugin).path()) && QFile::copy(QStringLiteral(SAMPLE_COMPONENTS), plugin));
        program.window->reportRunner().RunReport(u"Contoso.MailReports"_s, true);
        QCOMPARE(statuses(), u"cancelled cancelled done not run not run failed"_s);
        const LedgerEntry foreign = RunLedger(installation.path()).list(1).front();
        QVERIFY(foreign.trigger == RunTrigger::Operator && foreign.queryFile == query(u"short"_s) && !foreign.endedUtc.isEmpty());
        QVERIFY2(foreign.note.contains(u"Contoso.MailReports"_s) && foreign.error.contains(u"short.rqn"_s), qPrintable(foreign.error));
    }

    void the_journal_says_when_a_late_report_was_due_and_which_times_are_left_out()
    {
        const TempInstallation installation({serverPackage()});
        const SystemClock clock;
        ApplicationLog log(installation.path(), u"quillmark"_s);
        RunJournal(log, clock, installation.path())
            .skippedRuns({u"late"_s, u"late.rqn"_s, {{2026, 11, 18}, 36'000}, 1, 1}, {{2026, 11, 21}, 32'400}, 3);
        const QString said =
            u"due 11/18/2026 10:00:00, ran 11/21/2026 09:00:00; its next 3 times, up to the end of that day, are left out"_s;
        const std::vector<LedgerEntry> runs = RunLedger(installation.path()).list();
        QCOMPARE(runs.size(), std::size_t{1});
        QVERIFY2((runs[0].error + runs[0].note).contains(said), qPrintable(runs[0].error + runs[0].note));
        QVERIFY(installation.read(u"Logs/quillmark.log"_s).contains(said.toUtf8()));
    }
};

QTEST_MAIN(DayInTheLifeTest)
#include "day_in_the_life_test.moc"
