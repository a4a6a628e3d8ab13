/// \file
/// Icons made from the program's own drawings.
#pragma once

#include <QIcon>

namespace qm {

enum class Ink {
    Own, ///< the drawing's colours; faded where disabled, the colour of selected text on a selected row, since its own may be the
         ///< selection's
    Text ///< one colour, that of the text beside it in each state
};

/// \p resource as in Picture. Crisp at any size and screen; follows the palette.
[[nodiscard]] QIcon pictureIcon(const QString &resource, Ink ink = Ink::Own);

} // namespace qm
