/// \file
/// Values of a table's row that are too wide for their column and must not be broken.
#pragma once

#include "documents/pdf/PageGeometry.h"
#include "documents/pdf/TextCanvas.h"

#include <vector>

namespace qm::pdf {

/// Sets them on lines of their own below the row's other lines, at the edge of their column that its values stand at.
class OutgrownValues final
{
public:
    explicit OutgrownValues(const PageGeometry &geometry) : m_geometry(geometry) {}

    void clear() { m_values.clear(); }
    /// Lays \p value out from the row's line \p line on. \returns how many lines it takes: one, unless it is wider than the page.
    std::uint32_t add(const TextBlock &value, const ColumnBox &box, TextCanvas::Place place, std::uint32_t line, const LineMetrics &metrics,
                      TextLayout &layout);
    /// Draws what stands on \p count of the row's lines from \p first on; the first of them begins at \p top.
    void draw(std::uint32_t first, std::uint32_t count, Tenths top, const LineMetrics &metrics, TextCanvas &canvas) const;

private:
    struct Placed
    {
        TextBlock block;
        std::uint32_t line = 0;
        Tenths left = 0, right = 0;
        TextCanvas::Place place = TextCanvas::Place::Start;
    };
    const PageGeometry &m_geometry;
    std::vector<Placed> m_values;
};

} // namespace qm::pdf
