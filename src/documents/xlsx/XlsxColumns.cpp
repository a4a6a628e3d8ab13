#include "documents/xlsx/XlsxColumns.h"

#include "core/Utf8.h"
#include "documents/IsoTime.h"
#include "documents/TextScan.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qm::xlsx {

namespace {

using Style = CellFormatter::Style;

/// Days from 1899-12-30, the day 0 of serial dates, to 1970-01-01.
constexpr std::int64_t kDaysTo1970 = 25569;
/// Serial of 1900-03-01. Serials below it are off by one, since spreadsheets give 1900 a February 29.
constexpr std::int64_t kFirstSerial = 61;

constexpr double kMmPerCharacter = 1.6, kLeastWidth = 7, kMostWidth = 90;
/// What a cell leaves free beside its text, and what an indent takes.
constexpr double kPadding = 1.2, kIndent = 1.5;
/// The button of the filter stands over the end of a heading.
constexpr double kFilterButton = 2.5;

bool isNumeric(const ReportColumn &column, const CellFormatter &format)
{
    const bool plain = format.style() == Style::Plain;
    return format.style() == Style::Number || format.style() == Style::Percent || format.style() == Style::Bytes ||
           (plain && (column.type == ColumnType::Integer || column.type == ColumnType::Real));
}

/// The width of \p value as a spreadsheet shows it, which is not always what a page shows.
std::size_t shownWidth(const Value &value, const CellFormatter &format)
{
    std::string text;
    const bool isNumber = value.kind == Value::Kind::Integer || (value.kind == Value::Kind::Real && std::isfinite(value.real));
    if (format.style() == Style::Bytes && isNumber)
        numbers::appendFixed(value.kind == Value::Kind::Integer ? static_cast<double>(value.integer) : value.real, {0, 0, true, 0}, text);
    else
        format.append(value, text);
    // Without a format a spreadsheet rounds what has no room.
    constexpr std::size_t kMostGeneral = 14;
    return format.style() == Style::Plain && value.kind == Value::Kind::Real ? std::min(text.size(), kMostGeneral) : textWidth(text);
}

double temporalWidth(Style style)
{
    return style == Style::DateTimeMs ? 23.5 : style == Style::DateTime ? 19.5 : style == Style::Date ? 11 : style == Style::Time ? 9 : 0;
}

std::size_t longestWord(std::string_view text)
{
    std::size_t longest = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \n\t"), text.size());
        longest = std::max(longest, textWidth(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return longest;
}

std::size_t longestLine(std::string_view text)
{
    std::size_t longest = 0;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = text.find('\n');
        longest = std::max(longest, textWidth(text.substr(0, end)));
        text.remove_prefix(std::min(end == std::string_view::npos ? end : end + 1, text.size()));
    }
    return longest;
}

/// Room for what is added up in a column: known where the sample is the whole report, else three digits are left for what is to come.
std::size_t totalWidth(const Subtotal &total, std::size_t column, const SampleRows &sample)
{
    constexpr double kGrowth = 1000;
    constexpr std::size_t kCountWidth = 9;
    const CellFormatter format(total.value);
    switch (total.function) {
    case Aggregate::Count:
    case Aggregate::Distinct:
        return kCountWidth;
    case Aggregate::Share:
        return 6;
    case Aggregate::Sum:
    case Aggregate::Average:
    case Aggregate::Running: {
        double sum = 0;
        for (std::size_t i = 0; i < sample.rows; ++i) {
            const Value &value = sample.row(i)[column];
            sum += value.kind == Value::Kind::Integer                             ? std::fabs(static_cast<double>(value.integer))
                   : value.kind == Value::Kind::Real && std::isfinite(value.real) ? std::fabs(value.real)
                                                                                  : 0;
        }
        const double most = sample.whole ? sum : sum * kGrowth;
        return shownWidth(most < 1e15 ? Value::of(static_cast<std::int64_t>(most)) : Value::of(most), format) + 1;
    }
    case Aggregate::Minimum:
    case Aggregate::Maximum:
        break;
    }
    return 0;
}

/// What texts of this column wish: wide enough for nine in ten of the sample in a line.
double textWish(std::vector<std::size_t> &lines)
{
    constexpr double kMostWish = 56;
    if (lines.empty())
        return 0;
    const auto place = lines.begin() + static_cast<std::ptrdiff_t>((lines.size() - 1) * 9 / 10);
    std::nth_element(lines.begin(), place, lines.end());
    return std::min(static_cast<double>(*place), kMostWish);
}

double widthOf(const ReportShape &shape, std::size_t index, const SheetColumn &kind, const SampleRows &sample)
{
    constexpr std::size_t kLongestWord = 24;
    const ReportColumn &column = shape.columns[index];
    const bool numeric = isNumeric(column, kind.format) && column.words.empty();
    std::size_t floor = 0;
    std::vector<std::size_t> lines;
    for (std::size_t i = 0; i < sample.rows; ++i) {
        const Value &value = sample.row(i)[index];
        if (numeric && (value.kind == Value::Kind::Integer || value.kind == Value::Kind::Real)) {
            floor = std::max(floor, shownWidth(value, kind.format));
        } else if (kind.temporal == Style::Plain && !value.isNull()) {
            std::string text;
            kind.format.append(value, text);
            floor = std::max(floor, std::min(longestWord(text), kLongestWord));
            lines.push_back(longestLine(text));
        }
    }
    const auto reserve = [&](const std::vector<Subtotal> &totals) {
        for (const Subtotal &total : totals)
            if (total.column == index)
                floor = std::max(floor, totalWidth(total, index, sample));
    };
    for (const GroupLevel &level : shape.groups)
        reserve(level.subtotals);
    reserve(shape.totals);

    const double indent = column.alignment == CellAlignment::Right ? kIndent : 0;
    const double heading = static_cast<double>(std::min(longestWord(column.caption), kLongestWord)) + kFilterButton;
    const double needed = std::max({static_cast<double>(floor) + kPadding, temporalWidth(kind.temporal), heading, kLeastWidth});
    const bool measured = sample.rows > 0 && !column.fixedWidth;
    const double wish = measured ? textWish(lines) + kPadding : column.widthMm / kMmPerCharacter;
    return std::clamp(wish, std::min(needed, kMostWidth), kMostWidth) + indent;
}

} // namespace

SheetColumn::SheetColumn(const ReportColumn &column, std::string styleAttribute)
    : format(column), temporal(temporalStyle(format, column.type)), style(std::move(styleAttribute)), nullText(column.nullText)
{
    if (column.words.empty())
        return;
    ReportColumn bare = column;
    bare.words.clear();
    withoutWords.emplace(bare);
}

std::optional<double> serialOf(std::string_view text, CellFormatter::Style style)
{
    constexpr double kMillisecondsOfDay = 86400000.0;
    const std::optional<IsoTime> time = parseIsoTime(text);
    if (!time || (style == Style::Time && !time->hasTime))
        return std::nullopt;
    if (!time->hasDate)
        return style == Style::Time ? std::optional(time->millisecondOfDay() / kMillisecondsOfDay) : std::nullopt;
    const std::int64_t day = time->daysSince1970() + kDaysTo1970;
    if (day < kFirstSerial)
        return std::nullopt;
    return static_cast<double>(day) + time->millisecondOfDay() / kMillisecondsOfDay;
}

std::vector<SheetColumn> makeColumns(const ReportShape &shape, const SampleRows &sample, Styles &styles)
{
    std::vector<SheetColumn> columns;
    const std::size_t shown = shape.columns.size() - std::min(shape.hidden, shape.columns.size());
    columns.reserve(shown);
    for (std::size_t i = 0; i < shown; ++i) {
        const ReportColumn &column = shape.columns[i];
        const CellFormatter format(column);
        const bool wraps = column.wrap && column.type == ColumnType::Text;
        const bool fits = temporalStyle(format, column.type) != Style::Plain || isNumeric(column, format);
        SheetColumn &made = columns.emplace_back(
            column,
            styles.attribute(
                {.border = Border::Row, .alignment = column.alignment, .wrap = wraps, .fit = fits, .format = numberFormat(column)}));
        made.width = widthOf(shape, i, made, sample);
        made.wrapsAt = wraps ? static_cast<std::size_t>(0.95 * made.width) : 0;
    }
    return columns;
}

std::size_t lineCount(std::string_view text, std::size_t characters)
{
    std::size_t lines = 0;
    while (lines < kMaxLines) {
        const std::size_t end = text.find('\n');
        const std::size_t size = std::min(end, text.size());
        lines += size <= characters ? 1 : (size + characters - 1) / characters;
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return std::min(lines, kMaxLines);
}

std::size_t textWidth(std::string_view text)
{
    constexpr char32_t kFirstWide = 0x1100;
    std::size_t width = 0;
    while (!text.empty())
        width += utf8::take(text) < kFirstWide ? 1 : 2;
    return width;
}

std::size_t headingLines(std::string_view caption, double characters)
{
    std::size_t lines = 1;
    double used = 0;
    while (!caption.empty()) {
        const std::size_t end = std::min(caption.find(' '), caption.size());
        const auto word = static_cast<double>(textWidth(caption.substr(0, end)));
        if (used > 0 && used + 1 + word > characters - kPadding) {
            ++lines;
            used = 0;
        }
        used += word + (used > 0 ? 1 : 0);
        caption.remove_prefix(std::min(end + 1, caption.size()));
    }
    return std::min(lines, kMaxLines);
}

std::string columnWidths(std::span<const double> widths)
{
    std::string xml;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        const std::string at = std::to_string(i + 1);
        xml += textscan::joined({"<col min=\"", at, "\" max=\"", at, "\" width=\""});
        numbers::appendFixed(widths[i], {0, 2, false, 0}, xml);
        xml += "\" customWidth=\"1\"/>";
    }
    return xml.empty() ? xml : "<cols>" + xml + "</cols>";
}

} // namespace qm::xlsx
