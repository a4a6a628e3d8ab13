/// \file
/// Text of others in a page: nothing in it can become markup, hide or reorder what stands beside it.
#pragma once

#include "documents/OutputFile.h"

#include <string>
#include <string_view>

namespace qm {

/// Writes \p text so that a browser shows it letter by letter: markup characters escaped, hidden controls visible, invalid UTF-8 as
/// replacement characters, each kind of line break as a line feed.
void writeEscaped(OutputFile &file, std::string_view text);
/// The same as a string, for texts of the head.
[[nodiscard]] std::string escaped(std::string_view text);
/// As much of the same as \p bytes hold, with an ellipsis where that is not all.
[[nodiscard]] std::string escapedWithin(std::string_view text, std::size_t bytes);
/// \p text as a string of a style sheet, quotes included.
[[nodiscard]] std::string styleString(std::string_view text);

} // namespace qm
