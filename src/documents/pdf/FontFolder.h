/// \file
/// Where the fonts that come with the program are.
#pragma once

#include <QString>

namespace qm {

/// The folder "fonts" beside the running program, or "../share/quillmark/fonts" in an installed tree; the first when neither exists.
/// Needs a QCoreApplication.
[[nodiscard]] QString shippedFontFolder();

} // namespace qm
