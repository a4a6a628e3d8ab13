#include "shell/ScreenFit.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QStyle>
#include <QTimer>
#include <QWidget>

#include <algorithm>

namespace qm {

namespace {

/// What the frame takes. It is known once the window was shown; before, the height of a title bar is left for it.
QMargins frameOf(const QWidget &window)
{
    const QRect inside = window.geometry(), outside = window.frameGeometry();
    if (outside != inside)
        return {inside.left() - outside.left(), inside.top() - outside.top(), outside.right() - inside.right(),
                outside.bottom() - inside.bottom()};
    return {0, window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window), 0, 0};
}

bool isKept(const QWidget &widget)
{
    return widget.isWindow() && (widget.windowType() == Qt::Window || widget.windowType() == Qt::Dialog) &&
           !(widget.windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized));
}

} // namespace

void fitToScreen(QWidget &window)
{
    const QRect room = window.screen()->availableGeometry().marginsRemoved(frameOf(window));
    if (!room.isValid() || !isKept(window))
        return;
    QRect wanted = window.geometry();
    wanted.setSize(wanted.size().boundedTo(room.size()));
    wanted.moveLeft(std::clamp(wanted.left(), room.left(), room.right() - wanted.width() + 1));
    wanted.moveTop(std::clamp(wanted.top(), room.top(), room.bottom() - wanted.height() + 1));
    if (wanted.size() != window.size())
        window.resize(wanted.size());
    // A window that was given no place yet gets one from the desktop.
    if (wanted.topLeft() != window.geometry().topLeft() && window.testAttribute(Qt::WA_Moved))
        window.setGeometry(QRect(wanted.topLeft(), window.size()));
}

ScreenFit::ScreenFit(QObject *parent) : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool ScreenFit::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && !event->spontaneous() && watched->isWidgetType()) {
        auto *widget = static_cast<QWidget *>(watched);
        if (isKept(*widget)) {
            fitToScreen(*widget);
            // Once more when it has its frame.
            QTimer::singleShot(0, widget, [widget] { fitToScreen(*widget); });
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace qm
