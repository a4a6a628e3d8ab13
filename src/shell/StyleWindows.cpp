#include "shell/Style.h"

#include <QApplication>

namespace qm {

/// Qt's style for this system draws selected rows in colours of its own, beside the palette, and knows no dark mode; this one follows the
/// system's palette everywhere.
void chooseStyle()
{
    QApplication::setStyle(QStringLiteral("fusion"));
}

} // namespace qm
