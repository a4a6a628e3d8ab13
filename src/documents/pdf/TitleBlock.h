/// \file
/// What the first page states before the table.
#pragma once

#include "documents/CellFormat.h"
#include "documents/pdf/NoticeBox.h"
#include "documents/pdf/ReportPages.h"

#include <string>
#include <vector>

namespace qm::pdf {

/// Title, subtitle, a strip of facts, notices, key figures. What is known last, the numbers of rows and pages, late notices and the values
/// of key figures, stands in form XObjects that are written at the end.
class TitleBlock final
{
public:
    TitleBlock(const PageGeometry &geometry, TextLayout &layout)
        : m_geometry(geometry), m_layout(layout), m_notices(layout, geometry.left, geometry.right)
    {
    }

    /// Draws the block from the top of the first page, which must be open; facts that do not fit go on to further pages.
    void draw(const ReportHead &head, const ReportShape &shape, const SampleRows &sample, ReportPages &pages);

    /// Writes the forms. \p notices: those known only now; they also stand at the end, on page \p noticePage.
    void finish(const ReportTail &tail, std::span<const std::string> notices, int noticePage, ReportPages &pages);

    [[nodiscard]] std::int64_t missingGlyphs() const { return m_missing; }

private:
    struct Spot
    {
        Tenths left = 0, right = 0, top = 0;
    };
    /// One fact: its label, and its value of which the first line may be bold.
    struct Cell
    {
        std::string label, strong, value;
        bool isRows = false;
    };
    struct Figure
    {
        std::string caption;
        CellFormatter formatter;
        Spot spot;
    };
    void drawHeading(const std::string &text, TextStyle style, const LineMetrics &metrics, std::uint32_t mostLines, Ink ink,
                     ReportPages &pages);
    [[nodiscard]] static std::vector<Cell> cellsOf(const ReportHead &head);
    [[nodiscard]] std::vector<Tenths> widthsOf(const std::vector<Cell> &cells, std::size_t across);
    void drawFacts(const ReportHead &head, ReportPages &pages);
    [[nodiscard]] Tenths drawCell(const Cell &cell, const Spot &spot, bool measureOnly, TextCanvas &canvas);
    void placeFigures(const ReportShape &shape, ReportPages &pages);
    void writeForm(std::string_view name, PageContent &content, ReportPages &pages);
    [[nodiscard]] std::string lateNotice(std::span<const std::string> notices, int page);

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    NoticeBox m_notices;
    Spot m_rows;
    Tenths m_noticeTop = 0; ///< of the place kept for late notices; 0: none
    std::vector<Figure> m_figures;
    std::int64_t m_missing = 0;
};

} // namespace qm::pdf
