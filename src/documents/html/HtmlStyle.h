/// \file
/// How a report page looks, on the screen and on paper.
#pragma once

#include "documents/ReportWriter.h"
#include "documents/html/HtmlColumns.h"

#include <string>

namespace qm {

/// The whole style sheet of one report: the common part, its columns and its page bands.
[[nodiscard]] std::string htmlStyleSheet(const ReportHead &head, const HtmlColumns &columns);

} // namespace qm
