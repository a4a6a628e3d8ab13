#include "app/WholeProgram.h"

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
        QCOMPARE(runs[0].status, u"not run"_s);
        for (const LedgerEntry &run : runs)
            QCOMPARE(run.trigger, u"schedule"_s);
        for (const std::size_t i : {std::size_t{1}, std::size_t{2}}) {
            QCOMPARE(runs[i].status, u"done"_s);
            QCOMPARE(runs[i].rows, 3);
        }
        const QByteArray logText = installation.read(u"Logs/quillmark.log"_s);
        QVERIFY(logText.contains("was not run: query file missing"));
    }
};

QTEST_MAIN(DayInTheLifeTest)
#include "day_in_the_life_test.moc"
