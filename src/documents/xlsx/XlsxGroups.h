/// \file
/// Groups on the sheets of a workbook: headings, outline, and totals that count for themselves.
#pragma once

#include "documents/xlsx/XlsxCells.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qm::xlsx {

/// Subtotals that stand side by side. Several of one column stand one below the other.
struct SummaryLine
{
    struct Item
    {
        std::size_t column; ///< of the sheet
        std::size_t total;  ///< which of the level's subtotals
    };
    /// A caption in the label, with the total that stands behind it where that has no cell.
    struct Caption
    {
        std::string text;
        std::optional<std::size_t> total;
    };
    std::vector<Caption> captions;
    std::size_t labelColumn = 0;
    std::vector<Item> items; ///< from left to right
};

/// Where each of \p totals stands in a table of \p columns. \p besideLabel: those of no column stand in the second, beside their caption;
/// else within the label.
[[nodiscard]] std::vector<SummaryLine> arrangeTotals(std::span<const Subtotal> totals, std::size_t columns, bool besideLabel);

/// SUBTOTAL over rows \p first to \p last, if it gives what the report says. Such cells leave each other out, so that sums of sums do not
/// count twice, and follow the filter.
[[nodiscard]] std::string subtotalFormula(Aggregate function, const SheetColumn &column, std::size_t at, std::int64_t first,
                                          std::int64_t last);

/// The totals of one level, or of the report.
class Totals final
{
public:
    Totals(std::span<const Subtotal> totals, const ReportShape &shape, const std::vector<SheetColumn> &columns, const Look &look,
           Styles &styles);

    [[nodiscard]] std::size_t lines() const { return m_lines.size(); }
    /// Characters by which the first column is too narrow for labels with values of \p keyWidth characters; 0: none.
    [[nodiscard]] double missingRoom(const std::vector<SheetColumn> &columns, std::size_t keyWidth) const;
    /// Writes them. \p firstRow: where the rows begin that they are of; 0: not all of those are on this sheet.
    void write(CellWriter &cells, std::vector<SheetColumn> &columns, const std::string &label, std::span<const Value> values,
               std::int64_t firstRow, std::size_t level);

private:
    [[nodiscard]] static double roomOf(const SummaryLine &line, const std::vector<SheetColumn> &columns);
    [[nodiscard]] std::string labelOf(const SummaryLine &line, const std::string &label, std::span<const Value> values) const;
    void writeValue(CellWriter &cells, std::vector<SheetColumn> &columns, const SummaryLine::Item &item, const Value &value,
                    std::int64_t firstRow, std::int64_t lastRow);

    std::vector<SummaryLine> m_lines;
    std::vector<Aggregate> m_functions;
    std::vector<SheetColumn> m_kinds;          ///< one for each total
    std::string m_blank, m_label, m_longLabel; ///< styles of empty cells and of labels
};

/// The outline: what folds to what. A level folds where there is a line to fold it to.
class Outline final
{
public:
    explicit Outline(const ReportShape &shape);

    /// Totals stand below their rows; else the headings above them are what remains of a folded group.
    [[nodiscard]] bool summaryBelow() const { return m_below; }
    /// Of the heading and the totals of the group level \p group; of rows for the number of group levels. Programs have 7.
    [[nodiscard]] std::size_t levelOf(std::size_t group) const { return m_levels[group]; }
    [[nodiscard]] std::size_t deepest() const { return m_levels.back(); }

private:
    bool m_below = true;
    std::vector<std::size_t> m_levels;
};

/// A row that waits until it is known whether its group has another.
class HeldRow final
{
public:
    void hold(std::span<const Value> cells);
    [[nodiscard]] bool isHeld() const { return m_held; }
    /// The cells; nothing is held any more.
    [[nodiscard]] std::span<const Value> release();

private:
    bool m_held = false;
    std::vector<Value> m_cells;
    std::string m_bytes;
};

} // namespace qm::xlsx
