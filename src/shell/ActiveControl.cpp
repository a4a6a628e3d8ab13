#include "shell/ActiveControl.h"

#include <QApplication>
#include <QWidget>

namespace qm {

ActiveControl::ActiveControl(QObject *parent) : QObject(parent)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { focusChanged(now); });
}

void ActiveControl::focusChanged(QWidget *now)
{
    for (const QWidget *widget = now; widget && !widget->isWindow(); widget = widget->parentWidget()) {
        const View view = m_views.value(widget, View::None);
        if (view == View::None)
            continue;
        if (view != m_current) {
            m_current = view;
            Q_EMIT changed();
        }
        return;
    }
}

} // namespace qm
