/// \file
/// A report that a run has made for the screen, opened in a viewer.
#pragma once

#include "engine/rows/Spool.h"
#include "engine/run/ReportEngine.h"

#include <QString>

namespace qm {

struct ReportingUiServices;

/// Opens the viewer of the report that \p rows received. It takes the focus only when the operator asked for the report.
void showReport(ReportingUiServices &services, SpoolWriter &rows, const QString &queryFile, const RunResult &result, bool interactive);

} // namespace qm
