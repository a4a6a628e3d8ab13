/// \file
/// Makes characters that could hide or reorder text visible, for showing foreign text.
#pragma once

#include <QString>

namespace qm {

enum class LineBreaks {
    Marked, ///< a return arrow in one line
    Kept,   ///< real line breaks
};

/// \p text with control characters as their pictures (U+2400 block) and with bidirectional and invisible format characters as their code in
/// brackets, "[U+202E]". CR LF, LF and the Unicode line and paragraph separators are line breaks; a tab stays one where line breaks are
/// kept.
[[nodiscard]] QString visibleText(QStringView text, LineBreaks breaks = LineBreaks::Marked);

} // namespace qm
