/// \file
/// Taking paths apart. Where the platform has two separators, both count.
#pragma once

#include <QString>

namespace qm::paths {

/// How many characters of \p path are its root: "/", "C:\" where drives have letters, "\\" of another computer; 0 without.
[[nodiscard]] qsizetype rootLength(const QString &path);
/// Whether \p path says where it is without a current folder or drive. A colon in front is no root, as it is where resources have paths.
[[nodiscard]] bool isAbsolute(const QString &path);
/// Where the last separator of \p path stands; -1: nowhere.
[[nodiscard]] qsizetype lastSeparator(const QString &path);
/// The folder part of \p path, without separator unless it is a root; "." when it has none.
[[nodiscard]] QString folderOf(const QString &path);
/// \p path without separators at its end; a root keeps its own.
[[nodiscard]] QString trimmed(QString path);
/// \throws RuntimeError 52 with the reason when the last part of \p path cannot be a file name.
void requireName(const QString &path);

/// The longest file that is read whole: many times what the program itself writes.
inline constexpr qsizetype kMostBytes = qsizetype{64} << 20;
/// \throws RuntimeError 321: \p path is longer than that.
[[noreturn]] void raiseTooLong(const QString &path);
/// Whether \p name, with any suffix, is a device on Windows and never a file there: "NUL", "com1.txt".
[[nodiscard]] bool isReservedDevice(const QString &name);

} // namespace qm::paths
