#include "reporting/common/InputGate.h"

#include "core/InputDuringRun.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QWindow>

#include <algorithm>

namespace qm {

namespace {

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::NonClientAreaMouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::InputMethod:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::NativeGesture:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return true;
    default:
        return false;
    }
}

QWidget *widgetOf(const QObject *object)
{
    for (const QObject *up = object; up; up = up->parent())
        if (up->isWidgetType())
            return qobject_cast<QWidget *>(const_cast<QObject *>(up));
    return nullptr;
}

} // namespace

InputGate::InputGate(QWidget *mainWindow) : m_mainWindow(mainWindow)
{
    qApp->installEventFilter(this);
}

InputGate::~InputGate()
{
    // What the operator typed or clicked meanwhile is still in the window system's queue: take it out while it is discarded.
    QCoreApplication::processEvents();
    qApp->removeEventFilter(this);
    for (const QPointer<QWidget> &window : m_toClose)
        if (window)
            QMetaObject::invokeMethod(window.data(), &QWidget::close, Qt::QueuedConnection);
}

bool InputGate::isAllowed(const QObject *receiver) const
{
    if (receiver->isWindowType()) {
        const auto handle = static_cast<const QWindow *>(receiver);
        const auto windows = QApplication::topLevelWidgets();
        for (const QWidget *window : windows)
            if (window->windowHandle() == handle)
                return window == m_allowed || window->property(kInputDuringRun).toBool();
        return false;
    }
    const QWidget *widget = widgetOf(receiver);
    for (const QWidget *window = widget ? widget->window() : nullptr; window;
         window = window->parentWidget() ? window->parentWidget()->window() : nullptr)
        if (window == m_allowed || window->property(kInputDuringRun).toBool())
            return true;
    return false;
}

bool InputGate::eventFilter(QObject *receiver, QEvent *event)
{
    if (event->type() == QEvent::Close && receiver->isWidgetType() && !isAllowed(receiver)) {
        const auto widget = static_cast<QWidget *>(receiver);
        if (widget->windowType() != Qt::Window && widget->windowType() != Qt::Dialog)
            return false;
        event->ignore();
        if (std::find(m_toClose.begin(), m_toClose.end(), widget) == m_toClose.end())
            m_toClose.emplace_back(widget);
        if (widget == m_mainWindow)
            Q_EMIT mainWindowClosed();
        return true;
    }
    if (isInput(event->type()) && !isAllowed(receiver)) {
        event->ignore();
        return true;
    }
    return false;
}

} // namespace qm
