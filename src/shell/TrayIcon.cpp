#include "shell/TrayIcon.h"

#include "shell/Icons.h"

#include <QAction>
#include <QMenu>
#include <QSysInfo>
#include <QTextDocument>

namespace qm {

namespace {
constexpr int kWatchMs = 2000;
}

TrayIcon::TrayIcon(const QIcon &icon, const QString &title, QMenu &menu, QObject *parent)
    : QObject(parent), m_icon(icon), m_countdown(new QAction(this))
{
    setObjectName(QStringLiteral("TrayIcon"));
    m_icon.setToolTip(title);
    m_countdown->setEnabled(false);
    m_countdown->setText(title);
    auto *restore = new QAction(icons::icon(QStringLiteral("restore")), tr("&Restore"), this);
    connect(restore, &QAction::triggered, this, &TrayIcon::restoreRequested);

    QAction *first = menu.actions().value(0);
    menu.insertAction(first, m_countdown);
    menu.insertSeparator(first);
    menu.insertAction(first, restore);
    m_icon.setContextMenu(&menu);

    connect(&m_icon, &QSystemTrayIcon::activated, this, &TrayIcon::activated);
    m_watch.setInterval(kWatchMs);
    connect(&m_watch, &QTimer::timeout, this, [this] {
        if (!isAvailable())
            Q_EMIT restoreRequested();
    });
}

void TrayIcon::showIcon()
{
    m_icon.show();
    m_watch.start();
}

void TrayIcon::removeIcon()
{
    m_watch.stop();
    m_icon.hide();
}

void TrayIcon::setCountdown(const QString &text)
{
    m_countdown->setText(QString(text).replace(u'&', QStringLiteral("&&")));
    m_icon.setToolTip(Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text); // some desktops read a tip as markup
}

void TrayIcon::activated(QSystemTrayIcon::ActivationReason reason)
{
    // Elsewhere than on Windows many desktops report one click and never a double click.
    const bool clicksOnce = QSysInfo::kernelType() != QLatin1String("winnt");
    if (clicksOnce && reason == QSystemTrayIcon::Trigger)
        Q_EMIT LeftDoubleClick();
    if (reason == QSystemTrayIcon::DoubleClick)
        Q_EMIT LeftDoubleClick();
}

} // namespace qm
