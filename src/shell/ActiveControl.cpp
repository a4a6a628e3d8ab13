#include "shell/ActiveControl.h"

#include <QApplication>
#include <QEvent>
#include <QPalette>
#include <QWidget>

namespace qm {

namespace {

/// The selection's colour with nearly all of its hue taken out; dark enough for the text and the pictures that stand on it.
QColor dimmed(const QColor &highlight)
{
    constexpr double kKept = 0.15;
    constexpr int kGrey = 116;
    const auto mixed = [](int part) { return static_cast<int>(kKept * part + (1 - kKept) * kGrey); };
    return {mixed(highlight.red()), mixed(highlight.green()), mixed(highlight.blue())};
}

} // namespace

ActiveControl::ActiveControl(QObject *parent) : QObject(parent)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { focusChanged(now); });
    qApp->installEventFilter(this);
}

void ActiveControl::focusChanged(QWidget *now)
{
    for (QWidget *widget = now; widget && !widget->isWindow(); widget = widget->parentWidget()) {
        const View view = m_views.value(widget, View::None);
        if (view == View::None)
            continue;
        if (view != m_current) {
            m_current = view;
            dimOthers();
            Q_EMIT changed();
        }
        return;
    }
}

void ActiveControl::dimOthers() const
{
    QPalette others;
    others.setColor(QPalette::Highlight, dimmed(QApplication::palette().color(QPalette::Highlight)));
    for (auto it = m_views.cbegin(); it != m_views.cend(); ++it)
        it.key()->setPalette(it.value() == m_current || m_current == View::None ? QPalette() : others);
}

bool ActiveControl::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        dimOthers();
    return QObject::eventFilter(watched, event);
}

} // namespace qm
