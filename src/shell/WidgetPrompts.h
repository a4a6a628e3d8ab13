/// \file
/// Boxes, file dialogs and the pointer, for real.
#pragma once

#include "core/Prompts.h"

#include <QPointer>
#include <QWidget>

class QMessageBox;

namespace qm {

/// The operator's prompts as windows. Boxes belong to the modal dialog that is open, else to the main window while it is visible.
class WidgetPrompts final : public Prompts
{
public:
    ~WidgetPrompts() override;
    void setMainWindow(QWidget *window) { m_mainWindow = window; }

    int messageBox(const QString &text, int style, const QString &title) override;
    std::optional<QString> chooseSaveFile(const FileDialogRequest &request) override;
    std::optional<QString> chooseOpenFile(const FileDialogRequest &request) override;
    void pointer(int shape) override;
    void unattended(bool on) override { m_unattended = on; }

private:
    [[nodiscard]] QWidget *parentWidget() const;
    void showWithoutWaiting(std::unique_ptr<QMessageBox> box);
    [[nodiscard]] std::optional<QString> chooseFile(const FileDialogRequest &request, bool save);

    QPointer<QWidget> m_mainWindow;
    bool m_hourglass = false;
    bool m_unattended = false;
    QPointer<QMessageBox> m_lastUnattended; ///< the box that the next unattended one is shown behind
};

/// "Label|*.ext|Label|*.ext;*.other" as the file dialog's name filters.
[[nodiscard]] QStringList nameFilters(const QString &filter);

} // namespace qm
