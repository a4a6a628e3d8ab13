#include "documents/charts/ChartText.h"

#include "core/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <set>

namespace qm {

namespace {

/// ASCII from the blank on, in thousandths of the letter size: DejaVu Sans Condensed.
constexpr std::array<std::uint16_t, 95> kWidths{
    286, 360, 414, 754, 572, 855, 702, 247, 351, 351, 450, 754, 286, 325, 286, 303, 572, 572, 572, 572, 572, 572, 572, 572,
    572, 572, 303, 303, 754, 754, 754, 478, 900, 615, 617, 628, 693, 568, 518, 697, 677, 265, 265, 590, 501, 776, 673, 708,
    542, 708, 625, 571, 549, 659, 615, 890, 616, 549, 616, 351, 303, 351, 754, 450, 450, 551, 571, 495, 571, 554, 316, 571,
    570, 250, 250, 521, 250, 876, 570, 550, 571, 571, 370, 469, 353, 570, 532, 736, 532, 532, 472, 572, 303, 572, 754};

/// Marks that stand above or below the character before them, joiners and variation selectors: never the first behind a cut.
bool joinsTheLast(char32_t c)
{
    return (c >= 0x300 && c <= 0x36F) || (c >= 0x591 && c <= 0x5C7) || (c >= 0x610 && c <= 0x61A) || (c >= 0x64B && c <= 0x65F) ||
           (c >= 0x93A && c <= 0x94F && c != 0x93D) || c == 0xE31 || (c >= 0xE34 && c <= 0xE3A) || (c >= 0xE47 && c <= 0xE4E) ||
           c == 0x200C || c == 0x200D || (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0x1F3FB && c <= 0x1F3FF);
}

bool isWide(char32_t c)
{
    return (c >= 0x1100 && c <= 0x11FF) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
           (c >= 0xFF00 && c <= 0xFF60) || c >= 0x1F000;
}

} // namespace

double approximateTextWidth(std::string_view text, double size, bool bold)
{
    double width = 0;
    while (!text.empty()) {
        const char32_t c = utf8::take(text);
        if (c >= 0x20 && c < 0x7F)
            width += kWidths[c - 0x20];
        else if (!joinsTheLast(c))
            width += isWide(c) ? 1050 : 700;
    }
    return width * size / 1000 * (bold ? 1.12 : 1);
}

namespace charts {

namespace {

/// Where \p text may be cut: behind whole characters, marks included.
std::vector<std::size_t> cutsOf(std::string_view text)
{
    std::vector<std::size_t> cuts;
    char32_t last = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t at = text.size() - rest.size();
        const char32_t c = utf8::take(rest);
        if (!joinsTheLast(c) && last != 0x200D)
            cuts.push_back(at);
        last = c;
    }
    return cuts;
}

/// The last of \p cuts up to which \p text and \p behind fit in \p room.
std::size_t longestCut(std::string_view text, const std::vector<std::size_t> &cuts, std::string_view behind, double room, double size,
                       bool bold, const ChartTextWidth &textWidth)
{
    const auto fits = [&](std::size_t cut) { return textWidth(std::string(text.substr(0, cut)).append(behind), size, bold) <= room; };
    const auto end = std::partition_point(cuts.begin(), cuts.end(), fits);
    return end == cuts.begin() ? 0 : *(end - 1);
}

constexpr std::string_view kEllipsis = "\u2026";
/// Nobody reads more of a label; hostile ones must not cost time.
constexpr std::size_t kMostBytes = 300;

} // namespace

std::string oneLine(std::string_view text)
{
    const bool cut = text.size() > kMostBytes;
    const std::string valid = utf8::sanitized(text.substr(0, kMostBytes));
    std::string line;
    for (std::string_view rest = valid; !rest.empty();) {
        const std::string_view before = rest;
        const char32_t c = utf8::take(rest);
        if (cut && rest.empty())
            break; // may be half a character
        if (c == '\t' || c == '\n' || c == '\r' || utf8::isSeparator(c))
            line += ' ';
        else if (utf8::isHidden(c))
            line += utf8::visible(c);
        else
            line.append(before, 0, before.size() - rest.size());
    }
    return cut ? line.append(kEllipsis) : line;
}

std::string ellipsized(std::string_view text, double room, double size, bool bold, const ChartTextWidth &textWidth)
{
    if (textWidth(text, size, bold) <= room)
        return std::string(text);
    std::size_t end = longestCut(text, cutsOf(text), kEllipsis, room, size, bold, textWidth);
    while (end > 0 && text[end - 1] == ' ')
        --end;
    return end == 0 ? std::string() : std::string(text.substr(0, end)).append(kEllipsis);
}

std::vector<std::string> twoLines(std::string_view text, double room, double size, const ChartTextWidth &textWidth)
{
    if (textWidth(text, size, false) <= room)
        return {std::string(text)};
    const std::size_t most = longestCut(text, cutsOf(text), "", room, size, false, textWidth);
    std::size_t cut = most;
    while (cut > 0 && std::string_view(" .,;:/\\-_@").find(text[cut - 1]) == std::string_view::npos)
        --cut;
    if (cut < most / 3)
        cut = most;
    if (cut == 0)
        return {ellipsized(text, room, size, false, textWidth)};
    std::string first(text.substr(0, cut));
    while (!first.empty() && first.back() == ' ')
        first.pop_back();
    return {std::move(first), ellipsized(text.substr(cut), room, size, false, textWidth)};
}

std::string withinSentence(std::string_view caption)
{
    std::string text(caption);
    const auto isUpper = [&](std::size_t i) { return i < text.size() && text[i] >= 'A' && text[i] <= 'Z'; };
    if (isUpper(0) && !isUpper(1))
        text[0] = static_cast<char>(text[0] - 'A' + 'a');
    return text;
}

namespace {

/// Above this, digits are written with an exponent; a hundred of them say nothing.
constexpr double kMostWritten = 1e15;

/// A minus as it is printed.
std::string withMinus(std::string text)
{
    if (!text.empty() && text.front() == '-')
        text.replace(0, 1, "\u2212");
    return text;
}

/// As many decimals as three digits that count need.
std::string plainNumber(double value)
{
    std::string text;
    const double magnitude = std::fabs(value);
    if (magnitude >= kMostWritten || (magnitude > 0 && magnitude < 1e-6)) {
        char digits[numbers::kMaxText];
        char *const end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::scientific, 2).ptr;
        return std::string(&digits[0], end);
    }
    const int decimals = magnitude == std::floor(magnitude) ? 0 : magnitude >= 100 ? 1 : magnitude >= 1 ? 2 : 7;
    numbers::appendFixed(value, {0, decimals, true, 0}, text);
    return text;
}

} // namespace

ValueText::ValueText(const ReportColumn &column) : m_format(column) {}

std::string ValueText::operator()(double value) const
{
    if (!std::isfinite(value))
        return {};
    const bool formatted = m_format.style() != CellFormatter::Style::Plain && std::fabs(value) < kMostWritten;
    if (!formatted)
        return withMinus(plainNumber(value));
    std::string text;
    const bool whole = value == std::floor(value) && m_format.style() != CellFormatter::Style::Boolean;
    m_format.append(whole ? Value::of(static_cast<std::int64_t>(value)) : Value::of(value), text);
    return withMinus(oneLine(text));
}

std::string ValueText::brief(double value)
{
    static constexpr std::array<std::pair<double, const char *>, 4> kUnits{{{1e12, "T"}, {1e9, "G"}, {1e6, "M"}, {1e3, "k"}}};
    for (const auto &[unit, sign] : kUnits) {
        const double part = value / unit;
        if (std::fabs(part) < 1 || std::fabs(part) >= kMostWritten)
            continue;
        std::string text;
        numbers::appendFixed(part, {0, std::fabs(part) < 9.95 ? 1 : 0, false, 0}, text);
        return withMinus(text + sign);
    }
    return withMinus(plainNumber(value));
}

std::vector<std::string> ValueText::ticks(const std::vector<double> &values) const
{
    std::vector<std::string> texts;
    for (const double value : values)
        texts.push_back((*this)(value));
    if (std::set<std::string>(texts.begin(), texts.end()).size() == texts.size())
        return texts;
    // The column's format rounds the steps away.
    texts.clear();
    for (const double value : values)
        texts.push_back(withMinus(plainNumber(value)));
    return texts;
}

double ValueText::unit(double largest) const
{
    double unit = 1;
    if (m_format.style() == CellFormatter::Style::Bytes)
        while (unit * 1024 <= largest && unit < kMostWritten)
            unit *= 1024;
    return unit;
}

std::string shareText(double part, double whole)
{
    if (!(whole > 0))
        return {};
    const double percent = part / whole * 100;
    if (percent > 0 && percent < 0.5)
        return "< 1 %";
    std::string text;
    numbers::appendFixed(percent, {0, 0, false, 0}, text);
    return text + " %";
}

} // namespace charts

} // namespace qm
