/// \file
/// Measures the scheduler on a large schedule, and how late real wake-ups come. Prints one "name value unit" line per figure.
///
///   bench_schedule [JOBS [FIRINGS]]
#include "core/ErrorReporter.h"
#include "core/HelpViewer.h"
#include "core/Prompts.h"
#include "core/WorkAtHand.h"
#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "platform/SystemDueTimer.h"
#include "scheduler/JobTable.h"
#include "scheduler/ScheduleTimer.h"
#include "scheduler/ScheduledJobs.h"
#include "scheduler/frmScheduledReport.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QTableWidget>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace qm;
using Steady = std::chrono::steady_clock;

namespace {

class QuietPrompts final : public Prompts
{
public:
    int messageBox(const QString &text, int, const QString &) override
    {
        std::fprintf(stderr, "box: %s\n", qPrintable(text));
        return box::idOk;
    }
    std::optional<QString> chooseSaveFile(const FileDialogRequest &) override { return std::nullopt; }
    std::optional<QString> chooseOpenFile(const FileDialogRequest &) override { return std::nullopt; }
    void pointer(int) override {}
    void unattended(bool) override {}
};

class NoHelp final : public HelpViewer
{
public:
    void showContext(int) override {}
};

class Idle final : public WorkAtHand
{
public:
    [[nodiscard]] bool isProducingRows() const override { return false; }
    [[nodiscard]] bool isEditing() const override { return false; }
};

class NoJournal final : public ScheduleJournal
{
public:
    void notRun(const ScheduledReportJob &, const QString &) override {}
    void refused(const QString &, bool, const QString &) override {}
    void skippedRuns(const ScheduledReportJob &, const WallTime &, int) override {}
    void note(const QString &) override {}
};

double cpuMilliseconds()
{
    return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

template <class Work>
void measure(const char *name, Work work)
{
    const auto start = Steady::now();
    const double cpu = cpuMilliseconds();
    work();
    const double wall = std::chrono::duration<double, std::milli>(Steady::now() - start).count();
    std::printf("%s cpu %.1f ms wall %.1f ms\n", name, cpuMilliseconds() - cpu, wall);
}

void writePlainly(const QString &path, const QByteArray &bytes)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (::write(file, bytes.constData(), static_cast<std::size_t>(bytes.size())) != bytes.size())
        std::perror("write");
    ::fsync(file);
    ::close(file);
}

void fillTableWidget(const JobTable &rows)
{
    QTableWidget widget(rows.rows(), 5);
    for (int row = 0; row < rows.rows(); ++row)
        for (int column = JobTable::Date; column <= JobTable::QueryFile; ++column)
            widget.setItem(row, column - 1, new QTableWidgetItem(rows.index(row, column).data().toString()));
}

void measureLateness(int firings)
{
    SystemDueTimer timer;
    std::vector<double> late;
    QEventLoop loop;
    const auto arm = [&] { timer.SetDueTime(toLocalWallTime(std::chrono::system_clock::now() + std::chrono::seconds(1))); };
    QObject::connect(&timer, &DueTimer::Mature, &loop, [&] {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        late.push_back(std::chrono::duration<double, std::milli>(now - std::chrono::floor<std::chrono::seconds>(now)).count());
        if (static_cast<int>(late.size()) == firings)
            loop.quit();
        else
            arm();
    });
    arm();
    loop.exec();
    std::sort(late.begin(), late.end());
    std::printf("wake-ups %d lateness median %.2f ms maximum %.2f ms\n", firings, late[late.size() / 2], late.back());
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 100'000;
    const int firings = argc > 2 ? std::atoi(argv[2]) : 200;

    QTemporaryDir folder;
    QDir(folder.path()).mkpath(QStringLiteral("Config"));
    const QString query = folder.filePath(QStringLiteral("query.rqn"));
    files::saveAtomically(query, QByteArrayLiteral("description = \"q\"\nsql = \"select 1\"\n"));

    QuietPrompts prompts;
    ErrorReporter errors(prompts);
    NoHelp help;
    NoJournal journal;
    SystemClock clock;
    TomlJobConfigReader reader;
    Globals globals;
    globals.gstrInstallPath = folder.path() + kSep;
    globals.gcolJobs = std::make_shared<JobCollection>();
    for (const char *name : {"File", "Mail", "Server"}) {
        const auto package = std::make_shared<QMKPackage>();
        const QString home = folder.filePath(QLatin1String(name)) + kSep;
        package->setPackageInfo(std::make_shared<PackageInfo>(PackageInfo{QLatin1String(name), {}, home, {}, {}}));
        globals.gdicPackages.Add(QLatin1String(name), package);
    }
    const QDate tomorrow = clock.wallNow().date.addDays(1);
    for (int i = 0; i < count; ++i)
        globals.gcolJobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{QStringLiteral("Report number %1").arg(i), query, {tomorrow.addDays(i % 365), i % 86'400}, i % 4, i + 1}));
    JobTable table;
    const Idle idle;
    const ScheduleServices services{globals, reader, errors, prompts, clock, journal, idle};
    frmScheduledReport dialog(globals, errors, prompts, help);
    ScheduleTimer timer(services, table, [](const QString &, bool, const std::function<void()> &over) { over(); });
    timer.setDueTimer(std::make_unique<SystemDueTimer>());
    ScheduledJobs jobs(services, table, dialog, timer);
    QObject::connect(&timer, &ScheduleTimer::rowsWanted, &jobs, &ScheduledJobs::PopulateJobs);

    std::printf("jobs %d\n", count);
    measure("PopulateJobs", [&] { jobs.PopulateJobs(); });
    measure("SetTimer first", [&] { timer.SetTimer(false); });
    measure("choosing the next job", [&] { static_cast<void>(table.earliestRow()); });
    measure("save durably, all jobs", [&] { saveJobs(services); });
    const QString path = folder.filePath(QStringLiteral("Config/Jobs.cfg"));
    const QByteArray bytes = files::readAll(path);
    measure("peer: write and fsync of the same bytes", [&] { writePlainly(folder.filePath(QStringLiteral("plain")), bytes); });
    globals.gcolJobs->push_back(
        std::make_shared<ScheduledReportJob>(ScheduledReportJob{QStringLiteral("one more"), query, {tomorrow, 1}, 1, count + 1}));
    measure("save durably, one more job", [&] { saveJobs(services); });
    measure("load all jobs", [&] { static_cast<void>(reader.LoadJobs(path)); });
    for (int i = 0; i < table.rows(); ++i)
        static_cast<void>(table.row(i)); // the peer is given texts that are made already
    measure("peer: item widget filled with the same rows", [&] { fillTableWidget(table); });
    if (firings > 0)
        measureLateness(firings);
    return 0;
}
