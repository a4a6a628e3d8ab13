/// \file
/// The rows' way from the source into the writer.
#pragma once

#include "documents/ReportWriter.h"
#include "engine/rows/CancelFlag.h"
#include "engine/rows/RowSample.h"
#include "engine/rows/RowSource.h"
#include "engine/run/ReportPlan.h"

#include <cstdint>
#include <functional>

namespace qm {

/// Begins \p writer with the report's head and hands it all rows of \p sample and \p source, cut off after \p rowLimit (0: never).
/// \p progress is called a few times a second with the rows so far; may be empty. \returns what is known after the last row; the writer is
/// not ended. \throws RuntimeError as the source, the writer and \p limits do.
[[nodiscard]] ReportTail passRows(RowSource &source, const RowSample &sample, const ReportPlan &plan, ReportWriter &writer,
                                  std::int64_t rowLimit, const RunLimits &limits, const std::function<void(std::int64_t)> &progress);

} // namespace qm
