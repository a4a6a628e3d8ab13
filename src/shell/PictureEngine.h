/// \file
/// Draws a picture that stays visible on a selected row.
#pragma once

#include <QIconEngine>
#include <QSvgRenderer>

#include <memory>

namespace qm {

/// An icon engine over one SVG file. Normal and active pictures keep their colours; a selected one takes the colour of selected text, since
/// the picture's own may be the selection's.
class PictureEngine final : public QIconEngine
{
public:
    explicit PictureEngine(const QString &path);

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    [[nodiscard]] QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    [[nodiscard]] QIconEngine *clone() const override { return new PictureEngine(*this); }
    [[nodiscard]] bool isNull() override { return !m_renderer->isValid(); }

private:
    QString m_path;
    std::shared_ptr<QSvgRenderer> m_renderer;
};

} // namespace qm
