#include "app/Program.h"

#include "engine/rows/Spool.h"
#include "platform/SystemDueTimer.h"
#include "platform/TemporaryFiles.h"
#include "reporting/generate/PackageReportInterface.h"

#include <QCoreApplication>

namespace qm {

Program::Program(Prompts &prompts, const ProgramPlace &place)
    : m_place(place), m_prompts(prompts), m_log(place.installPath, QStringLiteral("quillmark")),
      m_known(std::make_shared<KnownFiles>(&m_log)), m_errors(prompts), m_registry(place.installPath, &m_log),
      m_engine({place.installPath, place.fontFolder, m_clock, m_log}), m_journal(m_log, m_clock, place.installPath),
      m_jobReader(m_known), m_reporting{.prompts = prompts,
                                        .engine = m_engine,
                                        .queries = m_queries,
                                        .layouts = m_layouts,
                                        .clock = m_clock,
                                        .log = m_log,
                                        .desk = m_desk,
                                        .host = *this,
                                        .fontFolder = place.fontFolder}
{
    if (!place.userStateFolder.isEmpty())
        m_help.setStateFile(place.userStateFolder + QStringLiteral("help.ini"));
    m_registry.setForeignRuns(&m_journal);
    m_registry.registerReportInterface(QString::fromLatin1(kReportInterfaceFamily),
                                       [this](const QString &) { return makePackageReportInterface(m_reporting); });
}

Program::~Program()
{
    m_desk.closeViewers();
    // The viewers use what is below; no loop runs any more that would delete them.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_window.reset(); // others ask whether it is there
}

void Program::tidyUp()
{
    m_journal.markInterruptedRuns();
    removeLeftSpools();
    if (!m_place.installPath.isEmpty())
        sweepTemporaries(m_place.installPath);
    sweepWorkFolders();
}

frmMain &Program::makeMainWindow()
{
    m_window = std::make_unique<frmMain>(services());
    QObject::connect(m_window.get(), &frmMain::closed, &m_desk, &ReportDesk::closeViewers);
    return *m_window;
}

MainWindowServices Program::services()
{
    return {.globals = m_globals,
            .errors = m_errors,
            .prompts = m_prompts,
            .clock = m_clock,
            .components = m_registry,
            .help = m_help,
            .journal = m_journal,
            .jobReader = m_jobReader,
            .work = *this,
            .readers = {[] { return std::make_unique<IniPackageConfigReader>(); },
                        [this] { return std::make_unique<TomlJobConfigReader>(m_known); },
                        [this] { return std::make_unique<TomlEmailConfigReader>(m_known); },
                        [this] { return std::make_shared<TomlDataSourceFileReader>(m_known); }},
            .makeQueryReader = [] { return std::make_unique<TomlQueryReader>(); },
            .makeDueTimer = [] { return std::make_unique<SystemDueTimer>(); },
            .connectionTester = &m_connectionTester,
            .stateFile = m_place.userStateFolder.isEmpty() ? QString() : m_place.userStateFolder + QStringLiteral("window.ini")};
}

} // namespace qm
