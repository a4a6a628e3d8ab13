#include "shell/ElidedLabel.h"

#include "core/PlainTip.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace qm {

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

bool ElidedLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), text().isEmpty() ? QString() : plainTip(text()), this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent *event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    const QRect room = contentsRect();
    const QString line = text().simplified(); // a description may hold line breaks
    style()->drawItemText(&painter, room, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(line, Qt::ElideMiddle, room.width()), foregroundRole());
}

} // namespace qm
