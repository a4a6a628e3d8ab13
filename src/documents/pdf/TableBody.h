/// \file
/// The rows of a report as a table across pages.
#pragma once

#include "documents/CellFormat.h"
#include "documents/pdf/OutgrownValues.h"
#include "documents/pdf/ReportPages.h"

#include <span>
#include <string>
#include <vector>

namespace qm::pdf {

/// Sets rows below each other and repeats the column captions on each page. A row stays whole unless it is taller than a page;
/// then it goes on over pages with a mark on both sides of each cut. A row with a value too wide for a column that is never broken into
/// lines has smaller letters; where that does not help, the value stands on a line of its own below the row.
class TableBody final
{
public:
    /// \param bandForm  form XObject to place on each page, empty for none.
    TableBody(const PageGeometry &geometry, TextLayout &layout, ReportPages &pages, std::span<const ReportColumn> columns,
              std::string_view bandForm);

    /// Begins a page, without captions.
    void openPage();
    /// Begins the table below what the open page holds.
    void begin();
    void addRow(std::span<const Value> cells);
    /// Closes the table and says below it when it holds nothing or not everything.
    void end(const ReportTail &tail);

private:
    struct Column
    {
        ColumnBox box;
        TextCanvas::Place place = TextCanvas::Place::Start;
        TextStyle style = TextStyle::Regular;
        bool wrap = true;
        CellFormatter formatter;
    };
    void addCaptions(std::span<const ReportColumn> columns);
    void placeCaptions();
    void nextPage();
    void layOut(std::span<const Value> cells);
    bool breakIntoLines(const LineMetrics &metrics);
    void moveBelow();
    void drawWhole();
    void drawInParts();
    void drawLines(std::uint32_t first, std::uint32_t count, Tenths top);
    void drawNotice(const std::string &text, TextCanvas::Place place, Tenths top, const LineMetrics &metrics);
    void shadeRow(Tenths height);
    [[nodiscard]] Tenths heightOf(std::uint32_t lines) const
    {
        return static_cast<Tenths>(lines) * m_letters.height + 2 * m_geometry.paddingY;
    }

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    ReportPages &m_pages;
    std::string m_bandForm;
    std::vector<Column> m_columns;
    Tenths m_captionHeight = 0;
    // The row being set.
    std::string m_text;
    std::vector<std::size_t> m_ends; ///< of the cells' texts in m_text
    std::vector<TextBlock> m_cells;
    std::uint32_t m_lines = 0;
    LineMetrics m_letters; ///< of the row
    OutgrownValues m_outgrown;
    std::int64_t m_rows = 0;
};

} // namespace qm::pdf
