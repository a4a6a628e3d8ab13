#include "documents/xlsx/XlsxGroups.h"

#include "documents/TextScan.h"
#include "documents/xlsx/XlsxText.h"

#include <algorithm>

namespace qm::xlsx {

namespace {

/// How much wider bold letters are than the digits that widths are counted in.
constexpr double kBold = 1.1;

/// The line of \p taken in which all of \p places are free, a new one if there is none.
std::size_t freeLine(std::vector<std::vector<std::size_t>> &taken, std::initializer_list<std::size_t> places)
{
    std::size_t line = 0;
    const auto isTaken = [&](std::size_t place) { return std::find(taken[line].begin(), taken[line].end(), place) != taken[line].end(); };
    while (line < taken.size() && std::any_of(places.begin(), places.end(), isTaken))
        ++line;
    if (line == taken.size())
        taken.emplace_back();
    taken[line].insert(taken[line].end(), places);
    return line;
}

} // namespace

std::vector<SummaryLine> arrangeTotals(std::span<const Subtotal> totals, std::size_t columns, bool besideLabel)
{
    std::vector<SummaryLine> lines;
    std::vector<std::vector<std::size_t>> taken;
    constexpr std::size_t kBeside = 1;
    for (std::size_t i = 0; i < totals.size(); ++i) {
        const bool inColumn = totals[i].column && *totals[i].column < columns;
        const std::size_t line = inColumn ? freeLine(taken, {*totals[i].column}) : besideLabel ? freeLine(taken, {0, kBeside}) : 0;
        lines.resize(std::max(lines.size(), line + 1));
        taken.resize(lines.size());
        if (inColumn || besideLabel)
            lines[line].items.push_back({inColumn ? *totals[i].column : kBeside, i});
        std::vector<SummaryLine::Caption> &captions = lines[line].captions;
        if (!inColumn && !besideLabel)
            captions.push_back({totals[i].caption, i});
        else if (!totals[i].caption.empty() && (captions.empty() || captions.back().text != totals[i].caption))
            captions.push_back({totals[i].caption, std::nullopt});
    }
    for (SummaryLine &line : lines) {
        std::sort(line.items.begin(), line.items.end(), [](const auto &a, const auto &b) { return a.column < b.column; });
        for (const SummaryLine::Item &item : line.items)
            line.labelColumn += item.column == line.labelColumn ? 1 : 0;
    }
    return lines;
}

std::string subtotalFormula(Aggregate function, const SheetColumn &column, std::size_t at, std::int64_t first, std::int64_t last)
{
    const bool allNumbers = column.lastText < first;
    const bool summable =
        allNumbers && (column.temporal == CellFormatter::Style::Plain || function == Aggregate::Minimum || function == Aggregate::Maximum);
    if (column.lastFixed >= first)
        return {};
    int number = 0;
    switch (function) {
    case Aggregate::Count:
        if (column.lastBlank >= first || (column.lastLabel >= first && !allNumbers))
            return {};
        number = column.lastLabel >= first ? 2 : 3; // all that is not empty, or numbers only
        break;
    case Aggregate::Sum:
        number = summable ? 9 : 0;
        break;
    case Aggregate::Average:
        number = summable ? 1 : 0;
        break;
    case Aggregate::Minimum:
        number = summable ? 5 : 0;
        break;
    case Aggregate::Maximum:
        number = summable ? 4 : 0;
        break;
    case Aggregate::Distinct:
    case Aggregate::Share:
    case Aggregate::Running:
        break;
    }
    if (number == 0)
        return {};
    const std::string letters = columnLetters(at);
    return textscan::joined(
        {"SUBTOTAL(", std::to_string(number), ",", letters, std::to_string(first), ":", letters, std::to_string(last), ")"});
}

Totals::Totals(std::span<const Subtotal> totals, const ReportShape &shape, const std::vector<SheetColumn> &columns, const Look &look,
               Styles &styles)
{
    constexpr double kLabelWidth = 24;
    // What stands beside a label must not be added up with what stands in its column.
    bool summed = false;
    const auto find = [&](const std::vector<Subtotal> &those) {
        summed = summed || std::any_of(those.begin(), those.end(), [](const Subtotal &total) { return total.column == 1; });
    };
    for (const GroupLevel &level : shape.groups)
        find(level.subtotals);
    find(shape.totals);
    m_lines = arrangeTotals(totals, columns.size(), !summed && !columns.empty() && columns.front().width >= kLabelWidth);

    for (const Subtotal &total : totals) {
        ReportColumn shown = total.value;
        if (shown.format.empty() && total.function == Aggregate::Share)
            shown.format = "percent";
        Look own = look;
        own.alignment = total.column && *total.column < columns.size() ? shape.columns[*total.column].alignment : CellAlignment::Left;
        own.fit = true;
        own.format = numberFormat(shown);
        m_functions.push_back(total.function);
        m_kinds.emplace_back(shown, styles.attribute(own));
    }
    m_blank = m_label = styles.attribute(look);
    Look label = look;
    label.wrap = true;
    m_longLabel = styles.attribute(label);
}

void Totals::writeValue(CellWriter &cells, std::vector<SheetColumn> &columns, const SummaryLine::Item &item, const Value &value,
                        std::int64_t firstRow, std::int64_t lastRow)
{
    SheetColumn &kind = m_kinds[item.total];
    if (value.isNull()) {
        cells.empty(kind.style);
        return;
    }
    const std::string number = numberText(value, kind);
    std::string formula;
    if (!number.empty() && firstRow > 0 && item.column < columns.size())
        formula = subtotalFormula(m_functions[item.total], columns[item.column], item.column, firstRow, lastRow);
    if (number.empty())
        cells.cell(value, kind);
    else
        cells.number(kind.style, number, formula);
    if (formula.empty() && item.column < columns.size())
        columns[item.column].lastFixed = cells.at();
}

/// The label and the empty cells behind it, over which it runs.
double Totals::roomOf(const SummaryLine &line, const std::vector<SheetColumn> &columns)
{
    const std::size_t next =
        line.items.empty() || line.items.front().column < line.labelColumn ? columns.size() : line.items.front().column;
    double room = 0;
    for (std::size_t i = line.labelColumn; i < std::min(next, columns.size()); ++i)
        room += columns[i].width;
    return room;
}

double Totals::missingRoom(const std::vector<SheetColumn> &columns, std::size_t keyWidth) const
{
    constexpr std::size_t kNumber = 10;
    double missing = 0;
    for (const SummaryLine &line : m_lines) {
        std::size_t needed = keyWidth + 2;
        for (const SummaryLine::Caption &caption : line.captions)
            needed += textWidth(caption.text) + 3 + (caption.total ? kNumber : 0);
        if (line.labelColumn == 0)
            missing = std::max(missing, kBold * static_cast<double>(needed) - roomOf(line, columns));
    }
    return missing;
}

std::string Totals::labelOf(const SummaryLine &line, const std::string &label, std::span<const Value> values) const
{
    std::string text = label;
    for (const SummaryLine::Caption &caption : line.captions) {
        if (!text.empty())
            text += &caption == &line.captions.front() ? " \xE2\x80\x93 " : ", ";
        text += caption.text;
        if (caption.total && *caption.total < values.size()) {
            text += caption.text.empty() ? "" : ": ";
            m_kinds[*caption.total].format.append(values[*caption.total], text);
        }
    }
    return text.empty() ? "Total" : text;
}

void Totals::write(CellWriter &cells, std::vector<SheetColumn> &columns, const std::string &label, std::span<const Value> values,
                   std::int64_t firstRow, std::size_t level)
{
    const std::int64_t lastRow = cells.at();
    for (const SummaryLine &line : m_lines) {
        const std::string text = labelOf(line, label, values);
        const std::size_t last = std::max({columns.size(), line.labelColumn + 1, line.items.empty() ? 0 : line.items.back().column + 1});
        const bool isLong = kBold * static_cast<double>(textWidth(text)) > roomOf(line, columns) && line.labelColumn < columns.size();
        const double room = isLong ? columns[line.labelColumn].width : 0;
        const std::size_t high = isLong ? lineCount(text, static_cast<std::size_t>(std::max(room / kBold, 1.0))) : 1;
        cells.beginRow(high > 1 ? kLineHeight * static_cast<double>(high) : 0, level);
        auto item = line.items.begin();
        for (std::size_t column = 0; column < last; ++column) {
            if (item != line.items.end() && item->column == column) {
                writeValue(cells, columns, *item, item->total < values.size() ? values[item->total] : Value::ofNull(), firstRow, lastRow);
                ++item;
            } else if (column == line.labelColumn) {
                cells.text(isLong ? m_longLabel : m_label, text);
                if (column < columns.size())
                    columns[column].lastLabel = cells.at();
            } else {
                cells.empty(m_blank);
            }
        }
        cells.endRow();
    }
}

Outline::Outline(const ReportShape &shape)
{
    constexpr std::size_t kMostLevels = 7;
    const auto hasTotals = [](const GroupLevel &level) { return !level.subtotals.empty(); };
    m_below = std::any_of(shape.groups.begin(), shape.groups.end(), hasTotals);
    m_levels.push_back(0);
    for (const GroupLevel &level : shape.groups) {
        const bool folds = m_below ? hasTotals(level) : level.heading || !level.shown;
        m_levels.push_back(std::min(m_levels.back() + (folds ? 1 : 0), kMostLevels));
    }
}

void HeldRow::hold(std::span<const Value> cells)
{
    std::size_t size = 0;
    for (const Value &cell : cells)
        size += cell.size;
    m_bytes.clear();
    m_bytes.reserve(size);
    m_cells.assign(cells.begin(), cells.end());
    for (Value &cell : m_cells) {
        if (cell.data == nullptr)
            continue;
        const char *const kept = m_bytes.data() + m_bytes.size();
        m_bytes.append(cell.data, cell.size);
        cell.data = kept;
    }
    m_held = true;
}

std::span<const Value> HeldRow::release()
{
    m_held = false;
    return m_cells;
}

} // namespace qm::xlsx
