// Listing 100,000 query files and loading and saving 100,000 jobs, against what the system calls alone cost.
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "platform/Files.h"

#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace qm;

namespace {

constexpr int kFiles = 100'000;
constexpr int kJobs = 100'000;

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double wallSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Contender
{
    const char *name;
    std::function<void()> run;
    std::vector<double> cpu, wall;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Runs the contenders turn by turn, so that the machine's moods fall on all alike; prints medians and the ratio to the first.
void compare(const char *title, std::vector<Contender> contenders, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        for (Contender &contender : contenders) {
            const double cpu = cpuSeconds();
            const double wall = wallSeconds();
            contender.run();
            contender.cpu.push_back(cpuSeconds() - cpu);
            contender.wall.push_back(wallSeconds() - wall);
        }
    }
    std::printf("%s\n", title);
    for (const Contender &contender : contenders)
        std::printf("  %-44s cpu %6.3f s (%5.2f x)   wall %6.3f s (%5.2f x)\n", contender.name, median(contender.cpu),
                    median(contender.cpu) / median(contenders.front().cpu), median(contender.wall),
                    median(contender.wall) / median(contenders.front().wall));
}

QByteArray queryText(int number)
{
    QByteArray text =
        "format = 1\ndescription = \"Failed logons by account, site " + QByteArray::number(number) +
        "\"\nreport_file = \"Layouts/Failed logons by account.rpt\"\nsql = '''\n"
        "SELECT account, computer, count(*) AS failures, min(time_generated) AS first_seen, max(time_generated) AS last_seen\n"
        "FROM event\nWHERE time_generated >= :date_from AND time_generated < :date_to AND event_id = 4625\n"
        "GROUP BY account, computer ORDER BY failures DESC\n'''\n\n[period]\nrange = \"last week\"\n\n[[parameter]]\n"
        "name = \"account\"\nlabel = \"Account\"\ntype = \"text\"\ndefault = \"%\"\n\n[output]\ntype = \"file\"\n"
        "format = \"pdf\"\nfile = \"{description} {date}.{format}\"\n";
    return text;
}

/// getdents, openat, read, close and a search for one key: nothing can list the files for less.
void listByHand(const std::string &folder, std::size_t &found)
{
    DIR *const directory = opendir(folder.c_str());
    char buffer[8192];
    found = 0;
    while (const dirent *const entry = readdir(directory)) {
        if (entry->d_type != DT_REG)
            continue;
        const int file = openat(dirfd(directory), entry->d_name, O_RDONLY | O_CLOEXEC);
        const ssize_t size = read(file, buffer, sizeof buffer);
        close(file);
        const std::string_view text(buffer, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        std::size_t at = 0;
        for (std::size_t end = 0; end != std::string_view::npos && at < text.size(); at = end + 1) { // line by line to the end
            end = text.find('\n', at);
            found += text.substr(at, 14) == "description = " ? 1 : 0;
            if (end == std::string_view::npos)
                break;
        }
    }
    closedir(directory);
}

void benchListing(const QString &folder)
{
    const QStringList names = [&] {
        for (int i = 0; i < kFiles; ++i) {
            FILE *const file = std::fopen(qPrintable(folder + QStringLiteral("Query %1.rqn").arg(i)), "wb");
            const QByteArray text = queryText(i);
            std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), file);
            std::fclose(file);
        }
        return files::list(folder, QStringLiteral("*.rqn"), attr::normal);
    }();
    std::size_t byHand = 0;
    std::size_t listed = 0;
    std::size_t settings = 0;
    compare("100,000 query files, listed",
            {{"getdents, openat, read, find a key (floor)", [&] { listByHand(folder.toStdString(), byHand); }, {}, {}},
             {"files::list + TomlQueryReader",
              [&] {
                  std::vector<QStringList> rows; // what the list keeps of a query
                  TomlQueryReader reader;
                  for (const QString &name : files::list(folder, QStringLiteral("*.rqn"), attr::normal)) {
                      const auto query = reader.ReadQuery(folder + name);
                      rows.push_back({query->Description, query->QueryFile, query->ReportFile});
                  }
                  listed = rows.size();
              },
              {},
              {}},
             {"files::list alone", [&] { (void)files::list(folder, QStringLiteral("*.rqn"), attr::normal); }, {}, {}},
             {"QSettings per file",
              [&] {
                  settings = 0;
                  for (const QString &name : names)
                      settings += QSettings(folder + name, QSettings::IniFormat).value(QStringLiteral("format")).isValid() ? 1U : 0U;
              },
              {},
              {}}},
            5);
    if (byHand != kFiles || listed != kFiles || settings != kFiles)
        std::printf("  FAILED: %zu, %zu and %zu of %d files seen\n", byHand, listed, settings, kFiles);
}

void benchJobs(const QString &folder)
{
    auto jobs = std::make_shared<JobCollection>();
    for (int i = 0; i < kJobs; ++i) {
        auto job = std::make_shared<ScheduledReportJob>();
        job->JobDescription = QStringLiteral("Failed logons of site %1, weekly").arg(i);
        job->QueryFileName = QStringLiteral("/srv/quillmark/Mail Server Logs/Query Groups/Logons/Query %1.rqn").arg(i);
        job->DateTime = {QDate(2026, 11, 21).addDays(i % 365), i % 86'400};
        job->Frequency = i % 4;
        job->JobId = i + 1;
        jobs->push_back(job);
    }
    TomlJobConfigReader reader;
    const QString path = folder + QStringLiteral("Jobs.cfg");
    reader.SaveJobs(jobs, path);
    const QByteArray bytes = files::readAll(path);
    int change = 0;
    std::size_t loaded = 0;
    compare("100,000 jobs, saved durably",
            {{"POSIX write + fsync of the same bytes",
              [&] {
                  const int file = open(qPrintable(folder + QStringLiteral("plain")), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
                  (void)!write(file, bytes.constData(), static_cast<std::size_t>(bytes.size()));
                  fsync(file);
                  close(file);
              },
              {},
              {}},
             {"TomlJobConfigReader::SaveJobs",
              [&] {
                  jobs->front()->JobId = ++change; // equal bytes would not be written again
                  reader.SaveJobs(jobs, path);
              },
              {},
              {}}},
            7);
    compare("100,000 jobs, loaded",
            {{"reading the bytes", [&] { (void)files::readAll(path); }, {}, {}},
             {"TomlJobConfigReader::LoadJobs", [&] { loaded = reader.LoadJobs(path)->size(); }, {}, {}}},
            5);
    std::printf("  (%.1f MB, %zu jobs)\n", static_cast<double>(bytes.size()) / 1e6, loaded);
}

} // namespace

/// Measures both, or the one that the argument names: "listing" or "jobs".
int main(int argc, char *argv[])
{
    const QTemporaryDir dir;
    const QString folder = dir.path() + kSep;
    const std::string_view only = argc > 1 ? argv[1] : "";
    if (only != "jobs")
        benchListing(folder);
    if (only != "listing")
        benchJobs(folder);
    return 0;
}
