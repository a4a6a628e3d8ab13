/// \file
/// Measures the columns of a report, in the letters that it is set in.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/columns/ColumnFit.h"
#include "documents/pdf/TextLayout.h"

#include <vector>

namespace qm::pdf {

/// What the cells of \p column are set in.
[[nodiscard]] TextStyle cellStyle(const ReportColumn &column);

/// What \p sample shows of each column of \p shape. Text columns whose values are codes (one word of letters, digits and joints with a
/// digit in each, such as an address or an identifier) are as whole as numbers. Clears \p layout.
[[nodiscard]] std::vector<columns::Column> measureColumns(const ReportShape &shape, const SampleRows &sample, TextLayout &layout);

} // namespace qm::pdf
