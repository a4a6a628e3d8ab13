/// \file
/// The program's own drawings: SVG files in the source, recorded as painter commands when the program is built (see qm_add_pictures).
#pragma once

#include <QPicture>
#include <QPixmap>
#include <QString>

namespace qm {

/// One drawing, crisp at any size. Used on the user interface's thread.
class Picture
{
public:
    /// \p resource names a recording among the program's resources (":/shell/icons/copy"); an unknown one is no picture.
    explicit Picture(const QString &resource);

    [[nodiscard]] bool isNull() const { return m_size.isEmpty(); }
    /// Fills \p area, which should have the drawing's own proportions.
    void paint(QPainter &painter, const QRectF &area) const;
    /// \p size in device-independent pixels, drawn for a screen with \p ratio device pixels in each.
    [[nodiscard]] QPixmap pixmap(const QSize &size, qreal ratio) const;

private:
    mutable QPicture m_commands; ///< playing moves its read position
    QSizeF m_size;
};

} // namespace qm
