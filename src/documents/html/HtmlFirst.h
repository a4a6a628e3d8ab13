/// \file
/// What stands above the rows of a report page beside its facts: notices, key figures, charts, the list of the largest.
#pragma once

#include "documents/ReportWriter.h"

#include <span>
#include <string>

namespace qm {

/// A bar with one line for each sentence; empty where there is none.
[[nodiscard]] std::string htmlNotices(std::span<const std::string> notices);
/// The same in at most \p bytes: what does not fit is said to stand at the end.
[[nodiscard]] std::string htmlNoticesWithin(std::span<const std::string> notices, std::size_t bytes);

/// A key figure's value as escaped text of at most \p bytes.
[[nodiscard]] std::string htmlFigure(const KeyFigure &figure, const Value &value, std::size_t bytes);

/// Charts and the list of the largest, known only behind the rows and shown before them by style; empty where there are none.
[[nodiscard]] std::string htmlLatePart(const ReportShape &shape, const ReportTail &tail);

} // namespace qm
