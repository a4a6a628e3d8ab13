#include "catalogue/ViewKeys.h"

#include <QKeyEvent>
#include <QMouseEvent>

namespace qm {

int plainKeyCode(const QKeyEvent &event)
{
    constexpr auto held = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    if (event.modifiers() & held)
        return keycode::none;
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return keycode::enter;
    case Qt::Key_Delete:
        return keycode::del;
    default:
        return keycode::none;
    }
}

QMouseEvent withoutModifiers(const QMouseEvent &event)
{
    return {event.type(),   event.position(), event.scenePosition(), event.globalPosition(),
            event.button(), event.buttons(),  Qt::NoModifier,        event.pointingDevice()};
}

} // namespace qm
