/// \file
/// What shows a help file on this system.
#pragma once

#include <QString>

#include <memory>

class QWidget;

namespace qm {

/// One window for the help file: the program's own, or the system's where the system shows such files itself.
class HelpDisplay
{
public:
    virtual ~HelpDisplay() = default;
    /// Shows \p path at \p context in front of the window in use; an unknown number shows the page to begin with. A file that is shown
    /// already may be gone meanwhile. \throws RuntimeError 53 when it is missing, another when it cannot be shown, with the reason.
    virtual void show(const QString &path, int context) = 0;
    virtual void close() = 0;
    /// The program's own window; null where none was opened or the system shows its own.
    [[nodiscard]] virtual QWidget *window() const = 0;
};

/// \p stateFile keeps the look of the program's own window for this user; empty: nothing is kept.
[[nodiscard]] std::unique_ptr<HelpDisplay> makeHelpDisplay(const QString &stateFile);

} // namespace qm
