/// \file
/// Boxes, file dialogs and the pointer, for real.
#pragma once

#include "core/Prompts.h"

#include <QHash>
#include <QPointer>
#include <QWidget>

class QMessageBox;

namespace qm {

/// The operator's prompts as windows. Boxes belong to the modal dialog that is open, else to the main window while it is visible; a file
/// dialog belongs to the window that asks.
class WidgetPrompts final : public Prompts
{
public:
    ~WidgetPrompts() override;
    void setMainWindow(QWidget *window) { m_mainWindow = window; }
    /// Where the folders of the file dialogs are kept for this user; empty: only until the program ends.
    void setStateFile(const QString &path) { m_stateFile = path; }

    int messageBox(const QString &text, int style, const QString &title) override;
    std::optional<QString> chooseSaveFile(const FileDialogRequest &request) override;
    std::optional<QString> chooseOpenFile(const FileDialogRequest &request) override;
    void pointer(int shape) override;
    void unattended(bool on) override { m_unattended += on ? 1 : -1; }

private:
    [[nodiscard]] QWidget *parentWidget() const;
    void showWithoutWaiting(std::unique_ptr<QMessageBox> box);
    [[nodiscard]] std::optional<QString> chooseFile(const FileDialogRequest &request, bool save);
    /// The folder in which a dialog begins.
    [[nodiscard]] QString firstFolder(const FileDialogRequest &request) const;
    void rememberFolder(const FileDialogRequest &request, const QString &folder);

    QPointer<QWidget> m_mainWindow;
    QString m_stateFile;
    QHash<QString, QString> m_folders; ///< by FileDialogRequest::remembered
    bool m_hourglass = false;
    int m_unattended = 0;                   ///< scopes that are open
    QPointer<QMessageBox> m_lastUnattended; ///< the box that the next unattended one is shown behind
};

/// "Label|*.ext|Label|*.ext;*.other" as the file dialog's name filters.
[[nodiscard]] QStringList nameFilters(const QString &filter);

} // namespace qm
