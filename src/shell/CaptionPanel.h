/// \file
/// A framed pane with a caption above its contents.
#pragma once

#include <QFrame>

class QLabel;

namespace qm {

class CaptionPanel final : public QFrame
{
    Q_OBJECT
public:
    CaptionPanel(const QString &name, QWidget *contents, QWidget *parent = nullptr);

    void setCaption(const QString &caption);
    [[nodiscard]] QString caption() const;

private:
    QLabel *m_caption;
};

} // namespace qm
