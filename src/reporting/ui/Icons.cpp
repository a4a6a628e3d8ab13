#include "reporting/ui/Icons.h"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

static void loadReportingIcons()
{
    Q_INIT_RESOURCE(reporting_ui);
}

namespace qm {

namespace {

class LineIconEngine final : public QIconEngine
{
public:
    explicit LineIconEngine(QByteArray svg) : m_svg(std::move(svg)) {}

    void paint(QPainter *painter, const QRect &area, QIcon::Mode mode, QIcon::State) override
    {
        const QPalette palette = QApplication::palette();
        QColor colour = palette.color(mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active,
                                      mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText);
        QByteArray svg = m_svg;
        svg.replace("#000000", colour.name(QColor::HexRgb).toLatin1());
        QSvgRenderer renderer(svg);
        renderer.render(painter, QRectF(area));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal) override { return pixmap(size, mode, state); }
    QIconEngine *clone() const override { return new LineIconEngine(m_svg); }
    bool isNull() override { return m_svg.isEmpty(); }

private:
    QByteArray m_svg;
};

} // namespace

QIcon uiIcon(const char *name)
{
    loadReportingIcons();
    QFile file(QStringLiteral(":/reporting/icons/%1.svg").arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QIcon(new LineIconEngine(file.readAll()));
}

} // namespace qm
