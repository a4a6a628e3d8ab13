#include "pictures/PictureIcon.h"

#include "pictures/Picture.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>

#include <memory>

namespace qm {

namespace {

constexpr float kDisabledOpacity = 0.4F;

class PictureEngine final : public QIconEngine
{
public:
    PictureEngine(const QString &resource, Ink ink) : m_resource(resource), m_ink(ink), m_picture(std::make_shared<Picture>(resource)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device()->devicePixelRatio();
        QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
        picture.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect.topLeft(), picture);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        const QColor over = colourOver(mode);
        const QString key = QStringLiteral("qm-picture-%1-%2x%3-%4-%5")
                                .arg(m_resource)
                                .arg(size.width())
                                .arg(size.height())
                                .arg(static_cast<int>(mode))
                                .arg(over.rgba());
        QPixmap picture;
        if (QPixmapCache::find(key, &picture))
            return picture;
        picture = QPixmap(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        m_picture->paint(painter, picture.rect());
        if (m_ink == Ink::Own && mode == QIcon::Disabled) { // afterwards: a drawing sets opacities of its own
            painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            painter.fillRect(picture.rect(), QColor::fromRgbF(0, 0, 0, kDisabledOpacity));
        }
        if (over.alpha() > 0) {
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(picture.rect(), over);
        }
        painter.end();
        QPixmapCache::insert(key, picture);
        return picture;
    }

    QIconEngine *clone() const override { return new PictureEngine(*this); }
    bool isNull() override { return m_picture->isNull(); }

private:
    /// What replaces the drawing's own colours; transparent: nothing does.
    QColor colourOver(QIcon::Mode mode) const
    {
        const QPalette palette = QGuiApplication::palette();
        if (mode == QIcon::Selected)
            return palette.color(QPalette::Active, QPalette::HighlightedText);
        if (m_ink == Ink::Own)
            return QColor(Qt::transparent);
        return palette.color(mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active, QPalette::ButtonText);
    }

    QString m_resource;
    Ink m_ink;
    std::shared_ptr<Picture> m_picture;
};

} // namespace

QIcon pictureIcon(const QString &resource, Ink ink)
{
    return QIcon(new PictureEngine(resource, ink)); // owned by the icon
}

} // namespace qm
