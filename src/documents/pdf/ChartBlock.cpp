#include "documents/pdf/ChartBlock.h"

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr Tenths kLeast = static_cast<Tenths>(55 * kTenthsPerMm), kMost = static_cast<Tenths>(70 * kTenthsPerMm);
constexpr Tenths kGutter = 240, kBelow = 140;
/// Captions, a heading and six rows: with less room below, the table begins on the next page anyhow.
constexpr Tenths kTableStart = 1300;

} // namespace

/// As high as may be while the table still begins on the page. Begins a page where there is no room for the lowest.
Tenths ChartBlock::heightFor(ReportPages &pages) const
{
    if (pages.room() < kLeast && pages.cursor() < m_geometry.top)
        pages.newPage();
    return std::min(std::clamp(pages.room() - kTableStart - kBelow, kLeast, kMost), pages.room());
}

ChartForm ChartBlock::formAt(ReportPages &pages, Tenths left, Tenths width, Tenths height)
{
    return {"G" + std::to_string(++m_forms), pages, left, pages.cursor(), width, height};
}

void ChartBlock::place(const ReportShape &shape, const SampleRows &sample, ReportPages &pages)
{
    if ((sample.whole && sample.rows == 0) || (shape.charts.empty() && !shape.top))
        return;
    m_specs = shape.charts;
    m_top = shape.top;
    const Tenths whole = m_geometry.right - m_geometry.left;
    const Tenths third = (whole - kGutter) / 3;
    bool listed = !m_top;
    for (std::size_t i = 0; i < m_specs.size() || !listed;) {
        const Tenths height = heightFor(pages);
        if (!listed) {
            if (i < m_specs.size())
                m_charts.push_back(formAt(pages, m_geometry.left, 2 * third, height));
            m_list.emplace(formAt(pages, i < m_specs.size() ? m_geometry.right - third : m_geometry.left, third, height));
            i += i < m_specs.size() ? 1 : 0;
            listed = true;
        } else if (i + 1 < m_specs.size()) {
            const Tenths half = (whole - kGutter) / 2;
            m_charts.push_back(formAt(pages, m_geometry.left, half, height));
            m_charts.push_back(formAt(pages, m_geometry.right - half, half, height));
            i += 2;
        } else {
            m_charts.push_back(formAt(pages, m_geometry.left, whole, height));
            ++i;
        }
        pages.moveDown(height + kBelow);
    }
}

void ChartBlock::finish(const ReportTail &tail, ReportPages &pages)
{
    const ChartData none;
    const ChartTextWidth textWidth = chartTextWidth(m_layout);
    const auto write = [&](const ChartForm &form, const ChartPicture &picture) {
        m_missing += form.write(picture, m_geometry, m_layout, pages);
    };
    for (std::size_t i = 0; i < m_charts.size(); ++i)
        write(m_charts[i], layoutChart(m_specs[i], i < tail.charts.size() ? tail.charts[i] : none, m_charts[i].size(), textWidth));
    if (m_list)
        write(*m_list, layoutTopList(*m_top, tail.top ? *tail.top : none, m_list->size(), textWidth));
}

} // namespace qm::pdf
