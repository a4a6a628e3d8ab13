/// \file
/// The icons of the viewer and the query editor.
#pragma once

#include <QIcon>

namespace qm {

/// The icon \p name ("export", "find", ...), drawn in the palette's text colour at every size, light or dark.
[[nodiscard]] QIcon uiIcon(const char *name);

} // namespace qm
