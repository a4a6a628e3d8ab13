/// \file
/// The key scheme of the catalogue.
///
/// A package node has the key "R/" + package, a group node or row "G/" + package + "/" + group, a query row "Q" + its running number in the
/// current listing. The first character alone, the selection code, decides the level everywhere.
#pragma once

#include <QString>

namespace qm {

namespace selection {
inline constexpr QChar package = u'R', group = u'G', query = u'Q';
} // namespace selection

[[nodiscard]] QString packageKey(const QString &package);
[[nodiscard]] QString groupKey(const QString &package, const QString &group);
/// \p number counts from 1.
[[nodiscard]] QString queryKey(std::size_t number);

/// Whether the key's first element is exactly "R".
[[nodiscard]] bool IsRootKey(const QString &key);
/// The key's last element; the whole key when it has no "/".
[[nodiscard]] QString LastKeyPart(const QString &key);
/// The key's first character; empty for an empty key.
[[nodiscard]] QString selectionCode(const QString &key);
[[nodiscard]] inline bool isLevel(const QString &key, QChar level)
{
    return key.startsWith(level);
}

/// The folder with a package's report groups, with trailing separator. \p packageFolder ends with a separator.
[[nodiscard]] QString groupsFolder(const QString &packageFolder);

} // namespace qm
