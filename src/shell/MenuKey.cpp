#include "shell/MenuKey.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QWidget>

namespace qm {

MenuKey::MenuKey(QObject *parent) : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool MenuKey::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_F10 || key->modifiers() != Qt::ShiftModifier || key->isAutoRepeat() || QApplication::activePopupWidget())
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    const QPoint position = widget->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
    QContextMenuEvent menu(QContextMenuEvent::Keyboard, position, widget->mapToGlobal(position));
    QCoreApplication::sendEvent(widget, &menu);
    return true;
}

} // namespace qm
