// Makes the real objects and passes them in; nothing else.

#include "app/RunJournal.h"
#include "core/Clock.h"
#include "core/ErrorReporter.h"
#include "datasources/AdoConnectionTester.h"
#include "framework/ComponentRegistry.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "help/HelpFile.h"
#include "platform/ApplicationLog.h"
#include "platform/InstanceLock.h"
#include "platform/Registry.h"
#include "platform/SystemDueTimer.h"
#include "reporting/engine/TemporaryFolder.h"
#include "reporting/ui/PackageReportInterface.h"
#include "reporting/ui/ReportDesk.h"
#include "reporting/ui/Spool.h"
#include "shell/Icons.h"
#include "shell/Style.h"
#include "shell/WidgetPrompts.h"
#include "shell/frmMain.h"
#include "shell/frmSplash.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

#include <clocale>

namespace {

using namespace qm;

/// The fonts lie beside the program where it was built, in the shared data where it was installed.
QString fontFolder()
{
    const QString program = QCoreApplication::applicationDirPath();
    const QString beside = program + QStringLiteral("/fonts");
    return QDir(beside).exists() ? beside : program + QStringLiteral("/../share/quillmark/fonts");
}

QString userStateFile(const QString &name)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/tarrowind/") + name;
}

/// All objects of one run of the program, in the order they need one another.
class Program final
{
public:
    explicit Program(const QString &installPath)
        : m_log(installPath, QStringLiteral("quillmark")), m_known(std::make_shared<KnownFiles>(&m_log)), m_errors(m_prompts),
          m_registry(installPath, &m_log), m_engine({installPath, fontFolder(), m_clock, m_log}), m_journal(m_log, m_clock, installPath),
          m_jobReader(m_known), m_reporting{m_prompts,
                                            m_engine,
                                            m_queries,
                                            m_layouts,
                                            m_packages,
                                            m_clock,
                                            m_log,
                                            m_desk,
                                            fontFolder(),
                                            [this] { return m_globals.gstrInstallPath; },
                                            [this] { return m_globals.gdicDataSources.Keys(); },
                                            [this] { return m_window && m_window->isVisible() ? m_window.get() : nullptr; }}
    {
        m_help.setStateFile(userStateFile(QStringLiteral("help.ini")));
        m_registry.registerReportInterface(QString::fromLatin1(kReportInterfaceFamily),
                                           [this](const QString &) { return makePackageReportInterface(m_reporting); });
        QObject::connect(&m_desk, &ReportDesk::runEnded, &m_desk, [this] {
            if (m_window)
                m_window->schedule().timer().deliverWaitingMature();
        });
    }

    int run()
    {
        m_journal.markInterruptedRuns();
        removeLeftSpools();
        frmSplash splash(m_errors, m_prompts,
                         {[this] { loadMainWindow(); }, [this] { m_window->show(); }, [] { QCoreApplication::quit(); }});
        splash.Form_Load();
        splash.show();
        const int result = QCoreApplication::exec();
        m_desk.closeViewers();
        m_window.reset();
        return result;
    }

    Prompts &prompts() { return m_prompts; }
    void raiseWindow()
    {
        if (m_window)
            m_window->RestoreFromTray();
    }

private:
    void loadMainWindow()
    {
        m_window = std::make_unique<frmMain>(services());
        m_prompts.setMainWindow(m_window.get());
        m_window->Form_Load();
    }

    MainWindowServices services()
    {
        return {.globals = m_globals,
                .errors = m_errors,
                .prompts = m_prompts,
                .clock = m_clock,
                .components = m_registry,
                .help = m_help,
                .journal = m_journal,
                .jobReader = m_jobReader,
                .readers = {[] { return std::make_unique<IniPackageConfigReader>(); },
                            [this] { return std::make_unique<TomlJobConfigReader>(m_known); },
                            [this] { return std::make_unique<TomlEmailConfigReader>(m_known); },
                            [this] { return std::make_shared<TomlDataSourceFileReader>(m_known); }},
                .makeQueryReader = [] { return std::make_unique<TomlQueryReader>(); },
                .getInstallPath = [] { return GetInstallPath(); },
                .makeDueTimer = [] { return std::make_unique<SystemDueTimer>(); },
                .isProducingRows = [this] { return m_desk.isProducingRows() || m_registry.isGenerating(); },
                .isEditing = [this] { return m_registry.isEditing(); },
                .closeViewers = [this] { m_desk.closeViewers(); },
                .endProgram = [] { QCoreApplication::quit(); },
                .connectionTester = &m_connectionTester,
                .stateFile = userStateFile(QStringLiteral("window.ini"))};
    }

    ApplicationLog m_log;
    std::shared_ptr<KnownFiles> m_known;
    Globals m_globals;
    WidgetPrompts m_prompts;
    ErrorReporter m_errors;
    SystemClock m_clock;
    ComponentRegistry m_registry;
    ReportEngine m_engine;
    ReportDesk m_desk;
    HelpFile m_help;
    AdoConnectionTester m_connectionTester;
    RunJournal m_journal;
    TomlJobConfigReader m_jobReader;
    TomlQueryAccess m_queries;
    TomlLayoutReader m_layouts;
    IniPackageConfigReader m_packages;
    ReportingUiServices m_reporting;
    std::unique_ptr<frmMain> m_window;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    chooseStyle();
    QApplication::setWindowIcon(icons::applicationIcon());
    QApplication::setDesktopFileName(QStringLiteral("quillmark"));
    QApplication::setQuitOnLastWindowClosed(false);

    // What SQLite writes while it sorts lies where nobody else can read it; set before any thread starts.
    useTemporaryFolder();

    // A missing installation folder is told by the main window; here it only means that there is nothing to lock.
    const QString installPath = trapSilently([] { return GetInstallPath(); });
    Program program(installPath);
    InstanceLock lock(installPath);
    switch (installPath.isEmpty() ? InstanceLock::Result::NotLockable : lock.acquire()) {
    case InstanceLock::Result::HeldBySameUser:
        lock.askHolderToRaise();
        return EXIT_SUCCESS;
    case InstanceLock::Result::HeldByOther:
        program.prompts().messageBox(
            QCoreApplication::translate("main", "This installation's report generator is already open: %1.\r\n\r\nA "
                                                "second one would run each scheduled report twice. Close the other one first.")
                .arg(lock.holder()),
            box::ok | box::exclamation, QString::fromLatin1(kApplicationTitle));
        return EXIT_FAILURE;
    case InstanceLock::Result::Acquired:
    case InstanceLock::Result::NotLockable:
        break;
    }
    QObject::connect(&lock, &InstanceLock::raiseRequested, &app, [&program] { program.raiseWindow(); });
    return program.run();
}
