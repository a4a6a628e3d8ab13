#include "pictures/Picture.h"

#include <QFile>
#include <QPainter>

namespace qm {

Picture::Picture(const QString &resource)
{
    QFile file(resource);
    if (file.open(QIODevice::ReadOnly) && m_commands.load(&file))
        m_size = m_commands.boundingRect().size();
}

void Picture::paint(QPainter &painter, const QRectF &area) const
{
    if (isNull())
        return;
    painter.save();
    painter.translate(area.topLeft());
    painter.scale(area.width() / m_size.width(), area.height() / m_size.height());
    m_commands.play(&painter);
    painter.restore();
}

QPixmap Picture::pixmap(const QSize &size, qreal ratio) const
{
    QPixmap pixmap((QSizeF(size) * ratio).toSize());
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(painter, pixmap.rect());
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace qm
