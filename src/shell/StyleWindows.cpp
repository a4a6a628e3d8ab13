#include "shell/Style.h"

#include <QApplication>
#include <QPalette>
#include <QProxyStyle>

namespace qm {

namespace {

/// Qt's style for this system draws selected rows in colours of its own, beside the palette, and knows no dark mode; Fusion follows the
/// system's palette everywhere.
class Style final : public QProxyStyle
{
public:
    Style() : QProxyStyle(QStringLiteral("fusion")) {}

    using QProxyStyle::polish;
    /// The system's selection in a list without the focus is hardly seen; the program dims the others by itself (see ActiveControl).
    void polish(QPalette &palette) override
    {
        QProxyStyle::polish(palette);
        for (const QPalette::ColorRole role : {QPalette::Highlight, QPalette::HighlightedText})
            palette.setColor(QPalette::Inactive, role, palette.color(QPalette::Active, role));
    }
};

} // namespace

void chooseStyle()
{
    QApplication::setStyle(new Style); // owned by the application
}

} // namespace qm
