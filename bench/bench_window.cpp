/// \file
/// Starts a window, waits until it is on the screen, and ends: CPU time and memory are measured from outside.
///
///   bench_window empty           an empty main window
///   bench_window main FOLDER     the program's main window on the installation in FOLDER (with trailing separator)
#include "core/ErrorReporter.h"
#include "framework/ComponentRegistry.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "help/HelpFile.h"
#include "platform/SystemDueTimer.h"
#include "shell/WidgetPrompts.h"
#include "shell/frmMain.h"

#include <QApplication>
#include <QMainWindow>
#include <QTimer>

#include <cstdio>

using namespace qm;

namespace {

class NoJournal final : public ScheduleJournal
{
public:
    void notRun(const ScheduledReportJob &, const QString &) override {}
    void skippedRuns(const ScheduledReportJob &, const WallTime &, int) override {}
    void note(const QString &) override {}
};

/// Shows the window and ends the program once it has been painted.
int showOnce(QWidget &window)
{
    window.resize(1180, 760);
    window.show();
    QTimer::singleShot(0, &window, [&window] {
        window.repaint();
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}

int showMain(const QString &folder)
{
    Globals globals;
    WidgetPrompts prompts;
    ErrorReporter errors(prompts);
    SystemClock clock;
    ComponentRegistry components(folder, nullptr);
    HelpFile help;
    NoJournal journal;
    TomlJobConfigReader jobReader;
    frmMain window(MainWindowServices{
        .globals = globals,
        .errors = errors,
        .prompts = prompts,
        .clock = clock,
        .components = components,
        .help = help,
        .journal = journal,
        .jobReader = jobReader,
        .readers = {[] { return std::make_unique<IniPackageConfigReader>(); }, [] { return std::make_unique<TomlJobConfigReader>(); },
                    [] { return std::make_unique<TomlEmailConfigReader>(); }, [] { return std::make_shared<TomlDataSourceFileReader>(); }},
        .makeQueryReader = [] { return std::make_unique<TomlQueryReader>(); },
        .getInstallPath = [&folder] { return folder; },
        .makeDueTimer = [] { return std::make_unique<SystemDueTimer>(); },
        .isProducingRows = [] { return false; },
        .closeViewers = [] {},
        .endProgram = [] {},
        .stateFile = {}});
    window.Form_Load();
    return showOnce(window);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QApplication::arguments();
    if (arguments.value(1) == QStringLiteral("main") && arguments.size() == 3)
        return showMain(arguments.at(2));
    if (arguments.value(1) != QStringLiteral("empty")) {
        std::fprintf(stderr, "usage: bench_window empty | bench_window main FOLDER\n");
        return 2;
    }
    QMainWindow empty;
    return showOnce(empty);
}
