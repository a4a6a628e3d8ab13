#include "shell/PictureEngine.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>

namespace qm {

namespace {
constexpr double kDisabledOpacity = 0.4;
}

PictureEngine::PictureEngine(const QString &path) : m_path(path), m_renderer(std::make_shared<QSvgRenderer>(path)) {}

void PictureEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state)
{
    const qreal ratio = painter->device()->devicePixelRatio();
    QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
    picture.setDevicePixelRatio(ratio);
    painter->drawPixmap(rect.topLeft(), picture);
}

QPixmap PictureEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State)
{
    const QColor selected = QGuiApplication::palette().color(QPalette::HighlightedText);
    const QString key = QStringLiteral("qm-picture-%1-%2x%3-%4-%5")
                            .arg(m_path)
                            .arg(size.width())
                            .arg(size.height())
                            .arg(static_cast<int>(mode))
                            .arg(selected.rgba());
    QPixmap picture;
    if (QPixmapCache::find(key, &picture))
        return picture;
    picture = QPixmap(size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    if (mode == QIcon::Disabled)
        painter.setOpacity(kDisabledOpacity);
    m_renderer->render(&painter, QRectF(QPointF(), QSizeF(size)));
    if (mode == QIcon::Selected) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), selected);
    }
    painter.end();
    QPixmapCache::insert(key, picture);
    return picture;
}

} // namespace qm
