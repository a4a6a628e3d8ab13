/// \file
/// The sheet that says what the report is: notices, key figures, facts, the largest.
#pragma once

#include "documents/xlsx/XlsxCells.h"

#include <span>
#include <string>
#include <utility>

namespace qm::xlsx {

/// A label and what is stated under it.
using Statement = std::pair<std::string, std::string>;

/// Writes the whole sheet into the open member, one page wide. \p more: what the writer knows beyond the facts of the head.
void writeAbout(ZipStream &zip, CellWriter &cells, Styles &styles, const ReportHead &head, const ReportShape &shape, const ReportTail &tail,
                std::span<const Statement> more);

} // namespace qm::xlsx
