/// \file
/// F1 in every window.
#pragma once

#include <QObject>

class QWidget;

namespace qm {

class ErrorReporter;
class HelpViewer;

/// Context numbers of the help file, by what they tell about.
namespace helpcontext {
inline constexpr int dataSources = 24, mainWindow = 26, scheduledJob = 54, email = 55;
inline constexpr int queryEditor = 101, reportParameters = 102, reportViewer = 103, messages = 104;
} // namespace helpcontext

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
