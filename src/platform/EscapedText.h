/// \file
/// Foreign text where people read it line by line: in a log, at a terminal.
#pragma once

#include <QString>

namespace qm {

/// \p text on one line: what would break the line, move the cursor, colour the terminal or change the reading direction is written as an
/// escape ("\n", "\u001b").
[[nodiscard]] QString escapedText(const QString &text);
/// As escapedText(), but lines stay lines and tabs stay tabs.
[[nodiscard]] QString terminalText(const QString &text);

} // namespace qm
