#include "importing/SyslogReader.h"

#include "importing/ImportError.h"
#include "importing/LogLevels.h"
#include "importing/UnixAccess.h"

#include <QDateTime>

#include <algorithm>
#include <charconv>

namespace qm {

namespace {

/// Lines without a time of their own go on with the event before them; a file of another kind is not one event.
constexpr std::size_t kLongestMessage = std::size_t{64} << 20;

/// What one line says.
struct SyslogLine
{
    std::optional<int> priority;
    EventTime time = 0;
    std::string_view host, application, process, messageId, data, text;
};

/// The text up to the next blank, taken off \p rest together with that blank.
std::string_view takeWord(std::string_view &rest)
{
    const std::size_t end = std::min(rest.find(' '), rest.size());
    const std::string_view word = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return word;
}

std::optional<int> takePriority(std::string_view &rest)
{
    const std::size_t close = rest.substr(0, 5).find('>');
    if (!rest.starts_with('<') || close == std::string_view::npos || close < 2)
        return std::nullopt;
    int value = 0;
    const auto [end, error] = std::from_chars(rest.data() + 1, rest.data() + close, value);
    if (error != std::errc() || end != rest.data() + close || value < 0 || value > 191)
        return std::nullopt;
    rest.remove_prefix(close + 1);
    return value;
}

std::string_view orNothing(std::string_view word)
{
    return word == "-" ? std::string_view() : word;
}

/// Structured data: "-", or elements in brackets whose quoted values may hold "\]".
bool takeStructuredData(std::string_view &rest, std::string_view &data)
{
    if (rest.starts_with('-')) {
        takeWord(rest);
        return true;
    }
    std::size_t i = 0;
    while (i < rest.size() && rest[i] == '[') {
        bool quoted = false;
        for (++i; i < rest.size() && (quoted || rest[i] != ']'); ++i)
            if (quoted && rest[i] == '\\')
                ++i;
            else if (rest[i] == '"')
                quoted = !quoted;
        if (i >= rest.size())
            return false;
        ++i;
    }
    if (i == 0 || (i < rest.size() && rest[i] != ' '))
        return false;
    data = rest.substr(0, i);
    rest.remove_prefix(std::min(i + 1, rest.size()));
    return true;
}

bool readRfc5424(std::string_view rest, SyslogLine &out)
{
    takeWord(rest); // the version
    const std::string_view stamp = takeWord(rest);
    const std::optional<EventTime> time = stamp.size() > 10 ? parseEventTime(stamp) : std::nullopt;
    if (!time)
        return false;
    out.time = *time;
    out.host = orNothing(takeWord(rest));
    out.application = orNothing(takeWord(rest));
    out.process = orNothing(takeWord(rest));
    out.messageId = orNothing(takeWord(rest));
    if (!takeStructuredData(rest, out.data))
        return false;
    if (rest.starts_with("\xEF\xBB\xBF"))
        rest.remove_prefix(3);
    out.text = rest;
    return true;
}

/// "Nov 20 08:15:00 ", with the day's first digit a blank or a zero below ten.
bool takeLocalTime(std::string_view &rest, qint64 lastWritten, EventTime &time)
{
    constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    constexpr std::size_t kLength = 15;
    constexpr qint64 kDayMs = 86'400'000;
    if (rest.size() < kLength || rest[3] != ' ' || rest[6] != ' ')
        return false;
    const std::size_t month = kMonths.find(rest.substr(0, 3));
    if (month == std::string_view::npos || month % 3 != 0)
        return false;
    const std::string day = (rest[4] == ' ' ? "0" : std::string(1, rest[4])) + rest[5];
    const QTime clock = QTime::fromString(toQt(rest.substr(7, 8)), QStringLiteral("HH:mm:ss"));
    int dayNumber = 0;
    const auto [end, error] = std::from_chars(day.data(), day.data() + day.size(), dayNumber);
    if (!clock.isValid() || error != std::errc() || end != day.data() + day.size() || (rest.size() > kLength && rest[kLength] != ' '))
        return false;
    constexpr int kYearsBack = 5; // February 29 needs up to eight, but no log file is kept open that long
    const int latest = QDateTime::fromMSecsSinceEpoch(lastWritten + kDayMs).date().year();
    for (int year = latest; year > latest - kYearsBack; --year) {
        const QDate date(year, static_cast<int>(month / 3) + 1, dayNumber);
        if (!date.isValid())
            continue;
        time = QDateTime(date, clock, Qt::LocalTime).toMSecsSinceEpoch();
        if (time <= lastWritten + kDayMs) {
            rest.remove_prefix(std::min(kLength + 1, rest.size()));
            return true;
        }
    }
    return false;
}

/// "su[231]: text" or "text". A tag is what stands before a colon or a bracket, without blanks.
void readTag(std::string_view rest, SyslogLine &out)
{
    out.text = rest;
    const std::size_t end = rest.find_first_of(" :[");
    if (end == std::string_view::npos || end == 0 || rest[end] == ' ')
        return;
    std::string_view after = rest.substr(end);
    std::string_view process;
    if (after.front() == '[') {
        const std::size_t close = after.find(']');
        if (close == std::string_view::npos)
            return;
        process = after.substr(1, close - 1);
        after.remove_prefix(close + 1);
    }
    if (!after.starts_with(':'))
        return;
    after.remove_prefix(1);
    if (after.starts_with(' '))
        after.remove_prefix(1);
    out.application = rest.substr(0, end);
    out.process = process;
    out.text = after;
}

bool readLine(std::string_view line, qint64 lastWritten, SyslogLine &out)
{
    std::string_view rest = line;
    out.priority = takePriority(rest);
    if (out.priority && rest.size() > 2 && rest[0] >= '1' && rest[0] <= '9' && rest[1] == ' ')
        return readRfc5424(rest, out);
    if (!takeLocalTime(rest, lastWritten, out.time)) {
        const std::string_view stamp = takeWord(rest);
        const bool withTime = stamp.size() > 10 && stamp[10] == 'T';
        const std::optional<EventTime> time = withTime ? parseEventTime(stamp) : std::nullopt;
        if (!time)
            return false;
        out.time = *time;
    }
    out.host = takeWord(rest);
    if (out.host.empty())
        return false;
    readTag(rest, out);
    return true;
}

void fillRecord(const SyslogLine &line, const std::string &dataSource, EventRecord &record)
{
    record.clear();
    record.setTime(ServerColumn::TimeGenerated, line.time);
    const std::string_view level = line.priority ? levelOfSeverity(*line.priority % 8) : levelOfSeverity(6);
    record.setText(ServerColumn::Level, level);
    record.setText(ServerColumn::Type, level);
    record.setText(ServerColumn::Source, line.application);
    record.setText(ServerColumn::Channel, line.priority ? facilityName(*line.priority / 8) : std::string_view("syslog"));
    record.setText(ServerColumn::Category, line.messageId);
    record.setText(ServerColumn::Computer, line.host);
    if (!line.process.empty())
        record.setText(ServerColumn::Process, std::string(line.application) + '[' + std::string(line.process) + ']');
    record.setText(ServerColumn::DataSource, dataSource);
}

} // namespace

SyslogReader::SyslogReader(InputFile &input, const QString &dataSource)
    : m_lines(input), m_dataSource(dataSource.toStdString()), m_lastWritten(input.lastWritten())
{
}

bool SyslogReader::looksLike(std::string_view line)
{
    SyslogLine ignored;
    return readLine(line, QDateTime::currentMSecsSinceEpoch(), ignored);
}

bool SyslogReader::next(EventRecord &record)
{
    std::string_view line;
    while (m_pendingLine == 0) {
        m_line = m_lines.lineNumber() + 1;
        if (!m_lines.next(line))
            return false;
        if (line.empty())
            continue;
        m_pending = repairedText(line);
        m_pendingLine = m_lines.lineNumber();
    }
    m_line = m_pendingLine;
    const std::string first = std::move(m_pending);
    m_pendingLine = 0;
    SyslogLine parsed;
    if (!readLine(first, m_lastWritten, parsed))
        refuseInput(QStringLiteral(
            "the line does not begin with a syslog time (\"<34>1 2026-11-20T08:15:00Z host ...\" or \"Nov 20 08:15:00 host ...\")"));
    fillRecord(parsed, m_dataSource, record);
    std::string message(parsed.data);
    if (!message.empty() && !parsed.text.empty())
        message += ' ';
    message += parsed.text;
    while (m_lines.next(line)) {
        std::string text = repairedText(line);
        SyslogLine following;
        if (readLine(text, m_lastWritten, following)) {
            m_pending = std::move(text);
            m_pendingLine = m_lines.lineNumber();
            break;
        }
        message += '\n';
        message += text;
        if (message.size() > kLongestMessage)
            refuseInput(QStringLiteral("more than 64 MiB of lines without a syslog time follow this one; this is not a syslog file"));
    }
    while (message.ends_with('\n'))
        message.pop_back();
    record.setText(ServerColumn::Message, message);
    readUnixAccess(parsed.application, parsed.text, record);
    return true;
}

} // namespace qm
