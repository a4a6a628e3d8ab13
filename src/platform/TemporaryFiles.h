/// \file
/// Hidden temporaries: how they are named, how a living program holds them, and how those of dead ones are found.
#pragma once

#include <QDateTime>
#include <QString>
#include <QTemporaryDir>

#include <memory>

class QLockFile;

namespace qm {

/// A new name for a hidden temporary: ".quillmark-2k3f9x0a.tmp". \p suffix with its dot.
[[nodiscard]] QString temporaryName(const QString &suffix = QStringLiteral(".tmp"));
/// Whether a temporary of this program is named \p name.
[[nodiscard]] bool isTemporaryName(const QString &name);

/// Says that the file \p descriptor (of open()) belongs to a living program until it is closed. Does nothing on Windows, where an open file
/// cannot be removed anyway.
void holdTemporary(int descriptor);

/// Removes the temporaries in \p folder and below it that no living program holds and nobody has changed for ten minutes; what only looks
/// like one of an earlier version must belong to this user and be a day old. Links are not followed. \returns how many were removed.
int sweepTemporaries(const QString &folder);

/// Removes those temporaries of this user in \p folder itself that were last changed between \p begin and \p end, as sweepTemporaries()
/// does: what a program left there that lived then. Not below it: the folder is anybody's. \returns whether none is left; false without the
/// folder.
bool sweepTemporariesOf(const QString &folder, const QDateTime &begin, const QDateTime &end);

/// A folder that only this user can look into; it goes with the object. One that a killed program left goes with sweepWorkFolders().
class WorkFolder final
{
public:
    /// \throws RuntimeError 75 when none can be made.
    WorkFolder();
    ~WorkFolder();
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;

    /// With trailing separator.
    [[nodiscard]] QString path() const;

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QLockFile> m_hold; ///< in the folder
};

/// Removes this user's work folders that no living program holds. \returns how many.
int sweepWorkFolders();

} // namespace qm
