/// \file
/// Folders that the program makes inside an installation.
#pragma once

#include <QString>

namespace qm {

/// The table of packages, by which a folder is known as an installation.
inline constexpr char kPackagesFile[] = "Packages.ini";

/// Makes the folder \p name ("Logs") of the installation \p installPath (with trailing separator), for the group that the installation's
/// folder is shared with too. Nothing is made in a folder that is no installation: its disk may be gone for the moment, and what is made
/// in its place would be hidden when it comes back. \returns whether the folder is there.
bool makeInstallationFolder(const QString &installPath, const QString &name);

} // namespace qm
