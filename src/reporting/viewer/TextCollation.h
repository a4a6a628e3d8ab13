/// \file
/// The order of texts in the viewer.
#pragma once

#include <string_view>

struct sqlite3;

namespace qm {

/// Compares UTF-8 texts without letter case, runs of ASCII digits by their value ("server9" before "server10"), ties by bytes.
/// \returns negative, 0 or positive.
[[nodiscard]] int compareTexts(std::string_view a, std::string_view b);
/// Makes the collation "qmtext" known to \p database. \throws RuntimeError 7.
void installTextCollation(sqlite3 *database);

} // namespace qm
