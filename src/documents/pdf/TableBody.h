/// \file
/// The rows of a report as a table across pages.
#pragma once

#include "documents/CellFormat.h"
#include "documents/pdf/NoticeBox.h"
#include "documents/pdf/OutgrownValues.h"
#include "documents/pdf/Outline.h"
#include "documents/pdf/ReportPages.h"
#include "documents/pdf/SummaryLines.h"

#include <span>
#include <string>
#include <vector>

namespace qm::pdf {

/// Sets rows, headings of groups, subtotals and totals below each other and repeats the column captions on each page. A row stays whole
/// unless it is taller than a page; then it goes on over pages with a mark on both sides of each cut. A row with a value too wide for a
/// column that is never broken into lines has smaller letters; where that does not help, the value stands on a line of its own below the
/// row.
///
/// Everything is drawn as it comes. Where a page turns out to end in the wrong place (a heading without three rows, a subtotal without a
/// row, a last page with one row), its end is moved to the next page; see PageContent.
class TableBody final
{
public:
    TableBody(const PageGeometry &geometry, TextLayout &layout, ReportPages &pages, Outline &outline, const ReportShape &shape,
              const SampleRows &sample);

    /// The table begins below what the open page holds, with its first row or group.
    void beginGroup(std::size_t level, const Value &key);
    void addRow(std::span<const Value> cells);
    void endGroup(const GroupEnd &group);
    /// Draws the totals and below the table what the report must say at its end. \p nothing: what was asked for, of a report without rows.
    void end(const ReportTail &tail, const std::string &nothing, std::span<const std::string> notices);

    /// Draws on page \p page, in the order of the pages, what was known only after it was written. Comes after end().
    void drawLate(int page, TextCanvas &canvas);

private:
    struct Column
    {
        ColumnBox box;
        TextCanvas::Place place = TextCanvas::Place::Start;
        TextStyle style = TextStyle::Regular;
        bool wrap = true, numeric = false;
        CellFormatter formatter;
    };
    struct Level
    {
        GroupLevel group;
        CellFormatter formatter;
        bool heading = true;
        SummaryLines subtotals;
    };
    struct OpenGroup
    {
        std::string name;
        std::int64_t rows = 0;
        // Of a heading whose page is written before the group ends.
        int page = 0;
        Tenths x = 0, y = 0;
    };
    /// Something on a page that may have to move.
    struct Entry
    {
        enum class Kind : std::uint8_t { Continued, Heading, Row, Part, Subtotal, Total, Notice };
        Kind kind = Kind::Row;
        std::uint8_t level = 0;
        bool drawn = true;       ///< of a heading
        bool counted = false;    ///< the number of its rows is drawn
        bool suppressed = false; ///< of a row: the group's value is not in it
        PageContent::Mark before, after;
        Tenths top = 0;
        Tenths countX = 0, countY = 0; ///< where the number of rows is drawn
        std::string name;
    };
    struct Sheet
    {
        int page = 0;
        bool wanted = false; ///< the layout begins a page here
        Tenths bodyTop = 0, end = 0;
        std::vector<Entry> entries;
        std::size_t used = 0; ///< entries in use; the others keep their memory
        void clear();
        Entry &append(Entry::Kind kind, const PageContent::Mark &mark, Tenths top);
        [[nodiscard]] int rows() const;
        [[nodiscard]] std::size_t firstMovable() const;
    };
    /// Of a group that ended after its heading was written.
    struct LateCount
    {
        int page = 0;
        Tenths x = 0, y = 0;
        std::int64_t rows = 0;
        bool cut = false;
    };

    void addCaptions(std::span<const ReportColumn> columns);
    void decideHeadings(const SampleRows &sample);
    void decideZebra(const SampleRows &sample);
    void begin();
    void placeCaptions();

    // Turning pages and moving what belongs together (TablePages.cpp)
    void startSheet();
    void turnPage(Tenths height, Entry::Kind next);
    void turnPageAt(std::size_t cut);
    void pullFromWaiting(std::size_t cut);
    void keepTogether(std::size_t level);
    void fillLastPage();
    [[nodiscard]] std::size_t cutFor(Entry::Kind next) const;
    [[nodiscard]] static std::size_t withHeadings(const Sheet &sheet, std::size_t cut, std::size_t openLevels);
    [[nodiscard]] std::vector<std::pair<std::size_t, std::string>> groupsAt(const Sheet &sheet, std::size_t cut) const;
    void drawContinued(const std::vector<std::pair<std::size_t, std::string>> &groups);
    void moveEntries(Sheet &from, std::size_t cut, Sheet &to, const PageContent::Moved &moved);
    void pageIsWritten(int page);
    [[nodiscard]] Tenths wholePage() const { return m_geometry.top - m_geometry.bottom - m_captionHeight; }

    // Headings
    [[nodiscard]] Tenths headingHeight(std::size_t level, std::uint32_t lines) const;
    void drawHeading(std::size_t level, const std::string &name, bool continued);
    void drawRowCount(std::int64_t rows, bool cut, Tenths x, Tenths y, TextCanvas &canvas);
    void countRows(std::size_t level, std::int64_t rows, bool cut);

    // Rows
    void layOut(std::span<const Value> cells);
    bool breakIntoLines(const LineMetrics &metrics);
    void moveBelow();
    void drawWhole();
    void drawInParts();
    void drawLines(std::uint32_t first, std::uint32_t count, Tenths top);
    void drawMark(const std::string &text, TextCanvas::Place place, Tenths top);
    void closeRow(Tenths height);
    void drawSummary(std::span<const Value> values, const std::string &of, Entry::Kind kind, std::size_t level);
    void drawNothing(const std::string &asked);
    [[nodiscard]] Tenths heightOf(std::uint32_t lines) const
    {
        return static_cast<Tenths>(lines) * m_letters.height + 2 * m_geometry.paddingY;
    }

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    ReportPages &m_pages;
    Outline &m_outline;
    NoticeBox m_notices;
    std::vector<Column> m_columns;
    std::vector<Level> m_levels;
    SummaryLines m_totals;
    Tenths m_captionHeight = 0;
    bool m_begun = false, m_zebra = false, m_striped = false;
    std::int64_t m_sampleRows = -1; ///< all there are; negative: not known
    Sheet m_sheet, m_waiting;
    std::vector<OpenGroup> m_open;
    std::vector<LateCount> m_late;
    std::size_t m_lateDrawn = 0;
    TextCanvas m_small;
    // The row being set.
    std::string m_text;
    std::vector<std::size_t> m_ends; ///< of the cells' texts in m_text
    std::vector<TextBlock> m_cells;
    std::vector<Ink> m_inks;
    std::vector<TextStyle> m_styles;
    std::vector<bool> m_blank; ///< columns whose value the group's heading or first row shows
    bool m_suppressed = false;
    std::uint32_t m_lines = 0;
    LineMetrics m_letters; ///< of the row
    OutgrownValues m_outgrown;
};

} // namespace qm::pdf
