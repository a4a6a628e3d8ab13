/// \file
/// Where a query file belongs and which layout it means. Both separators are accepted everywhere; letter case of folders is ignored.
#pragma once

#include "core/Records.h"

#include <QString>

#include <memory>
#include <vector>

namespace qm {

/// The folder above "Query Groups", ended with a separator; empty for a path that has no such folder.
[[nodiscard]] QString packageFolderOf(const QString &queryFile);

/// The package whose InstallPath is the longest beginning of \p queryFile; null when there is none.
[[nodiscard]] std::shared_ptr<PackageInfo> packageOf(const QString &queryFile, const std::vector<std::shared_ptr<PackageInfo>> &packages);

/// The absolute path of the layout that \p reportFile names: relative to \p packageFolder, or absolute. Empty for an empty name.
[[nodiscard]] QString resolveLayoutPath(const QString &reportFile, const QString &packageFolder);

} // namespace qm
