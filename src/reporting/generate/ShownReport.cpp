#include "reporting/generate/ShownReport.h"

#include "reporting/common/ReportDesk.h"
#include "reporting/common/ReportingUiServices.h"
#include "reporting/viewer/frmReportViewer.h"

namespace qm {

void showReport(ReportingUiServices &services, SpoolWriter &rows, const QString &queryFile, const RunResult &result, bool interactive)
{
    SpooledReport report = rows.take();
    report.csv = result.csv;
    report.sources = result.sources;
    auto viewer = new frmReportViewer(services, std::move(report), queryFile, result.note);
    services.desk.addViewer(viewer);
    viewer->setAttribute(Qt::WA_ShowWithoutActivating, !interactive);
    viewer->show();
    if (interactive) {
        viewer->raise();
        viewer->activateWindow();
    }
}

} // namespace qm
