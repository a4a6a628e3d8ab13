#include "documents/pdf/OutgrownValues.h"

#include <algorithm>

namespace qm::pdf {

std::uint32_t OutgrownValues::add(const TextBlock &value, const ColumnBox &box, TextCanvas::Place place, std::uint32_t line,
                                  const LineMetrics &metrics, TextLayout &layout)
{
    const Tenths left = m_geometry.left + columns::kEdge;
    const Tenths right = m_geometry.right - columns::kEdge;
    Placed placed{layout.wrap(value.text, value.style, metrics.limitFor(right - left)), line, left, right, place};
    if (placed.block.lineCount == 1) {
        const auto width = static_cast<Tenths>((std::int64_t{layout.line(placed.block, 0).width} * metrics.size + 999) / 1000);
        if (place == TextCanvas::Place::Right)
            placed.right = std::min(right, std::max(box.right, left + width));
        else
            placed.left = std::max(left, std::min(box.left, right - width));
    }
    m_values.push_back(placed);
    return placed.block.lineCount;
}

void OutgrownValues::draw(std::uint32_t first, std::uint32_t count, Tenths top, const LineMetrics &metrics, TextCanvas &canvas) const
{
    for (const Placed &placed : m_values)
        for (std::uint32_t i = 0; i < placed.block.lineCount; ++i)
            if (const std::uint32_t line = placed.line + i; line >= first && line < first + count)
                canvas.drawLine(placed.block, i, placed.left, placed.right, placed.place,
                                top - metrics.baseline - static_cast<Tenths>(line - first) * metrics.height, metrics.size);
}

} // namespace qm::pdf
