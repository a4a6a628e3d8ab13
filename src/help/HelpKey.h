/// \file
/// F1 in every window.
#pragma once

#include <QObject>

class QWidget;

namespace qm {

class ErrorReporter;
class HelpViewer;

/// The context number for F1 in \p window: its own, else that of the window it belongs to, else the main window's.
[[nodiscard]] int helpContextOf(const QWidget &window);

/// Turns F1 into help about the window that has it. A window with a Help button gets what that button does.
class HelpKey final : public QObject
{
    Q_OBJECT
public:
    HelpKey(HelpViewer &help, ErrorReporter &errors, QObject *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    HelpViewer &m_help;
    ErrorReporter &m_errors;
};

} // namespace qm
