/// \file
/// Whom a file belongs to, who may use it, and whether it is one.
#pragma once

#include <QString>

namespace qm::files {

/// Whether \p path belongs to this process's user or to the system's administrator, and nobody else but a group may write it. What is not
/// there is not trusted.
[[nodiscard]] bool isTrusted(const QString &path);
/// Whether a pipe, a socket or a device is at \p path (a link is followed). Opening one may wait for ever.
[[nodiscard]] bool isPipeOrDevice(const QString &path);

/// Gives the file or folder \p path, which this process has just made, the rights of what several users share: its owner all, the group of
/// the folder it lies in what that folder gives the group, others none. Where the system refuses, fewer have rights.
void shareAsItsFolder(const QString &path);
/// Makes the empty file \p path, shared as its folder is. One that is there keeps its rights, but for one of this user's that the folder's
/// group may only read. Failures show when the file is opened.
void makeShared(const QString &path);

} // namespace qm::files
