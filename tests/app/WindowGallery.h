/// \file
/// Every window of the program, one after the other, as the operator meets it.
#pragma once

#include "datasources/frmAddNewDataSource.h"
#include "datasources/frmDataSource.h"
#include "email/frmEmailSettings.h"
#include "help/HelpFile.h"
#include "help/viewer/frmHelp.h"
#include "reporting/ReportingFixture.h"
#include "reporting/common/frmReportDone.h"
#include "reporting/common/frmReportParameters.h"
#include "reporting/editor/frmQueryEditor.h"
#include "reporting/generate/RunProgress.h"
#include "reporting/generate/frmReportProgress.h"
#include "reporting/viewer/frmReportViewer.h"
#include "scheduler/frmScheduledReport.h"
#include "shell/ShellHarness.h"
#include "shell/frmAbout.h"
#include "shell/frmSplash.h"
#include "support/System.h"

#include <QMenu>
#include <QTabWidget>

#include <atomic>

namespace qm::test {

using namespace Qt::StringLiterals;

/// Opens the windows on a temporary installation with one query, one scheduled report and one data source.
class WindowGallery
{
public:
    /// Called for each window while it is shown, with a name for messages ("frmQueryEditor, Layout").
    using Visit = std::function<void(const QString &name, QWidget &window)>;

    explicit WindowGallery(Visit visit) : m_visit(std::move(visit)) {}

    void showMainWindow()
    {
        ShellHarness shell;
        const QString group = shell.installation.group(u"Server"_s, u"Daily"_s) + kSep;
        const QString query = shell.installation.write(group + u"Logons.rqn"_s, queryFile(u"Logons"_s));
        shell.start();
        shell.globals.gcolJobs->push_back(
            std::make_shared<ScheduledReportJob>(ScheduledReportJob{u"Morning"_s, query, {QDate(2030, 1, 1), 25'200}, 1, 1}));
        shell.window->schedule().jobs().PopulateJobs();
        shell.window->catalogue().selection().selectNode(shell.selection().tree().find(u"G/Server Operating System Logs/Daily"_s));
        shell.window->catalogue().refreshSelectedNode();
        shell.selection().selectRow(0);
        visit(u"frmMain"_s, *shell.window);
        for (const char *menu : {"ID_System", "ID_Options", "ID_HelpMenu", "ID_RightClick"})
            visit(QString::fromLatin1(menu), *shell.window->commands().menu(QString::fromLatin1(menu)));
        frmAbout about(shell.installation.path(), nullptr);
        about.setAttribute(Qt::WA_DeleteOnClose, false);
        visit(u"frmAbout"_s, about);
        frmSplash splash(shell.errors, shell.prompts, {[] {}, [] {}, [] {}});
        visit(u"frmSplash"_s, splash);
    }

    void showSettings()
    {
        ContentTester tester;
        TempInstallation installation;
        Globals globals;
        globals.gstrInstallPath = installation.path();
        ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        HelpFile help;
        auto source = std::make_shared<QMKDataSource>();
        source->DatasourceName = u"MSSQL::Payroll.dsf"_s;
        auto server = std::make_shared<QMMDSMSSql>();
        server->ServerName = u"sql1"_s;
        server->ConnectionType = 1;
        source->Info = server;
        globals.gdicDataSources.Add(source->DatasourceName, source);
        TomlDataSourceFileReader reader;
        frmAddNewDataSource addDialog(globals, errors, prompts);
        frmDataSource sources({globals, reader, tester, errors, prompts, help, addDialog});
        QTimer::singleShot(0, &sources, [&] {
            visitOpen(u"frmDataSource"_s, sources);
            sources.close();
        });
        sources.showModal();
        QTimer::singleShot(0, &addDialog, [&] {
            visitOpen(u"frmAddNewDataSource"_s, addDialog);
            addDialog.close();
        });
        addDialog.showModal();
        frmEmailSettings email(
            globals, [] { return std::make_unique<TomlEmailConfigReader>(); }, errors, prompts, help);
        visit(u"frmEmailSettings"_s, email);
        frmScheduledReport job(globals, errors, prompts, help);
        job.StartDateString = u"11/21/2026"_s;
        job.StartTimeString = u"10:00:00"_s;
        job.FrequencyString = u"Daily"_s;
        QTimer::singleShot(0, &job, [&] {
            visitOpen(u"frmScheduledReport"_s, job);
            job.cmdDlgSchCancel_Click();
        });
        job.showModal();
    }

    void showReporting()
    {
        ReportingFixture reporting;
        const QByteArray sql = "SELECT * FROM events WHERE computer LIKE :computer AND time_generated >= :date_from";
        const QString file = reporting.query(u"Events"_s, sql,
                                             "[period]\nrange = \"all time\"\n[[parameter]]\nname = \"computer\"\ndefault = \"%\"\n"
                                             "[output]\ntype = \"email\"\nformat = \"csv\"\n[output.email]\nto = [\"a@example.org\"]\n");
        {
            frmQueryEditor editor(reporting.services, file, nullptr);
            editor.show();
            auto *pages = editor.findChild<QTabWidget *>(u"pages"_s);
            for (int page = 0; page < pages->count(); ++page) {
                pages->setCurrentIndex(page);
                visit(u"frmQueryEditor, %1"_s.arg(page), editor);
            }
        }
        const LocatedQuery query = reporting.engine.locate(file);
        frmReportParameters parameters(query, {}, reporting.clock, nullptr);
        visit(u"frmReportParameters"_s, parameters);
        RunProgress run;
        run.setRows(1234);
        frmReportProgress progress(u"Events"_s, run, nullptr);
        visit(u"frmReportProgress"_s, progress);
        auto *done = new frmReportDone(u"Events"_s, file, 3, 4096, {}); // deletes itself
        visit(u"frmReportDone"_s, *done);
        reporting.interface->GenerateReport(reporting.query(u"Screen"_s, "SELECT * FROM events"), 0, true, false);
        auto *viewer = ReportingFixture::window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        visit(u"frmReportViewer"_s, *viewer);
        reporting.desk.closeViewers();
    }

    void showHelp()
    {
        if (onWindows()) // which shows the help in a window of its own
            return;
        HelpFile help;
        help.setPath(qEnvironmentVariable("QM_BIN_DIR") + u"/Report Generator.chm"_s);
        help.showContext(26);
        auto *tabs = help.window()->findChild<QTabWidget *>();
        for (int tab = 0; tab < tabs->count(); ++tab) {
            tabs->setCurrentIndex(tab);
            visitOpen(u"frmHelp, %1"_s.arg(tab), *help.window());
        }
    }

    void showAll()
    {
        showMainWindow();
        showSettings();
        showReporting();
        showHelp();
    }

private:
    void visit(const QString &name, QWidget &window)
    {
        window.show();
        visitOpen(name, window);
        window.close();
    }
    void visitOpen(const QString &name, QWidget &window)
    {
        QVERIFY2(QTest::qWaitForWindowExposed(&window), qPrintable(name));
        window.activateWindow();
        if (window.windowType() != Qt::Popup)
            static_cast<void>(QTest::qWaitForWindowActive(&window, 300)); // some windows leave the focus where it is
        m_visit(name, window);
    }

    Visit m_visit;
};

} // namespace qm::test
