#include "reporting/viewer/ChartPainter.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <variant>

namespace qm {

namespace {

using namespace Qt::StringLiterals;

/// Fonts of this many units are scaled to the size wanted, so that sizes need not be whole and widths stay in proportion.
constexpr int kFontUnits = 100;

QFont fontOf(bool bold)
{
    QFont font;
    font.setFamilies({u"DejaVu Sans Condensed"_s, u"DejaVu Sans"_s, u"Segoe UI"_s});
    font.setStretch(QFont::SemiCondensed);
    font.setPixelSize(kFontUnits);
    font.setBold(bold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QString textOf(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

class ScreenPen final
{
public:
    ScreenPen(QPainter &painter, ChartScheme scheme) : m_painter(painter), m_scheme(scheme) {}

    void operator()(const ChartRect &rect)
    {
        set(rect.paint);
        m_painter.drawRect(QRectF(rect.x, rect.y, rect.width, rect.height));
    }

    void operator()(const ChartPath &path)
    {
        set(path.paint);
        QPainterPath drawn;
        for (const std::vector<ChartPoint> &part : path.parts) {
            for (std::size_t i = 0; i < part.size(); ++i)
                i == 0 ? drawn.moveTo(part[i].x, part[i].y) : drawn.lineTo(part[i].x, part[i].y);
            if (path.closed)
                drawn.closeSubpath();
        }
        m_painter.drawPath(drawn);
    }

    void operator()(const ChartSlice &slice)
    {
        set(slice.paint);
        const QPointF centre(slice.centre.x, slice.centre.y);
        const QRectF disc(slice.centre.x - slice.radius, slice.centre.y - slice.radius, 2 * slice.radius, 2 * slice.radius);
        if (slice.sweep >= 1) {
            m_painter.drawEllipse(disc);
            return;
        }
        constexpr double kTurn = 360; // Qt counts degrees from the right, against the clock
        QPainterPath drawn(centre);
        drawn.arcTo(disc, kTurn / 4 - slice.from * kTurn, -slice.sweep * kTurn);
        drawn.closeSubpath();
        m_painter.drawPath(drawn);
    }

    void operator()(const ChartText &text)
    {
        const QFont font = fontOf(text.bold);
        const QString words = textOf(text.text);
        const double width = QFontMetricsF(font).horizontalAdvance(words);
        const double back = text.anchor == ChartText::Anchor::End ? width : text.anchor == ChartText::Anchor::Middle ? width / 2 : 0;
        m_painter.save();
        m_painter.translate(text.at.x, text.at.y);
        m_painter.scale(text.size / kFontUnits, text.size / kFontUnits);
        m_painter.setFont(font);
        m_painter.setPen(colour(text.colour));
        m_painter.drawText(QPointF(-back, 0), words);
        m_painter.restore();
    }

private:
    [[nodiscard]] QColor colour(ChartColour of) const
    {
        const ChartRgb rgb = chartRgb(of, m_scheme);
        return {rgb.red, rgb.green, rgb.blue};
    }

    void set(const ChartPaint &paint)
    {
        m_painter.setBrush(paint.fill ? QBrush(colour(*paint.fill)) : QBrush(Qt::NoBrush));
        m_painter.setPen(paint.stroke ? QPen(colour(*paint.stroke), paint.strokeWidth, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin)
                                      : QPen(Qt::NoPen));
    }

    QPainter &m_painter;
    ChartScheme m_scheme;
};

} // namespace

ChartTextWidth screenTextWidth()
{
    return [regular = QFontMetricsF(fontOf(false)), strong = QFontMetricsF(fontOf(true))](std::string_view text, double size, bool bold) {
        return (bold ? strong : regular).horizontalAdvance(textOf(text)) * size / kFontUnits;
    };
}

void paintChart(QPainter &painter, QPointF at, const ChartPicture &picture, ChartScheme scheme)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(at);
    ScreenPen pen(painter, scheme);
    for (const ChartShape &shape : picture.shapes)
        std::visit(pen, shape);
    painter.restore();
}

} // namespace qm
