/// \file
/// What the program may ask or show the operator: the seam behind every box, file dialog and the hourglass.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace qm {

/// Style bits and results of a message box, with the values of the platform's classic message box.
namespace box {
inline constexpr int ok = 0, okCancel = 1, abortRetryIgnore = 2, yesNoCancel = 3, yesNo = 4, retryCancel = 5;
inline constexpr int critical = 16, question = 32, exclamation = 48, information = 64;
inline constexpr int defaultButton2 = 0x100, defaultButton3 = 0x200;
inline constexpr int idOk = 1, idCancel = 2, idAbort = 3, idRetry = 4, idIgnore = 5, idYes = 6, idNo = 7;
} // namespace box

/// A file dialog to show. \c filter is "Label|*.ext|Label|*.ext".
struct FileDialogRequest
{
    QString title;
    QString folder;   ///< initial folder; empty: the platform's choice
    QString fileName; ///< proposed name
    QString filter;
    QString defaultSuffix; ///< without dot; added to a typed name that no pattern of the filter takes
    QString remembered;    ///< name under which the folder that was chosen is kept for the next time; empty: \c folder each time
};

/// Boxes, file dialogs and the mouse pointer. Texts are plain text, never markup.
class Prompts
{
public:
    virtual ~Prompts() = default;

    /// Shows a modal box and returns the classic result (1 OK, 2 Cancel, 6 Yes, 7 No, ...).
    virtual int messageBox(const QString &text, int style, const QString &title) = 0;
    /// The chosen path in native separators; nullopt when cancelled. Asks nothing about an existing file.
    virtual std::optional<QString> chooseSaveFile(const FileDialogRequest &request) = 0;
    virtual std::optional<QString> chooseOpenFile(const FileDialogRequest &request) = 0;
    /// The application's mouse pointer: 11 hourglass, 0 default. A state, not a stack.
    virtual void pointer(int shape) = 0;
    /// While on, boxes with only an OK button are shown modal but not awaited, one behind the other: an unattended run must not wait for
    /// anyone. Calls nest: each "on" is ended by an "off".
    virtual void unattended(bool on) = 0;
};

/// While it lives, boxes that only inform are shown but not awaited.
class UnattendedScope final
{
public:
    explicit UnattendedScope(Prompts &prompts) : m_prompts(prompts) { m_prompts.unattended(true); }
    ~UnattendedScope() { m_prompts.unattended(false); }
    Q_DISABLE_COPY_MOVE(UnattendedScope)

private:
    Prompts &m_prompts;
};

} // namespace qm
