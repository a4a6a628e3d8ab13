/// \file
/// Taking paths apart. Where the platform has two separators, both count.
#pragma once

#include <QString>

namespace qm::paths {

/// Where the last separator of \p path stands; -1: nowhere.
[[nodiscard]] qsizetype lastSeparator(const QString &path);
/// The folder part of \p path, without separator unless it is a root; "." when it has none.
[[nodiscard]] QString folderOf(const QString &path);
/// \p path without separators at its end; a root keeps its own.
[[nodiscard]] QString trimmed(QString path);
/// \throws RuntimeError 52 with the reason when the last part of \p path cannot be a file name.
void requireName(const QString &path);

} // namespace qm::paths
