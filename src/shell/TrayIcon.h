/// \file
/// The notification-area icon.
#pragma once

#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

class QAction;
class QMenu;

namespace qm {

/// Shows the program in the notification area while its window is hidden. Where there is no such area it says so, so that the window is
/// not lost.
class TrayIcon final : public QObject
{
    Q_OBJECT
public:
    /// \p menu is the icon's pop-up; the countdown and "Restore" are put in front of what it holds.
    TrayIcon(const QIcon &icon, const QString &title, QMenu &menu, QObject *parent = nullptr);

    [[nodiscard]] static bool isAvailable() { return QSystemTrayIcon::isSystemTrayAvailable(); }
    void showIcon();
    void removeIcon();
    /// The tip, and the first line of the menu.
    void setCountdown(const QString &text);

Q_SIGNALS:
    void LeftDoubleClick();
    /// "Restore" was chosen, or the notification area went away while the icon was shown.
    void restoreRequested();

private:
    void activated(QSystemTrayIcon::ActivationReason reason);

    QSystemTrayIcon m_icon;
    QAction *m_countdown;
    QTimer m_watch; ///< looks whether the notification area is still there
};

} // namespace qm
