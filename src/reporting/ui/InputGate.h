/// \file
/// Keeps the operator's input away from the windows while a report is being produced.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>

namespace qm {

/// While it lives, keys, clicks, shortcuts and drags are discarded (not queued) for every window but the allowed ones; painting and timers
/// go on. An attempt to close another window calls the given function, and the window is asked to close again, once, when the gate goes.
class InputGate final : public QObject
{
public:
    explicit InputGate(std::function<void()> onClose);
    ~InputGate() override;

    /// \p window keeps its input.
    void allow(QWidget *window) { m_allowed = window; }
    /// Windows with this dynamic property keep their input too.
    static constexpr char kAlwaysOpen[] = "inputDuringRun";

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    [[nodiscard]] bool isAllowed(const QObject *receiver) const;

    std::function<void()> m_onClose;
    QPointer<QWidget> m_allowed;
    QPointer<QWidget> m_toClose;
};

} // namespace qm
