/// \file
/// A one-line text that makes do with the room there is.
#pragma once

#include <QLabel>

namespace qm {

/// Shows plain text, cut in the middle where the room ends; its tip shows the whole. text() is the whole text.
class ElidedLabel final : public QLabel
{
    Q_OBJECT
public:
    explicit ElidedLabel(QWidget *parent = nullptr);
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
};

} // namespace qm
