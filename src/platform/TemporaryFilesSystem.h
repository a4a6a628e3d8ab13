/// \file
/// The operating system's side of sweeping temporaries.
#pragma once

#include <QString>

namespace qm {

/// Removes the file \p path unless a living program holds it. \returns whether it is gone.
[[nodiscard]] bool removeUnheld(const QString &path);
/// Whether the entry \p path itself, a link not followed, belongs to this user.
[[nodiscard]] bool isOwn(const QString &path);
/// Whether \p path is a folder, and no link to one, that belongs to this user and that nobody else may look into or write to.
[[nodiscard]] bool isPrivateFolder(const QString &path);

} // namespace qm
