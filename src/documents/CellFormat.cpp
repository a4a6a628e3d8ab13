#include "documents/CellFormat.h"

#include "core/LocalZone.h"
#include "core/Utf8.h"
#include "documents/IsoTime.h"
#include "documents/TextScan.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>

namespace qm {

namespace {

using Style = CellFormatter::Style;

constexpr std::size_t kShownBlobBytes = 32;
constexpr double kLongestDuration = 1e15; ///< in seconds; beyond, a number does not tell them apart any more

constexpr std::array<std::string_view, 9> kNames{"percent",  "bytes",       "duration", "date",   "time",
                                                 "datetime", "datetime-ms", "local",    "boolean"};
constexpr std::array<Style, kNames.size()> kNamed{Style::Percent,  Style::Bytes,      Style::Duration, Style::Date,   Style::Time,
                                                  Style::DateTime, Style::DateTimeMs, Style::Local,    Style::Boolean};

Style namedStyle(const std::string &format)
{
    for (std::size_t i = 0; i < kNames.size(); ++i)
        if (format == kNames[i])
            return kNamed[i];
    return Style::Plain;
}

void appendTwoDigits(int value, std::string &out)
{
    out += static_cast<char>('0' + value / 10);
    out += static_cast<char>('0' + value % 10);
}

void appendDate(const IsoTime &time, std::string &out)
{
    appendTwoDigits(time.year / 100, out);
    appendTwoDigits(time.year % 100, out);
    out += '-';
    appendTwoDigits(time.month, out);
    out += '-';
    appendTwoDigits(time.day, out);
}

void appendClock(const IsoTime &time, bool milliseconds, std::string &out)
{
    appendTwoDigits(time.hour, out);
    out += ':';
    appendTwoDigits(time.minute, out);
    out += ':';
    appendTwoDigits(time.second, out);
    if (milliseconds) {
        out += '.';
        out += static_cast<char>('0' + time.millisecond / 100);
        appendTwoDigits(time.millisecond % 100, out);
    }
}

bool appendTime(Style style, const IsoTime &time, std::string &out)
{
    switch (style) {
    case Style::Date:
        if (time.hasDate)
            appendDate(time, out);
        return time.hasDate;
    case Style::Time:
        if (time.hasTime)
            appendClock(time, false, out);
        return time.hasTime;
    default:
        if (!time.hasDate)
            return false;
        appendDate(time, out);
        if (time.hasTime) {
            out += ' ';
            appendClock(time, style == Style::DateTimeMs, out);
        }
        return true;
    }
}

/// 1,024 at a time, one decimal: "512 B", "1.5 KB", "34.0 MB".
void appendBytes(double bytes, std::string &out)
{
    static constexpr std::array<std::string_view, 7> kUnits{" B", " KB", " MB", " GB", " TB", " PB", " EB"};
    std::size_t unit = 0;
    // What would be shown as 1,024.0 is shown as 1.0 of the next unit.
    while (std::fabs(bytes) >= (unit == 0 ? 1024.0 : 1023.95) && unit + 1 < kUnits.size()) {
        bytes /= 1024.0;
        ++unit;
    }
    numbers::appendFixed(bytes, unit == 0 ? numbers::Pattern{0, 0, true, 0} : numbers::Pattern{1, 1, true, 0}, out);
    out += kUnits[unit];
}

void appendWhole(double number, std::string &out)
{
    numbers::appendFixed(number, numbers::Pattern{0, 0, true, 0}, out);
}

/// The two largest units that say something: "1 d 4 h", "2 h 03 min", "5 min 07 s", "42 s", "4.2 s", "250 ms", rounded to the smaller.
void appendDuration(double seconds, std::string &out)
{
    constexpr double kMinute = 60, kHour = 3600, kHoursOfDay = 24;
    if (seconds < 0)
        out += '-';
    seconds = std::fabs(seconds);
    const auto pair = [&out](double whole, double unit, std::string_view larger, std::string_view smaller, bool twoDigits) {
        const double rest = std::fmod(whole, unit);
        appendWhole((whole - rest) / unit, out);
        out += larger;
        if (twoDigits)
            appendTwoDigits(static_cast<int>(rest), out);
        else
            appendWhole(rest, out);
        out += smaller;
    };
    const double whole = std::round(seconds), minutes = std::round(seconds / kMinute);
    if (seconds != 0 && seconds < 0.9995) {
        numbers::appendFixed(seconds * 1000, numbers::Pattern{0, seconds < 0.01 ? 1 : 0, true, 0}, out);
        out += " ms";
    } else if (whole < kMinute) {
        numbers::appendFixed(seconds, numbers::Pattern{0, seconds < 9.95 ? 1 : 0, true, 0}, out);
        out += " s";
    } else if (whole < kHour) {
        pair(whole, kMinute, " min ", " s", true);
    } else if (minutes < kMinute * kHoursOfDay) {
        pair(minutes, kMinute, " h ", " min", true);
    } else {
        pair(std::round(seconds / kHour), kHoursOfDay, " d ", " h", false);
    }
}

/// "2026-03-29 03:00:00 +02:00": a time in UTC on this machine's clock, with its distance from UTC, so that no two moments look alike.
bool appendLocal(const IsoTime &time, std::string &out)
{
    constexpr std::int64_t kDay = 86400, kHour = 3600, kMinute = 60;
    if (!time.hasDate || !time.hasTime)
        return false;
    const std::int64_t utc = time.daysSince1970() * kDay + time.millisecondOfDay() / 1000;
    const std::int64_t offset = zone::offsetAt(utc);
    const std::chrono::sys_seconds local{std::chrono::seconds(utc + offset)};
    const auto day = std::chrono::floor<std::chrono::days>(local);
    const std::chrono::year_month_day date(day);
    const auto second = static_cast<int>((local - day).count());
    IsoTime shown;
    shown.year = static_cast<int>(date.year());
    if (shown.year < 0 || shown.year > 9999)
        return false;
    shown.month = static_cast<int>(static_cast<unsigned>(date.month()));
    shown.day = static_cast<int>(static_cast<unsigned>(date.day()));
    shown.hour = second / static_cast<int>(kHour);
    shown.minute = second / static_cast<int>(kMinute) % 60;
    shown.second = second % 60;
    appendDate(shown, out);
    out += ' ';
    appendClock(shown, false, out);
    const auto distance = static_cast<int>(offset < 0 ? -offset : offset);
    out += offset < 0 ? " -" : " +";
    appendTwoDigits(distance / static_cast<int>(kHour), out);
    out += ':';
    appendTwoDigits(distance / static_cast<int>(kMinute) % 60, out);
    if (distance % 60 != 0) {
        out += ':';
        appendTwoDigits(distance % 60, out);
    }
    return true;
}

std::optional<bool> truthOf(std::string_view text)
{
    static constexpr std::array<std::string_view, 6> kTrue{"1", "true", "True", "TRUE", "t", "yes"};
    static constexpr std::array<std::string_view, 6> kFalse{"0", "false", "False", "FALSE", "f", "no"};
    for (std::size_t i = 0; i < kTrue.size(); ++i) {
        if (text == kTrue[i])
            return true;
        if (text == kFalse[i])
            return false;
    }
    return std::nullopt;
}

void appendBlob(std::string_view blob, std::string &out)
{
    out += "0x";
    textscan::appendHex(blob.substr(0, kShownBlobBytes), out);
    if (blob.size() > kShownBlobBytes)
        out += "\xE2\x80\xA6 (" + numbers::counted(static_cast<std::int64_t>(blob.size()), "byte", "bytes") + ')';
}

} // namespace

CellFormatter::CellFormatter(const ReportColumn &column) : m_style(namedStyle(column.format))
{
    if (m_style == Style::Percent) {
        m_pattern = {1, 1, true, 2};
        m_suffix = "%";
    } else if (m_style == Style::Plain && !column.format.empty()) {
        readPattern(column.format);
    }
    if (m_style == Style::Local)
        zone::refresh();
    if (!CellExtras::areIn(column))
        return;
    m_extras = std::make_shared<const CellExtras>(column);
    if (m_style == Style::Plain && m_extras->haveTexts())
        m_style = Style::Words;
}

/// A number pattern: text, then #, 0 and commas with perhaps a point, then text. Quotes and a backslash keep what they enclose or precede.
/// Only the part before a semicolon counts. A text without # or 0 is no pattern and changes nothing.
void CellFormatter::readPattern(const std::string &format)
{
    bool seen = false, behindPoint = false, quoted = false, percent = false;
    std::string prefix, suffix;
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        std::string &literal = seen ? suffix : prefix;
        if (c == '"') {
            quoted = !quoted;
        } else if (quoted) {
            literal += c;
        } else if (c == '\\' && i + 1 < format.size()) {
            literal += format[++i];
        } else if (c == ';') {
            break;
        } else if ((c == '#' || c == '0') && suffix.empty()) {
            seen = true;
            m_pattern.minDecimals += behindPoint && c == '0' ? 1 : 0;
            m_pattern.maxDecimals += behindPoint ? 1 : 0;
        } else if (c == ',' && seen && !behindPoint && suffix.empty()) {
            m_pattern.grouping = true;
        } else if (c == '.' && suffix.empty() && !behindPoint && i + 1 < format.size() && (format[i + 1] == '0' || format[i + 1] == '#')) {
            behindPoint = seen = true;
        } else {
            literal += c;
            percent = percent || c == '%';
        }
    }
    if (!seen)
        return;
    m_style = percent ? Style::Percent : Style::Number;
    m_pattern.shift = percent ? 2 : 0;
    m_prefix = utf8::sanitized(prefix);
    m_suffix = utf8::sanitized(suffix);
}

void CellFormatter::appendNumber(const Value &value, std::string &out) const
{
    const bool isInteger = value.kind == Value::Kind::Integer;
    const double real = isInteger ? static_cast<double>(value.integer) : value.real;
    if (std::isfinite(real)) {
        switch (m_style) {
        case Style::Number:
        case Style::Percent:
            out += m_prefix;
            if (isInteger)
                numbers::appendFixed(value.integer, m_pattern, out);
            else
                numbers::appendFixed(real, m_pattern, out);
            out += m_suffix;
            return;
        case Style::Bytes:
            appendBytes(real, out);
            return;
        case Style::Boolean:
            out += real != 0.0 ? "Yes" : "No";
            return;
        case Style::Duration:
            if (std::fabs(real) > kLongestDuration)
                break;
            appendDuration(real, out);
            return;
        default:
            break;
        }
    }
    char text[numbers::kMaxText];
    out.append(text, isInteger ? numbers::writeInteger(value.integer, text) : numbers::writeShortest(real, text));
}

bool CellFormatter::appendFormattedText(std::string_view text, std::string &out) const
{
    switch (m_style) {
    case Style::Date:
    case Style::Time:
    case Style::DateTime:
    case Style::DateTimeMs: {
        const std::optional<IsoTime> time = parseIsoTime(text);
        return time && appendTime(m_style, *time, out);
    }
    case Style::Local: {
        const std::optional<IsoTime> time = parseIsoTime(text);
        return time && appendLocal(*time, out);
    }
    case Style::Duration: {
        double seconds = 0;
        const auto read = std::from_chars(text.data(), text.data() + text.size(), seconds);
        if (read.ec != std::errc() || read.ptr != text.data() + text.size() || !(std::fabs(seconds) <= kLongestDuration))
            return false;
        appendDuration(seconds, out);
        return true;
    }
    case Style::Boolean: {
        const std::optional<bool> truth = truthOf(text);
        out += truth ? (*truth ? "Yes" : "No") : "";
        return truth.has_value();
    }
    default:
        return false;
    }
}

void CellFormatter::append(const Value &value, std::string &out) const
{
    if (m_extras && m_extras->append(value, out))
        return;
    switch (value.kind) {
    case Value::Kind::Null:
        return;
    case Value::Kind::Integer:
    case Value::Kind::Real:
        appendNumber(value, out);
        return;
    case Value::Kind::Text:
        if (!appendFormattedText(value.text(), out))
            utf8::appendSanitized(value.text(), out);
        return;
    case Value::Kind::Blob:
        appendBlob(value.text(), out);
        return;
    }
}

std::span<const std::string_view> formatNames()
{
    return kNames;
}

bool isFormat(const std::string &format)
{
    ReportColumn column;
    column.format = format;
    return format.empty() || CellFormatter(column).style() != Style::Plain;
}

} // namespace qm
