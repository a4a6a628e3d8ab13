/// \file
/// The application's help file.
#pragma once

#include "core/HelpViewer.h"
#include "help/HelpDisplay.h"

namespace qm {

/// Knows where the help file is and has it shown.
class HelpFile final : public HelpViewer
{
public:
    void setPath(const QString &path) { m_path = path; }
    [[nodiscard]] const QString &path() const { return m_path; }
    /// Where the help window's look is kept for this user; empty: nowhere.
    void setStateFile(const QString &path) { m_stateFile = path; }
    /// The file that is shown: the one at path(), else the one that came with the program.
    [[nodiscard]] QString effectivePath() const;

    /// An unknown context number opens the page to begin with.
    void showContext(int context) override;
    void closeWindow();
    /// The program's own help window; null while none was opened, and where the system shows its own.
    [[nodiscard]] QWidget *window() const { return m_display ? m_display->window() : nullptr; }

private:
    QString m_path;
    QString m_stateFile;
    std::unique_ptr<HelpDisplay> m_display; ///< made when help is first asked for
};

} // namespace qm
