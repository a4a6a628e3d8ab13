/// \file
/// Keeps the operator's input away from the windows while the operator's own report is being produced.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <vector>

namespace qm {

/// While it lives, keys, clicks, shortcuts and drags are discarded (not queued) for every window but the allowed one and those with the
/// property kInputDuringRun; painting and timers go on. Windows that were asked to close meanwhile are asked again, once, when the gate
/// goes.
class InputGate final : public QObject
{
    Q_OBJECT
public:
    /// \p mainWindow may be null.
    explicit InputGate(QWidget *mainWindow);
    ~InputGate() override;

    /// \p window keeps its input.
    void allow(QWidget *window) { m_allowed = window; }

Q_SIGNALS:
    /// The operator asked the main window to close.
    void mainWindowClosed();

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    [[nodiscard]] bool isAllowed(const QObject *receiver) const;

    QPointer<QWidget> m_mainWindow;
    QPointer<QWidget> m_allowed;
    std::vector<QPointer<QWidget>> m_toClose;
};

} // namespace qm
