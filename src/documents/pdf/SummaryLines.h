/// \file
/// Subtotals and totals: which of them stand on one line, and how the line is drawn.
#pragma once

#include "documents/CellFormat.h"
#include "documents/ReportShape.h"
#include "documents/pdf/PageContent.h"
#include "documents/pdf/PageGeometry.h"

#include <span>
#include <string>
#include <vector>

namespace qm::pdf {

/// Values of the same function share a line, each in its own column, with what they are at the left. Values without a column stand beside
/// that.
class SummaryLines final
{
public:
    struct Look
    {
        LineMetrics metrics;
        Ink ink = Ink::Text;
        Tenths left = 0, right = 0, paddingX = 0, paddingY = 0;
    };

    explicit SummaryLines(std::vector<Subtotal> subtotals = {});

    [[nodiscard]] bool isEmpty() const { return m_subtotals.empty(); }
    /// Lays the lines out for \p values, one per subtotal. \p of: the group's value, or what else is to be said; may be empty. The texts
    /// are kept until the next call. \returns the height without the space above and below each line.
    std::uint32_t layOut(std::span<const Value> values, const std::string &of, std::span<const ColumnBox> columns,
                         std::span<const CellAlignment> alignments, const Look &look, TextLayout &layout);
    /// Draws what was laid out from \p top down.
    void draw(Tenths top, const Look &look, TextCanvas &canvas) const;

private:
    struct Line
    {
        Aggregate function = Aggregate::Count;
        std::vector<std::size_t> values; ///< in m_subtotals
    };
    struct Piece
    {
        TextBlock block;
        Tenths left = 0, right = 0;
        TextCanvas::Place place = TextCanvas::Place::Start;
        std::uint32_t line = 0;
    };
    [[nodiscard]] std::string labelOf(const Line &line, const std::string &of) const;

    std::vector<Subtotal> m_subtotals;
    std::vector<CellFormatter> m_formatters;
    std::vector<Line> m_lines;
    std::vector<std::size_t> m_beside;
    std::vector<std::string> m_texts;
    std::vector<Piece> m_pieces;
};

} // namespace qm::pdf
