/// \file
/// Writes the fonts of a PDF file once all its text is known.
#pragma once

#include "documents/pdf/FontBook.h"
#include "documents/pdf/PdfFile.h"

#include <string>

namespace qm::pdf {

/// Subsets and writes each font whose codes appear.
/// \returns the font resource dictionary: "<</F0 12 0 R/F3 17 0 R>>".
/// \throws RuntimeError 7 when a font cannot be subset.
std::string embedFonts(const FontBook &book, PdfFile &file);

} // namespace qm::pdf
