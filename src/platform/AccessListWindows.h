/// \file
/// Who may open a file.
#pragma once

#include <QString>

#include <string>

namespace qm::win {

/// Gives the file \p to the access list of the file \p from.
/// \returns whether it has it now: a file system may keep no such lists.
bool copyAccessList(const std::wstring &from, const std::wstring &to);
/// Takes every right from everybody, from the users in general and from guests, and gives its user all; who else the folder lets in stays.
/// \throws RuntimeError 75 when the system refuses.
void makePrivate(const std::wstring &path, const QString &shownAs);
/// Whether the file belongs to the user this process runs as, or to the group that owns what this user makes.
[[nodiscard]] bool isOwnFile(const std::wstring &path);
/// Whether the file belongs to the user this process runs as, to the administrators, or to the system itself.
[[nodiscard]] bool belongsToTrusted(const std::wstring &path);
/// The user or group that owns the file, as DOMAIN\name; empty when the system does not tell.
[[nodiscard]] QString ownerOf(const std::wstring &path);

} // namespace qm::win
