/// \file
/// What a PDF file says about itself outside its pages: the information dictionary and the metadata stream.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/pdf/PdfFile.h"

namespace qm::pdf {

/// A language tag as it may stand in a PDF name or string; "en" for anything else.
[[nodiscard]] std::string languageTag(const std::string &language);

/// Both say the same: title, subject, author, creator, keywords (package, group, query) and when the report was made.
/// \returns the object written.
int writeInformation(const ReportHead &head, PdfFile &file);
/// Follows the Extensible Metadata Platform (ISO 16684-1).
int writeMetadata(const ReportHead &head, PdfFile &file);

} // namespace qm::pdf
