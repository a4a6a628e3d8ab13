/// \file
/// Windows stay on the screen.
#pragma once

#include <QObject>

class QWidget;

namespace qm {

/// Sees to it that no window of the program is shown larger than its screen or outside it, whatever size or place it was given: one that
/// was kept on a larger screen, or on a screen that is gone.
class ScreenFit final : public QObject
{
    Q_OBJECT
public:
    explicit ScreenFit(QObject *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

/// Makes \p window, with its frame, no larger than the free room of its screen, and moves it there when any of it lies outside.
void fitToScreen(QWidget &window);

} // namespace qm
