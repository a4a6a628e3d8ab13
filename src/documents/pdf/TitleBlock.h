/// \file
/// What the first page states before the table.
#pragma once

#include "documents/pdf/ReportPages.h"

#include <string>

namespace qm::pdf {

/// Title, subtitle and the stated facts. The numbers of rows and pages are facts too; their place is kept free and filled at the end.
class TitleBlock final
{
public:
    TitleBlock(const PageGeometry &geometry, TextLayout &layout) : m_geometry(geometry), m_layout(layout) {}

    /// Draws the block from the top of the first page, which must be open; facts that do not fit go on to further pages.
    void draw(const ReportHead &head, ReportPages &pages);

    /// Draws the fact kept free. It is on the first page.
    void drawCount(const ReportTail &tail, int pageCount, TextCanvas &canvas);

private:
    struct Spot
    {
        Tenths left = 0, right = 0, baseline = 0;
    };
    void drawHeading(const std::string &text, TextStyle style, const LineMetrics &metrics, Ink ink, ReportPages &pages);
    void drawFacts(const ReportHead &head, ReportPages &pages);
    Tenths drawFact(const TextBlock &label, const TextBlock &value, Tenths left, Tenths right, ReportPages &pages);
    [[nodiscard]] Tenths labelWidth(const ReportHead &head, Tenths most);

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    Spot m_count;
};

} // namespace qm::pdf
