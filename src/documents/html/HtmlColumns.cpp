#include "documents/html/HtmlColumns.h"

#include "core/Utf8.h"
#include "documents/CellFormat.h"
#include "documents/NumberText.h"
#include "documents/TextScan.h"
#include "documents/html/HtmlText.h"

#include <algorithm>
#include <cmath>

namespace qm {

namespace {

using textscan::joined;

/// Longer words may be broken.
constexpr std::size_t kLongestWord = 24;
/// Widest text column: about 90 mm of print.
constexpr std::size_t kWidestWish = 60;
/// Narrowest that a column of long texts becomes on a screen, where a table may be wider than the window.
constexpr std::size_t kComfortable = 32;
/// A digit of the condensed face in parts of the type size, and of what a browser without that face takes.
constexpr double kDigit = 0.58;
constexpr double kMmPerPoint = 25.4 / 72;
/// Bold captions are wider than digits.
constexpr double kBold = 1.12;

/// What a sum, bold, may be wider than what it adds up.
constexpr std::size_t kSumDigits = 3;

std::span<const ReportColumn> shownColumns(const ReportShape &shape)
{
    return std::span(shape.columns).first(shape.columns.size() - shape.hidden);
}

std::vector<bool> columnsWithSums(const ReportShape &shape)
{
    std::vector<bool> summed(shape.columns.size(), false);
    const auto mark = [&summed](const std::vector<Subtotal> &sums) {
        for (const Subtotal &sum : sums)
            if (sum.column && *sum.column < summed.size())
                summed[*sum.column] = true;
    };
    mark(shape.totals);
    for (const GroupLevel &level : shape.groups)
        mark(level.subtotals);
    return summed;
}

struct TextExtent
{
    std::size_t line = 0, word = 0;
};

/// In digits' widths; letters of East Asia count double.
TextExtent extentOf(std::string_view text)
{
    TextExtent most, now;
    while (!text.empty()) {
        const char32_t c = utf8::take(text);
        const std::size_t width = c >= 0x1100 && (c <= 0x115F || (c >= 0x2E80 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
                                                  (c >= 0xFF00 && c <= 0xFF60) || c >= 0x1F300)
                                      ? 2
                                      : 1;
        if (c == '\n' || c == '\r')
            now.line = 0;
        else
            now.line += width;
        now.word = c == ' ' || c == '\t' || c == '\n' || c == '\r' || width == 2 ? 0 : now.word + width;
        most.line = std::max(most.line, now.line);
        most.word = std::max(most.word, now.word);
    }
    return most;
}

bool staysOnOneLine(const ReportColumn &column)
{
    return column.type != ColumnType::Text && column.type != ColumnType::Blob;
}

/// What is assumed of a column that no row has shown yet.
std::size_t assumedWidth(ColumnType type)
{
    switch (type) {
    case ColumnType::Text:
    case ColumnType::Blob:
        return 12;
    case ColumnType::Integer:
    case ColumnType::Real:
        return 10;
    case ColumnType::Boolean:
        return 3;
    case ColumnType::Date:
        return 10;
    case ColumnType::DateTime:
        return 19;
    case ColumnType::Time:
        return 8;
    }
    return 12;
}

std::string number(double value)
{
    std::string text;
    numbers::appendFixed(value, {0, 2, false, 0}, text);
    return text;
}

double widthMm(std::size_t digits, double pointSize)
{
    return static_cast<double>(digits) * kDigit * pointSize * kMmPerPoint;
}

template <std::size_t ColumnNeed::*Need>
double tableWidthMm(std::span<const ColumnNeed> needs, const TableFit &fit)
{
    double width = 0;
    for (const ColumnNeed &need : needs)
        width += widthMm(need.*Need, fit.pointSize) + 2 * fit.paddingPt * kMmPerPoint;
    return width;
}

double bodyWidthMm(const PageSetup &page)
{
    return page.widthMm - 2 * page.marginMm;
}

std::string cellOf(std::size_t column)
{
    return "tr:not([class])>td:nth-child(" + std::to_string(column + 1) + ')';
}

std::string headingOf(std::size_t column)
{
    return "thead th:nth-child(" + std::to_string(column + 1) + ')';
}

/// One-line columns are as wide as what they hold, the others share the rest by their wishes.
std::string widthRules(std::span<const ReportColumn> columns, std::span<const ColumnNeed> needs, bool paper)
{
    std::string rules;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const ColumnNeed &need = needs[i];
        if (need.oneLine) {
            rules += joined({headingOf(i), "{width:1px}\n"});
            continue;
        }
        const std::string width = columns[i].fixedWidth ? number(columns[i].widthMm) + "mm" : std::to_string(need.wish) + "ch";
        const std::size_t least = paper ? need.floor : std::max(need.floor, std::min(need.wish, kComfortable));
        rules += joined({headingOf(i), "{width:", width, "}", cellOf(i), "{min-width:", std::to_string(least), "ch}\n"});
    }
    return rules;
}

/// Each row becomes a block; its cells flow with their captions before them, long texts over the full width.
std::string cardRules(std::span<const ReportColumn> columns, std::span<const ColumnNeed> needs, const PageSetup &page)
{
    constexpr double kFieldMm = 56;
    const int fields = std::max(1, static_cast<int>(bodyWidthMm(page) / kFieldMm));
    std::string rules = "table,tbody,tfoot{display:block;width:auto}thead{display:none}\n"
                        "tr{display:block;break-inside:avoid}\n"
                        "tr:not([class]){display:grid;grid-template-columns:repeat(" +
                        std::to_string(fields) +
                        ",1fr);gap:.15em 1.6em;padding:.5em 0;border-top:.5pt solid var(--mid)}\n"
                        "tr:not([class])>td{display:block;padding:0 .8em 0 0;border:0;text-align:left;white-space:pre-wrap;min-width:0}\n"
                        "td:empty{display:none!important}\n"
                        "tr:not([class])>td::before{color:var(--soft);font-weight:normal}\n"
                        "th,.sub td,.total td{display:inline-block}.sub,.total{background:var(--sub);padding:0 .3em}\n"
                        ".sub td::before,.total td::before{content:attr(data-label) \": \";font-weight:normal}\n";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        rules += joined({cellOf(i), "::before{content:", styleString(columns[i].caption), "\": \"}"});
        if (widthMm(needs[i].wish + extentOf(columns[i].caption).line, 7.5) > kFieldMm)
            rules += joined({cellOf(i), "{grid-column:1/-1}"});
        rules += '\n';
    }
    return rules;
}

} // namespace

std::vector<ColumnNeed> columnNeeds(const ReportShape &shape, const SampleRows &sample)
{
    const auto columns = shownColumns(shape);
    const std::vector<bool> summed = columnsWithSums(shape);
    std::vector<ColumnNeed> needs;
    std::vector<std::size_t> lines;
    std::string text;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const ReportColumn &column = columns[i];
        const CellFormatter format(column);
        ColumnNeed need{.oneLine = staysOnOneLine(column)};
        lines.clear();
        for (std::size_t row = 0; row < sample.rows; ++row) {
            const Value &value = sample.row(row)[i];
            if (value.isNull())
                continue;
            text.clear();
            format.append(value, text);
            const TextExtent extent = extentOf(text);
            need.floor = std::max(need.floor, need.oneLine ? extent.line : std::min(extent.word, kLongestWord));
            need.widest = std::max(need.widest, extent.line);
            lines.push_back(extent.line);
        }
        if (lines.empty() && !sample.whole) {
            need.floor = need.widest = assumedWidth(column.type);
            // Nothing is known of texts but what the plan thought of them.
            if (!need.oneLine)
                need.widest = std::max(need.floor, static_cast<std::size_t>(std::max(1.0, column.widthMm / widthMm(1, 7.5))));
            lines.push_back(need.widest);
        }
        const auto caption = static_cast<double>(std::min(extentOf(column.caption).word, kLongestWord));
        need.floor = std::max(need.floor, static_cast<std::size_t>(std::ceil(kBold * caption)));
        if (summed[i])
            need.floor += kSumDigits;
        if (!lines.empty()) {
            const auto ninth = lines.begin() + static_cast<std::ptrdiff_t>((lines.size() - 1) * 9 / 10);
            std::nth_element(lines.begin(), ninth, lines.end());
            need.wish = *ninth;
        }
        need.wish = std::max(need.floor, std::min(need.wish, kWidestWish));
        need.widest = std::max(need.widest, need.wish);
        needs.push_back(need);
    }
    return needs;
}

TableFit fitOf(std::span<const ColumnNeed> needs, const PageSetup &page)
{
    constexpr double kNarrow = 0.7;
    constexpr std::size_t kManyColumns = 6;
    const double body = bodyWidthMm(page);
    TableFit fit;
    fit.natural = tableWidthMm<&ColumnNeed::wish>(needs, fit) < kNarrow * body;
    fit.zebra = needs.size() >= kManyColumns && tableWidthMm<&ColumnNeed::widest>(needs, fit) <= body;
    for (const auto &[size, padding] : {std::pair{7.5, 6.0}, {7.0, 5.0}, {6.5, 4.0}, {6.5, 3.0}}) {
        fit.pointSize = size;
        fit.paddingPt = padding;
        if (tableWidthMm<&ColumnNeed::floor>(needs, fit) <= body)
            return fit;
    }
    fit = {};
    fit.cards = true;
    return fit;
}

HtmlColumns htmlColumns(const ReportShape &shape, const SampleRows &sample, const PageSetup &page)
{
    const auto columns = shownColumns(shape);
    const std::vector<ColumnNeed> needs = columnNeeds(shape, sample);
    const TableFit fit = fitOf(needs, page);
    std::string rules;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].alignment != CellAlignment::Left) {
            const char *const side = columns[i].alignment == CellAlignment::Right ? "right" : "center";
            rules += joined({headingOf(i), ",", cellOf(i), "{text-align:", side, "}\n"});
        }
        if (needs[i].oneLine)
            rules += joined({cellOf(i), "{white-space:pre}\n"});
        if (extentOf(columns[i].caption).word > kLongestWord)
            rules += joined({headingOf(i), "{overflow-wrap:anywhere}\n"});
    }
    if (fit.natural)
        rules += "table{width:auto;max-width:100%}\n";
    if (fit.zebra)
        rules += "tr:not([class])>td{border-bottom-color:transparent}tbody tr:nth-child(even):not([class])>td{background:var(--zebra)}\n";
    rules += "@media screen{\n" + widthRules(columns, needs, false) + "}\n@media print{\n";
    if (fit.cards) {
        rules += cardRules(columns, needs, page);
    } else {
        rules += widthRules(columns, needs, true);
        if (fit.paddingPt < TableFit{}.paddingPt)
            rules += joined({".rows table{font-size:", number(fit.pointSize), "pt}tr:not([class])>td,thead th{padding-left:",
                             number(fit.paddingPt), "pt;padding-right:", number(fit.paddingPt), "pt}\n"});
    }
    return {rules + "}\n", fit.cards};
}

} // namespace qm
