#include "documents/charts/ChartCanvas.h"

#include <algorithm>
#include <cmath>

namespace qm::charts {

ChartCanvas::ChartCanvas(ChartSize size, const ChartTextWidth &textWidth) : m_textWidth(textWidth)
{
    m_picture.size = size;
}

double ChartCanvas::widest(const std::vector<std::string> &texts, double size, bool bold) const
{
    double most = 0;
    for (const std::string &text : texts)
        most = std::max(most, widthOf(text, size, bold));
    return most;
}

void ChartCanvas::line(ChartPoint from, ChartPoint to, double width, ChartColour colour)
{
    add(ChartPath{{{from, to}}, false, {{}, colour, width}});
}

void ChartCanvas::bar(const Area &area, ChartColour colour, Fill fill)
{
    constexpr double kOutline = 0.75;
    if (area.width() <= 0 || area.height() <= 0)
        return;
    ChartRect rect{area.left, area.top, area.width(), area.height(), {colour, {}, 0}};
    const bool outlined = fill == Fill::Hollow && area.width() > 2 * kOutline && area.height() > 2 * kOutline;
    if (outlined)
        rect = {area.left + kOutline / 2,
                area.top + kOutline / 2,
                area.width() - kOutline,
                area.height() - kOutline,
                {ChartColour::Page, colour, kOutline}};
    add(rect);
    if (fill == Fill::Hatched)
        hatch({{area.left, area.top}, {area.right, area.top}, {area.right, area.bottom}, {area.left, area.bottom}});
}

void ChartCanvas::hatch(const std::vector<ChartPoint> &polygon)
{
    constexpr double kWidth = 0.6;
    const double distance = 2 * std::sqrt(2.0); // along an axis
    if (polygon.size() < 3)
        return;
    // A line at 45 degrees is where x + y is constant.
    const auto sumOf = [](const ChartPoint &point) { return point.x + point.y; };
    const auto [low, high] =
        std::minmax_element(polygon.begin(), polygon.end(), [&](const auto &a, const auto &b) { return sumOf(a) < sumOf(b); });
    ChartPath lines{{}, false, {{}, ChartColour::Page, kWidth}};
    std::vector<ChartPoint> crossings;
    for (double sum = std::ceil(sumOf(*low) / distance) * distance; sum < sumOf(*high); sum += distance) {
        crossings.clear();
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const ChartPoint &a = polygon[i];
            const ChartPoint &b = polygon[(i + 1) % polygon.size()];
            if ((sumOf(a) <= sum) == (sumOf(b) <= sum))
                continue;
            const double part = (sum - sumOf(a)) / (sumOf(b) - sumOf(a));
            crossings.push_back({a.x + part * (b.x - a.x), a.y + part * (b.y - a.y)});
        }
        std::sort(crossings.begin(), crossings.end(), [](const ChartPoint &a, const ChartPoint &b) { return a.x < b.x; });
        for (std::size_t i = 1; i < crossings.size(); i += 2)
            lines.parts.push_back({crossings[i - 1], crossings[i]});
    }
    if (!lines.parts.empty())
        add(std::move(lines));
}

void ChartCanvas::text(ChartText text)
{
    if (text.at.x < -0.01 || text.at.x > m_picture.size.width + 0.01)
        return;
    double room = text.at.x;
    if (text.anchor == ChartText::Anchor::Start)
        room = m_picture.size.width - text.at.x;
    else if (text.anchor == ChartText::Anchor::Middle)
        room = 2 * std::min(text.at.x, m_picture.size.width - text.at.x);
    if (text.at.y < text.size * 0.8 || text.at.y + text.size * 0.25 > m_picture.size.height + 0.01)
        return;
    const bool isNumber = text.part == ChartText::Part::Value || text.part == ChartText::Part::Axis || text.part == ChartText::Part::Cell;
    if (isNumber && widthOf(text.text, text.size, text.bold) > room + 0.01)
        return; // part of a number is another number
    text.text = ellipsized(text.text, room + 0.01, text.size, text.bold, m_textWidth);
    if (text.text.empty())
        return;
    if (text.part != ChartText::Part::Cell) {
        const double width = widthOf(text.text, text.size, text.bold);
        const double left = text.anchor == ChartText::Anchor::Start ? text.at.x
                            : text.anchor == ChartText::Anchor::End ? text.at.x - width
                                                                    : text.at.x - width / 2;
        const Area box{left, text.at.y - 0.75 * text.size, left + width, text.at.y + 0.2 * text.size};
        const auto isOver = [&](const Area &other) {
            return box.left < other.right && other.left < box.right && box.top < other.bottom && other.top < box.bottom;
        };
        if (std::any_of(m_texts.begin(), m_texts.end(), isOver))
            return;
        m_texts.push_back(box);
    }
    add(std::move(text));
}

} // namespace qm::charts
