/// \file
/// The rows of a report as blocks below each other, for columns that no page holds side by side.
#pragma once

#include "documents/CellFormat.h"
#include "documents/pdf/NoticeBox.h"
#include "documents/pdf/Outline.h"
#include "documents/pdf/ReportPages.h"

#include <span>
#include <string>
#include <vector>

namespace qm::pdf {

/// Each row is a block of labels and values: short ones in up to four slots of equal width, a value taking as many of them as it needs on
/// one line; what no line holds is broken into lines, below the others over the full width or in slots of its own beside them. The first
/// rows decide which: the fewest lines. What is NULL in a row is not in its block. A block stays whole unless it is taller than a page;
/// then it goes on over pages with a mark on both sides of each cut.
class CardBody final
{
public:
    CardBody(const PageGeometry &geometry, TextLayout &layout, ReportPages &pages, Outline &outline, const ReportShape &shape,
             const SampleRows &sample);

    /// The blocks begin below what the open page holds, with the first row or group.
    void beginGroup(std::size_t level, const Value &key);
    void addRow(std::span<const Value> cells);
    void endGroup(const GroupEnd &group);
    /// Draws the totals, and below them what the report must say at its end. \p nothing: what was asked for, of a report without rows.
    void end(const ReportTail &tail, const std::string &nothing, std::span<const std::string> notices);

private:
    struct Column
    {
        std::string label;
        TextStyle style = TextStyle::Regular;
        CellFormatter formatter;
        bool numeric = false;
    };
    /// A label and a value of the row, measured.
    struct Pair
    {
        TextBlock label, value;
        Tenths labelWidth = 0, width = 0; ///< width of both; of a value with lines of its own: kBroken
    };
    /// A line of a text at its place in the block.
    struct Piece
    {
        std::uint32_t line = 0, textLine = 0;
        TextBlock block;
        Tenths left = 0, right = 0;
        bool isLabel = false;
    };
    static constexpr Tenths kBroken = 1'000'000'000;
    struct Summed
    {
        std::string label;
        CellFormatter formatter;
    };
    struct Level
    {
        std::string label;
        CellFormatter formatter;
        bool heading = true, newPage = false;
        std::vector<Summed> subtotals;
        std::string key; ///< of the open group, as it is shown
    };

    void begin();
    void nextPage();
    void layOut(std::span<const Value> cells);
    void addPair(std::string_view label, std::string_view value, TextStyle style);
    static std::vector<Summed> summedOf(const std::vector<Subtotal> &subtotals);
    void drawSums(const std::string &of, const std::string &rows, const std::vector<Summed> &sums, std::span<const Value> values);
    void arrange(std::size_t slots);
    void arrangeLong(const Pair &pair, Tenths left, std::uint32_t &line);
    void setSlots(std::size_t slots, std::size_t forPairs);
    void chooseSlots(const SampleRows &sample);
    void drawWhole();
    void drawInParts();
    void drawLines(std::uint32_t first, std::uint32_t count);
    void drawMark(const std::string &text, TextCanvas::Place place);
    void drawNothing(const std::string &asked);
    void closeBlock();
    [[nodiscard]] Tenths slotLeft(std::size_t slot) const;
    [[nodiscard]] Tenths slotsWidth(std::size_t slots) const;

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    ReportPages &m_pages;
    Outline &m_outline;
    NoticeBox m_notices;
    bool m_begun = false;
    LineMetrics m_value, m_label;
    std::vector<Column> m_columns;
    std::vector<Level> m_levels;
    std::vector<Summed> m_totals;
    bool m_hasRows = false;                   ///< on the page
    std::size_t m_slots = 1, m_pairSlots = 1; ///< all, and those for values of one line
    Tenths m_slotWidth = 0;
    // The row being set.
    std::string m_text;
    struct TextEnd
    {
        std::size_t column, end;
        bool standsOut;
    };
    std::vector<TextEnd> m_ends; ///< of the texts in m_text
    std::vector<Pair> m_pairs;
    std::vector<Piece> m_pieces;
    std::uint32_t m_lines = 0;
};

} // namespace qm::pdf
