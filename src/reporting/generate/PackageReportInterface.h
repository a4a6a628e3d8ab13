/// \file
/// The report interface of the packages: the query editor, and reports on the screen, in files and by mail.
#pragma once

#include "framework/Components.h"

#include <memory>

namespace qm {

struct ReportingUiServices;

/// A report interface. An interactive GenerateReport keeps the windows painting while a worker thread produces the rows, and discards input
/// meanwhile. Reports for the schedule are made in the background (BackgroundReports), show no dialog and leave the windows alone.
/// Failures keep the engine's number and text; cancelling raises cancelledByOperator.
[[nodiscard]] std::unique_ptr<ReportInterface> makePackageReportInterface(ReportingUiServices &services);

} // namespace qm
