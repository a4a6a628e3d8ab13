/// \file
/// The whole program but for its boxes and the window that it starts with: every real object, made and connected once.
#pragma once

#include "app/RunJournal.h"
#include "core/Clock.h"
#include "core/ErrorReporter.h"
#include "core/WorkAtHand.h"
#include "datasources/AdoConnectionTester.h"
#include "engine/run/ReportEngine.h"
#include "framework/ComponentRegistry.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "help/HelpFile.h"
#include "platform/ApplicationLog.h"
#include "reporting/common/ReportDesk.h"
#include "reporting/common/ReportingUiServices.h"
#include "shell/frmMain.h"

#include <memory>

namespace qm {

/// What differs between the program and its tests.
struct ProgramPlace
{
    QString installPath;          ///< with trailing separator; empty when there is no installation
    QString fontFolder;           ///< the shipped fonts
    QString userStateFolder = {}; ///< with trailing separator: where the look of window and help is kept; empty: nowhere
};

/// All objects of one run of the program, in the order they need one another.
class Program final : private WorkAtHand, private ReportingHost
{
public:
    Program(Prompts &prompts, const ProgramPlace &place);
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    /// Marks and removes what programs that are gone left unfinished. Before the main window loads its schedule.
    void tidyUp();
    /// Makes the main window, which is neither loaded nor shown yet. Once.
    frmMain &makeMainWindow();

    [[nodiscard]] frmMain *mainWindow() const { return m_window.get(); } ///< null before makeMainWindow()
    [[nodiscard]] ErrorReporter &errors() { return m_errors; }
    [[nodiscard]] const ComponentRegistry &components() const { return m_registry; }

private:
    MainWindowServices services();
    [[nodiscard]] bool isProducingRows() const override { return m_desk.isProducingRows() || m_registry.isGenerating(); }
    [[nodiscard]] bool isEditing() const override { return m_registry.isEditing(); }
    [[nodiscard]] QString installPath() const override { return m_globals.gstrInstallPath; }
    [[nodiscard]] QStringList dataSourceKeys() const override { return m_globals.gdicDataSources.Keys(); }
    [[nodiscard]] QWidget *window() const override { return m_window && m_window->isVisible() ? m_window.get() : nullptr; }
    void refused(const QString &queryFile, bool interactive, const QString &why) override
    {
        m_journal.refused(queryFile, interactive, why);
    }

    ProgramPlace m_place;
    Prompts &m_prompts;
    ApplicationLog m_log;
    std::shared_ptr<KnownFiles> m_known;
    Globals m_globals;
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
    ReportingUiServices m_reporting;
    std::unique_ptr<frmMain> m_window;
};

} // namespace qm
