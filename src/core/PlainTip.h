/// \file
/// Foreign text in a tool tip.
#pragma once

#include <QString>

namespace qm {

/// \p text as a tool tip that shows every character as it stands and breaks long lines. A tip guesses whether its text is markup, so text
/// that is only escaped shows its escapes, and text that is not may be read as markup.
[[nodiscard]] inline QString plainTip(const QString &text)
{
    return QStringLiteral("<p style='white-space:pre-wrap'>") + text.toHtmlEscaped() + QStringLiteral("</p>");
}

} // namespace qm
