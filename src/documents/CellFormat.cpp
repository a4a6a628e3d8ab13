#include "documents/CellFormat.h"

#include "core/Utf8.h"
#include "documents/IsoTime.h"
#include "documents/TextScan.h"

#include <array>
#include <cmath>
#include <optional>

namespace qm {

namespace {

using Style = CellFormatter::Style;

constexpr std::size_t kShownBlobBytes = 32;

Style namedStyle(const std::string &format)
{
    static constexpr std::array<std::pair<std::string_view, Style>, 7> kNames{{{"percent", Style::Percent},
                                                                               {"bytes", Style::Bytes},
                                                                               {"date", Style::Date},
                                                                               {"time", Style::Time},
                                                                               {"datetime", Style::DateTime},
                                                                               {"datetime-ms", Style::DateTimeMs},
                                                                               {"boolean", Style::Boolean}}};
    for (const auto &[name, style] : kNames)
        if (format == name)
            return style;
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

} // namespace qm
