/// \file
/// The whole program but for its boxes: real window, real clock, real timer, real engine.
#pragma once

#include "app/RunJournal.h"
#include "core/ErrorReporter.h"
#include "framework/ComponentRegistry.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "help/HelpFile.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "platform/Registry.h"
#include "platform/SystemDueTimer.h"
#include "reporting/engine/RunLedger.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ReportDesk.h"
#include "scheduler/ScheduleTableView.h"
#include "shell/frmMain.h"
#include "support/Fakes.h"
#include "support/TempInstallation.h"

#include <QDir>

namespace qm::test {

using namespace Qt::StringLiterals;

inline TempPackage serverPackage()
{
    return {u"Server"_s,           u"Server Operating System Logs"_s,    u"QuillmarkReports.ServerLogs"_s,
            u"Packages/Server/"_s, u"QuillmarkQueryAccess.ServerLogs"_s, u"EventLog.db"_s};
}

/// Made on an installation whose registry entry is in force.
class WholeProgram
{
public:
    explicit WholeProgram(const TempInstallation &installation)
        : log(installation.path(), u"quillmark"_s), errors(prompts), registry(installation.path(), &log),
          engine({installation.path(), QCoreApplication::applicationDirPath() + u"/fonts"_s, clock, log}),
          journal(log, clock, installation.path()), reporting{prompts, engine, queries, layouts, packages,
                                                              clock,   log,    desk,    {},      [this] { return globals.gstrInstallPath; },
                                                              {},      {}}
    {
        registry.registerReportInterface(QString::fromLatin1(kReportInterfaceFamily),
                                         [this](const QString &) { return makePackageReportInterface(reporting); });
        window = std::make_unique<frmMain>(MainWindowServices{
            .globals = globals,
            .errors = errors,
            .prompts = prompts,
            .clock = clock,
            .components = registry,
            .help = help,
            .journal = journal,
            .jobReader = jobReader,
            .readers = {[] { return std::make_unique<IniPackageConfigReader>(); }, [] { return std::make_unique<TomlJobConfigReader>(); },
                        [] { return std::make_unique<TomlEmailConfigReader>(); },
                        [] { return std::make_shared<TomlDataSourceFileReader>(); }},
            .makeQueryReader = [] { return std::make_unique<TomlQueryReader>(); },
            .getInstallPath = [] { return GetInstallPath(); },
            .makeDueTimer = [] { return std::make_unique<SystemDueTimer>(); },
            .isProducingRows = [this] { return desk.isProducingRows() || registry.isGenerating(); },
            .isEditing = [this] { return registry.isEditing(); },
            .closeViewers = [this] { desk.closeViewers(); },
            .endProgram = [] {},
            .stateFile = {}});
    }

    ApplicationLog log;
    Globals globals;
    ScriptedPrompts prompts;
    ErrorReporter errors;
    SystemClock clock;
    ComponentRegistry registry;
    ReportEngine engine;
    ReportDesk desk;
    HelpFile help;
    RunJournal journal;
    TomlJobConfigReader jobReader;
    TomlQueryAccess queries;
    TomlLayoutReader layouts;
    IniPackageConfigReader packages;
    ReportingUiServices reporting;
    std::unique_ptr<frmMain> window;
};

inline WallTime secondsFrom(const WallTime &start, int seconds)
{
    const int total = start.secondOfDay + seconds;
    return {start.date.addDays(total / 86400), total % 86400};
}

} // namespace qm::test
