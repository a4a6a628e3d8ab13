/// \file
/// The program's own pictures.
#pragma once

#include "catalogue/ImageList.h"

namespace qm::icons {

/// The picture icons/<name>; crisp at any size, with colours that read on light and dark backgrounds.
[[nodiscard]] QIcon icon(const QString &name);
/// The pictures of tree, list and schedule table by image key.
[[nodiscard]] ImageList imageList();
/// The program's own icon.
[[nodiscard]] QIcon applicationIcon();
/// A file of this folder's resources ("third-party.txt") or the recording of one of its drawings ("splash").
[[nodiscard]] QString resource(const QString &name);

} // namespace qm::icons
