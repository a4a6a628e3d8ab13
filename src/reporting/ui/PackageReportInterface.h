/// \file
/// The report interface of the packages: the query editor, and reports on the screen, in files and by mail.
#pragma once

#include "framework/Components.h"
#include "framework/Readers.h"
#include "reporting/engine/ReportEngine.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QWidget;

namespace qm {

class ApplicationLog;
class Prompts;
class ReportDesk;

/// What report interfaces work with. Everything outlives them and the windows they open.
struct ReportingUiServices
{
    Prompts &prompts;
    ReportEngine &engine;
    QueryAccess &queries;
    LayoutReader &layouts;
    PackageConfigReader &packages;
    const Clock &clock;
    ApplicationLog &log;
    ReportDesk &desk;
    QString fontFolder;                          ///< the shipped fonts
    std::function<QString()> installPath;        ///< installation folder with trailing separator
    std::function<QStringList()> dataSourceKeys; ///< keys of the saved data sources
    std::function<QWidget *()> window;           ///< parent of dialogs; may be empty or give null
};

/// A report interface. Its GenerateReport keeps the windows painting while a worker thread produces the rows, and discards input meanwhile;
/// it shows no dialog unless interactive. Failures keep the engine's number and text; cancelling raises cancelledByOperator.
[[nodiscard]] std::unique_ptr<ReportInterface> makePackageReportInterface(ReportingUiServices &services);

} // namespace qm
