#include "core/RuntimeError.h"
#include "framework/ConfigReaders.h"
#include "framework/OwnPaths.h"
#include "framework/TableReader.h"
#include "framework/toml/TomlCursor.h"
#include "framework/toml/TomlText.h"
#include "platform/Files.h"

#include <QSet>

#include <array>
#include <charconv>
#include <chrono>

namespace qm {
namespace {

constexpr char kHead[] = "# Scheduled reports. frequency: 0 single, 1 daily, 2 weekly, 3 monthly; next_run is local time.\nformat = 1\n";
constexpr qint64 kIntLeast = std::numeric_limits<std::int32_t>::min();
constexpr qint64 kEpochJulianDay = 2440588; ///< 1970-01-01
constexpr qint64 kIntMost = std::numeric_limits<std::int32_t>::max();

// --- reading: the plain road -------------------------------------------------------------------------------------------------------------

bool numberOf(std::string_view token, std::int32_t &value)
{
    const bool leadingZero = token.size() > 1 && (token[0] == '0' || (token[0] == '-' && token[1] == '0'));
    const auto parsed = std::from_chars(token.data(), token.data() + token.size(), value);
    return !leadingZero && parsed.ec == std::errc() && parsed.ptr == token.data() + token.size();
}

/// One "key = value" line of a job. \p seen collects a bit per key.
bool scanMember(TomlCursor &cursor, ScheduledReportJob &job, unsigned &seen)
{
    const std::string_view key = cursor.takeWord();
    cursor.skipBlanks();
    if (!cursor.take('='))
        return false;
    cursor.skipBlanks();
    unsigned bit = 0;
    bool taken = false;
    if (key == "id") {
        bit = 1;
        taken = numberOf(cursor.takeToken(), job.JobId);
    } else if (key == "description") {
        bit = 2;
        taken = cursor.takeString(job.JobDescription);
    } else if (key == "query_file") {
        bit = 4;
        taken = cursor.takeString(job.QueryFileName);
    } else if (key == "next_run") {
        bit = 8;
        const std::string_view token = cursor.takeToken();
        const auto time = localTimeOf(QString::fromLatin1(token.data(), static_cast<qsizetype>(token.size())));
        taken = time.has_value();
        job.DateTime = time.value_or(WallTime());
    } else if (key == "frequency") {
        bit = 16;
        taken = numberOf(cursor.takeToken(), job.Frequency);
    }
    const bool fresh = (seen & bit) == 0;
    seen |= bit;
    return taken && fresh && cursor.takeLineEnd();
}

/// The jobs of a file as SaveJobs writes it; null for anything unusual, right or wrong.
std::shared_ptr<JobCollection> scanJobs(std::string_view text)
{
    if (!TomlCursor::isPlain(text))
        return nullptr;
    TomlCursor cursor(text);
    cursor.skipLines();
    if (cursor.takeWord() != "format")
        return nullptr;
    cursor.skipBlanks();
    if (!cursor.take('='))
        return nullptr;
    cursor.skipBlanks();
    if (cursor.takeToken() != "1" || !cursor.takeLineEnd())
        return nullptr;
    auto jobs = std::make_shared<JobCollection>();
    constexpr unsigned required = 1 | 4 | 8;
    for (cursor.skipLines(); !cursor.atEnd();) {
        if (!cursor.take('[') || !cursor.take('[') || cursor.takeWord() != "job" || !cursor.take(']') || !cursor.take(']') ||
            !cursor.takeLineEnd())
            return nullptr;
        auto job = std::make_shared<ScheduledReportJob>();
        unsigned seen = 0;
        for (cursor.skipLines(); !cursor.atEnd() && cursor.peek() != '['; cursor.skipLines())
            if (!scanMember(cursor, *job, seen))
                return nullptr;
        if ((seen & required) != required)
            return nullptr;
        jobs->push_back(std::move(job));
    }
    return jobs;
}

// --- reading: any TOML -------------------------------------------------------------------------------------------------------------------

std::shared_ptr<JobCollection> parseJobs(const QByteArray &bytes, const QString &path)
{
    const TomlNode root = parseToml(bytes, path);
    const TableReader file(root, path);
    file.checkFormat();
    file.refuseUnknown({QStringLiteral("format"), QStringLiteral("job")});
    const QStringList keys{QStringLiteral("id"), QStringLiteral("description"), QStringLiteral("query_file"), QStringLiteral("next_run"),
                           QStringLiteral("frequency")};
    auto jobs = std::make_shared<JobCollection>();
    for (const TomlNode &table : file.tables("job")) {
        const TableReader reader(table, path);
        reader.refuseUnknown(keys);
        if (!reader.has("id"))
            reader.fail("id", QStringLiteral("\"id\" is missing. Add a line id = ... with a number that no other job has."));
        auto job = std::make_shared<ScheduledReportJob>();
        job->JobId = static_cast<std::int32_t>(reader.integer("id", 0, kIntLeast, kIntMost));
        job->JobDescription = reader.text("description");
        job->QueryFileName = reader.requiredText("query_file");
        job->DateTime = reader.requiredLocalTime("next_run");
        job->Frequency = static_cast<int>(reader.integer("frequency", 0, kIntLeast, kIntMost));
        jobs->push_back(std::move(job));
    }
    return jobs;
}

void noteOddIds(const JobCollection &jobs, const QString &path, KnownFiles &known)
{
    QSet<std::int32_t> ids;
    for (const auto &job : jobs) {
        const bool duplicate = ids.contains(job->JobId);
        ids.insert(job->JobId);
        if (duplicate || job->JobId < 0)
            known.note(QStringLiteral("%1: job \"%2\" has the %3 id %4")
                           .arg(path, job->JobDescription, duplicate ? QStringLiteral("duplicate") : QStringLiteral("negative"),
                                QString::number(job->JobId)));
    }
}

// --- writing -----------------------------------------------------------------------------------------------------------------------------

/// "2026-11-21T14:05:37"
void appendLocalTime(QByteArray &out, const WallTime &time)
{
    // Ten times as quick as the date's own parts, which every calendar can give.
    const std::chrono::year_month_day date(std::chrono::sys_days(std::chrono::days(time.date.toJulianDay() - kEpochJulianDay)));
    std::array<char, 19> text{};
    const auto put = [&text](std::size_t end, int value, int digits) {
        for (; digits > 0; --digits, value /= 10)
            text[--end] = static_cast<char>('0' + value % 10);
    };
    put(4, static_cast<int>(date.year()), 4);
    put(7, static_cast<int>(static_cast<unsigned>(date.month())), 2);
    put(10, static_cast<int>(static_cast<unsigned>(date.day())), 2);
    put(13, time.hour(), 2);
    put(16, time.minute(), 2);
    put(19, time.second(), 2);
    text[4] = text[7] = '-';
    text[10] = 'T';
    text[13] = text[16] = ':';
    out.append(text.data(), static_cast<qsizetype>(text.size()));
}

void appendNumber(QByteArray &out, int value)
{
    std::array<char, 12> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    out.append(text.data(), static_cast<qsizetype>(result.ptr - text.data()));
}

bool isWritable(const WallTime &time)
{
    return time.date.isValid() && time.date.year() >= 1 && time.date.year() <= 9999 && time.secondOfDay >= 0 && time.secondOfDay < 86400;
}

QByteArray jobsText(const JobCollection &jobs)
{
    QByteArray out;
    qsizetype size = sizeof kHead;
    for (const auto &job : jobs)
        size += job ? 128 + job->JobDescription.size() + job->QueryFileName.size() : 0;
    out.reserve(size);
    out.append(kHead);
    for (const auto &job : jobs) {
        if (!job)
            raise(err::objectNotSet, QStringLiteral("a job of the collection is missing; nothing was saved."), kFrameworkSource);
        if (!isWritable(job->DateTime))
            raise(
                err::typeMismatch,
                QStringLiteral("job %1 \"%2\" has no valid date; nothing was saved.").arg(QString::number(job->JobId), job->JobDescription),
                kFrameworkSource);
        out.append("\n[[job]]\nid = ");
        appendNumber(out, job->JobId);
        out.append("\ndescription = ");
        toml_text::appendQuoted(out, job->JobDescription);
        out.append("\nquery_file = ");
        toml_text::appendQuoted(out, job->QueryFileName);
        out.append("\nnext_run = ");
        appendLocalTime(out, job->DateTime);
        out.append("\nfrequency = ");
        appendNumber(out, job->Frequency);
        out.append('\n');
    }
    return out;
}

} // namespace

TomlJobConfigReader::TomlJobConfigReader(std::shared_ptr<KnownFiles> known)
    : m_known(known ? std::move(known) : std::make_shared<KnownFiles>())
{
}

std::shared_ptr<JobCollection> TomlJobConfigReader::LoadJobs(const QString &path)
{
    if (!files::entryExists(path))
        return std::make_shared<JobCollection>();
    const QByteArray bytes = files::readAll(path);
    std::shared_ptr<JobCollection> jobs = scanJobs({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    if (!jobs)
        jobs = parseJobs(bytes, path);
    noteOddIds(*jobs, path, *m_known);
    m_known->remember(path, bytes);
    return jobs;
}

void TomlJobConfigReader::SaveJobs(std::shared_ptr<JobCollection> &jobs, const QString &path)
{
    if (!jobs)
        raise(err::objectNotSet,
              QStringLiteral("the scheduled jobs of \"%1\" were never read, so they are not saved. Correct what the start-up message named "
                             "and start the program again.")
                  .arg(path),
              kFrameworkSource);
    requireAbsolute(path);
    const QByteArray bytes = jobsText(*jobs);
    m_known->protect(path, bytes);
    files::saveAtomically(path, bytes);
    m_known->remember(path, bytes);
}

} // namespace qm
