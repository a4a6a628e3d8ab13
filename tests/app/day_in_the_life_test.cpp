#include "app/RunJournal.h"
#include "core/ErrorReporter.h"
#include "framework/ComponentRegistry.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "help/HelpFile.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "platform/Registry.h"
#include "platform/SystemDueTimer.h"
#include "reporting/engine/RunLedger.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ReportDesk.h"
#include "scheduler/ScheduleTableView.h"
#include "shell/frmMain.h"
#include "support/Fakes.h"
#include "support/TempInstallation.h"

#include <sqlite3.h>

#include <QDir>

using namespace qm;
using namespace qm::test;

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

TempPackage serverPackage()
{
    return {QStringLiteral("Server"),
            QStringLiteral("Server Operating System Logs"),
            QStringLiteral("QuillmarkReports.ServerLogs"),
            QStringLiteral("Packages/Server/"),
            QStringLiteral("QuillmarkQueryAccess.ServerLogs"),
            QStringLiteral("EventLog.db")};
}

/// The whole program but for its boxes: real window, real clock, real timer, real engine.
class Program
{
public:
    explicit Program(const TempInstallation &installation)
        : log(installation.path(), QStringLiteral("quillmark")), errors(prompts), registry(installation.path(), &log),
          engine({installation.path(), QCoreApplication::applicationDirPath() + QStringLiteral("/fonts"), clock, log}),
          journal(log, clock, installation.path()), reporting{prompts, engine, queries, layouts, packages,
                                                              clock,   log,    desk,    {},      [this] { return globals.gstrInstallPath; },
                                                              {},      {}}
    {
        registry.registerReportInterface(QString::fromLatin1(kReportInterfaceFamily),
                                         [this](const QString &) { return makePackageReportInterface(reporting); });
        window = std::make_unique<frmMain>(MainWindowServices{.globals = globals,
                                                              .errors = errors,
                                                              .prompts = prompts,
                                                              .clock = clock,
                                                              .components = registry,
                                                              .help = help,
                                                              .journal = journal,
                                                              .jobReader = jobReader,
                                                              .readers = {[] { return std::make_unique<IniPackageConfigReader>(); },
                                                                          [] { return std::make_unique<TomlJobConfigReader>(); },
                                                                          [] { return std::make_unique<TomlEmailConfigReader>(); },
                                                                          [] { return std::make_shared<TomlDataSourceFileReader>(); }},
                                                              .makeQueryReader = [] { return std::make_unique<TomlQueryReader>(); },
                                                              .getInstallPath = [] { return GetInstallPath(); },
                                                              .makeDueTimer = [] { return std::make_unique<SystemDueTimer>(); },
                                                              .isProducingRows = [this] { return desk.isProducingRows(); },
                                                              .closeViewers = [this] { desk.closeViewers(); },
                                                              .endProgram = [] {},
                                                              .stateFile = {}});
    }

    ApplicationLog log;
    Globals globals;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    SystemClock clock;
    ComponentRegistry registry;
    ReportEngine engine;
    ReportDesk desk;
    HelpFile help;
    RunJournal journal;
    TomlJobConfigReader jobReader;
    TomlQueryAccess queries;
    TomlLayoutReader layouts;
    IniPackageConfigReader packages;
    ReportingUiServices reporting;
    std::unique_ptr<frmMain> window;
};

WallTime secondsFrom(const WallTime &start, int seconds)
{
    const int total = start.secondOfDay + seconds;
    return {start.date.addDays(total / 86400), total % 86400};
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
        makeDatabase(installation.packagePath(QStringLiteral("Server")) + QStringLiteral("EventLog.db"));
        const QString group = installation.group(QStringLiteral("Server"), QStringLiteral("Daily"));
        const auto query = [&](const QString &name) { return group + kSep + name + QStringLiteral(".rqn"); };
        for (const QString &name : {QStringLiteral("once"), QStringLiteral("every day")})
            installation.write(query(name), QString::fromLatin1(kFileQuery).arg(name).toUtf8());

        SystemClock clock;
        const WallTime now = clock.wallNow();
        const WallTime dueOnce = secondsFrom(now, 3), dueDaily = secondsFrom(now, 5), dueLost = secondsFrom(now, 7);
        auto jobs = std::make_shared<JobCollection>();
        const auto add = [&](int id, const QString &name, const WallTime &when, int frequencyCode) {
            jobs->push_back(std::make_shared<ScheduledReportJob>(ScheduledReportJob{name, query(name), when, frequencyCode, id}));
        };
        add(1, QStringLiteral("once"), dueOnce, 0);
        add(2, QStringLiteral("every day"), dueDaily, 1);
        add(3, QStringLiteral("lost"), dueLost, 1);
        const QString jobFile = installation.path() + QStringLiteral("Config") + kSep + QStringLiteral("Jobs.cfg");
        TomlJobConfigReader().SaveJobs(jobs, jobFile);

        Program program(installation);
        program.window->Form_Load();
        program.window->show();
        JobTable &table = program.window->schedule().table();
        QCOMPARE(table.rows(), 3);
        QTRY_COMPARE_WITH_TIMEOUT(table.rows(), 2, 10'000);
        QTRY_VERIFY_WITH_TIMEOUT(!program.prompts.shown.empty(), 12'000);
        QTest::qWait(300);

        // The one box is about the lost file; it came when that job had become the earliest.
        QCOMPARE(program.prompts.shown.size(), std::size_t{1});
        QCOMPARE(program.prompts.shown[0].text,
                 QStringLiteral("The query file for the scheduled Report Job is either missing or corrupt."));

        // Files: each report once.
        for (const QString &name : {QStringLiteral("once"), QStringLiteral("every day")}) {
            const QByteArray csv = installation.read(QStringLiteral("Reports/") + name + QStringLiteral(".csv"));
            QCOMPARE(csv.trimmed().split('\n').size(), 4);
        }
        QCOMPARE(QDir(installation.path() + QStringLiteral("Reports")).entryList(QDir::Files).size(), 2);

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
        QCOMPARE(runs[0].status, QStringLiteral("not run"));
        for (const LedgerEntry &run : runs)
            QCOMPARE(run.trigger, QStringLiteral("schedule"));
        for (const std::size_t i : {std::size_t{1}, std::size_t{2}}) {
            QCOMPARE(runs[i].status, QStringLiteral("done"));
            QCOMPARE(runs[i].rows, 3);
        }
        const QByteArray logText = installation.read(QStringLiteral("Logs/quillmark.log"));
        QVERIFY(logText.contains("was not run: query file missing"));
    }
};

QTEST_MAIN(DayInTheLifeTest)
#include "day_in_the_life_test.moc"
