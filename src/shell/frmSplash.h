/// \file
/// The window that the program starts with.
#pragma once

#include <QTimer>
#include <QWidget>

#include <functional>

namespace qm {

class ErrorReporter;
class Prompts;

/// What the splash window starts and ends.
struct SplashSteps
{
    std::function<void()> loadMainWindow;
    std::function<void()> showMainWindow;
    std::function<void()> endProgram;
};

/// Shown for a second, then loads the main window and goes. A key that types something ends the program before that second is over.
/// An ordinary frameless window, so that it takes the focus and a click does not close it.
class frmSplash final : public QWidget
{
    Q_OBJECT
public:
    frmSplash(ErrorReporter &errors, Prompts &prompts, SplashSteps steps);

    void Form_Load();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void Timer1_Timer();
    void Form_KeyPress();
    void buildControls();

    ErrorReporter &m_errors;
    Prompts &m_prompts;
    SplashSteps m_steps;
    QTimer m_timer1;
};

} // namespace qm
