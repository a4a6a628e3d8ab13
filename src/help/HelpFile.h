/// \file
/// The application's help file.
#pragma once

#include "core/HelpViewer.h"

#include <QString>

#include <memory>

namespace qm {

class frmHelp;

/// Knows where the help file is and shows its pages.
class HelpFile final : public HelpViewer
{
public:
    HelpFile();
    ~HelpFile() override;

    void setPath(const QString &path) { m_path = path; }
    [[nodiscard]] const QString &path() const { return m_path; }
    /// Where the help window's look is kept for this user; empty: nowhere.
    void setStateFile(const QString &path) { m_stateFile = path; }
    /// The file that is shown: the one at path(), else the one that came with the program.
    [[nodiscard]] QString effectivePath() const;

    /// An unknown context number opens the page to begin with.
    void showContext(int context) override;
    void closeWindow();
    /// The help window; null while none was opened.
    [[nodiscard]] frmHelp *window() const { return m_window.get(); }

private:
    QString m_path;
    QString m_stateFile;
    QString m_shownPath;
    std::unique_ptr<frmHelp> m_window;
};

} // namespace qm
