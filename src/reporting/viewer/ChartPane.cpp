#include "reporting/viewer/ChartPane.h"

#include "reporting/common/VisibleText.h"
#include "reporting/viewer/ChartPainter.h"

#include <QPainter>
#include <QPalette>

#include <algorithm>

namespace qm {

namespace {

// In logical pixels; the painter's unit is a pixel here, a point of the picture stands for kScale of them.
constexpr double kScale = 1.25;
constexpr int kGap = 24, kNarrowest = 320, kLowest = 150, kUsual = 240;

} // namespace

ChartPane::ChartPane(std::span<const ChartSpec> specs, std::span<const ChartData> figures, QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("charts"));
    QStringList words;
    for (std::size_t i = 0; i < std::min(specs.size(), figures.size()); ++i) {
        m_charts.push_back({specs[i], figures[i]});
        words << visibleText(QString::fromStdString(alternativeText(specs[i], figures[i])));
    }
    setAccessibleName(tr("Charts"));
    setAccessibleDescription(words.join(u'\n'));
}

QSize ChartPane::sizeHint() const
{
    return {kNarrowest, kUsual};
}

QSize ChartPane::minimumSizeHint() const
{
    return {kNarrowest, kLowest};
}

void ChartPane::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(kScale, kScale);
    const auto scheme = palette().color(QPalette::Window).lightness() < palette().color(QPalette::WindowText).lightness()
                            ? ChartScheme::Dark
                            : ChartScheme::Light;
    const int fitting = std::clamp((width() + kGap) / (kNarrowest + kGap), 1, std::max(1, static_cast<int>(m_charts.size())));
    const double each = (width() - (fitting - 1.0) * kGap) / fitting;
    const ChartTextWidth textWidth = screenTextWidth();
    for (int i = 0; i < std::min(fitting, static_cast<int>(m_charts.size())); ++i) {
        const Chart &chart = m_charts[static_cast<std::size_t>(layoutDirection() == Qt::RightToLeft ? fitting - 1 - i : i)];
        paintChart(painter, QPointF(i * (each + kGap) / kScale, 0),
                   layoutChart(chart.spec, chart.data, {each / kScale, height() / kScale}, textWidth), scheme);
    }
}

} // namespace qm
