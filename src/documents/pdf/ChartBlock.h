/// \file
/// The charts of a report and the list of the largest, between what the first page states and the table.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/pdf/ChartForm.h"

#include <optional>
#include <vector>

namespace qm::pdf {

/// The first chart takes two thirds of the width beside the list of the largest; charts without a list stand in pairs, one alone takes the
/// whole width. Their place is kept before the first row and filled behind the last.
class ChartBlock final
{
public:
    ChartBlock(const PageGeometry &geometry, TextLayout &layout) : m_geometry(geometry), m_layout(layout) {}

    /// Keeps the places from the cursor down, on further pages where there is no room. Draws nothing for a report without rows.
    void place(const ReportShape &shape, const SampleRows &sample, ReportPages &pages);

    /// Fills the places, once the last page is closed.
    void finish(const ReportTail &tail, ReportPages &pages);

    [[nodiscard]] std::int64_t missingGlyphs() const { return m_missing; }

private:
    [[nodiscard]] Tenths heightFor(ReportPages &pages) const;
    [[nodiscard]] ChartForm formAt(ReportPages &pages, Tenths left, Tenths width, Tenths height);

    const PageGeometry &m_geometry;
    TextLayout &m_layout;
    std::vector<ChartSpec> m_specs;
    std::vector<ChartForm> m_charts; ///< one per chart
    std::optional<TopList> m_top;
    std::optional<ChartForm> m_list;
    int m_forms = 0;
    std::int64_t m_missing = 0;
};

} // namespace qm::pdf
