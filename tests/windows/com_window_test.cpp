// The main window's commands with a package whose components are COM's.
#include "ClassKeys.h"
#include "SampleServer.h"
#include "app/WholeProgram.h"
#include "catalogue/CatalogueKeys.h"

#include <QLineEdit>
#include <QTimer>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray query(const QString &description)
{
    return "description = \"" + description.toUtf8() + "\"\nsql = \"SELECT 1 AS one\"\nown_key = 7\n[output]\ntype = \"file\"\n";
}

/// The window on one package, its group "Daily" chosen.
class Office final
{
public:
    explicit Office(const TempInstallation &installation) : program(installation)
    {
        program.window->Form_Load();
        program.window->show();
        if (!QTest::qWaitForWindowExposed(program.window))
            qFatal("the main window does not show");
        CatalogueTreeView &tree = program.window->catalogue().tvTreeView();
        tree.expandAll();
        const QModelIndex group = selection().tree().find(groupKey(u"Server Operating System Logs"_s, u"Daily"_s));
        QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, tree.visualRect(group).center());
    }

    [[nodiscard]] CatalogueSelection &selection() const { return program.window->catalogue().selection(); }
    [[nodiscard]] QStringList listed() const
    {
        QStringList texts;
        for (int row = 0; row < selection().list().rows(); ++row)
            texts.append(selection().list().row(row).text);
        return texts;
    }
    /// Chooses the query \p text by the mouse and triggers the command \p id.
    void command(const char *id, const QString &text)
    {
        CatalogueListView &list = program.window->catalogue().lvListView();
        const int row = static_cast<int>(listed().indexOf(text));
        QVERIFY2(row >= 0, qPrintable(text));
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(list.model()->index(row, 0)).center());
        program.window->commands().tool(QLatin1StringView(id))->trigger();
    }
    [[nodiscard]] QString lastBox() const { return program.prompts.shown.empty() ? QString() : program.prompts.shown.back().text; }

    WholeProgram program;
};

} // namespace

class ComWindowTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString library = QCoreApplication::applicationDirPath() + u"/sample_server.dll"_s;
        m_keys.add(u"SampleServer.Reports"_s, kReportsClass, library);
        m_keys.add(u"SampleServer.Queries"_s, kQueriesClass, library);
    }

    void the_operators_commands_reach_the_packages_component()
    {
        const TempInstallation installation({{u"Server"_s, u"Server Operating System Logs"_s, u"SampleServer.Reports"_s,
                                              u"Packages/Server/"_s, u"SampleServer.Queries"_s, u"EventLog.db"_s}});
        const QString daily = QDir::toNativeSeparators(installation.group(u"Server"_s, u"Daily"_s)) + kSep;
        for (const QString &name : {u"Logons"_s, u"described"_s, u"cancelled"_s, u"overdue"_s})
            installation.write(daily + name + u".rqn"_s, query(name));
        auto jobs = std::make_shared<JobCollection>();
        jobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{u"overdue"_s, daily + u"overdue.rqn"_s, {QDate(2026, 1, 2), 25'200}, 0, 1}));
        TomlJobConfigReader().SaveJobs(jobs, installation.path() + u"Config"_s + kSep + u"Jobs.cfg"_s);

        Office office(installation);
        // The job that was due has run without an operator.
        QTRY_VERIFY(installation.read(daily + u"overdue.rqn.generated"_s).endsWith("overdue.rqn\nnumber 0\nfalse\nfalse\n"));

        office.command("ID_Generate", u"Logons"_s);
        QVERIFY(installation.read(daily + u"Logons.rqn.generated"_s).endsWith("Logons.rqn\nnumber 0\ntrue\nfalse\n"));
        office.command("ID_Modify", u"Logons"_s);
        QVERIFY(installation.read(daily + u"Logons.rqn"_s).endsWith("# edited by the component\n"));
        office.command("ID_ReportQuery", u"Logons"_s);
        QVERIFY2(office.listed().contains(u"By the component"_s), qPrintable(office.listed().join(u", "_s)));
        office.command("ID_Rename", u"Logons"_s);
        auto *const label = office.program.window->catalogue().lvListView().findChild<QLineEdit *>();
        QVERIFY(label != nullptr);
        label->setText(u"Größe 漢"_s);
        QTest::keyClick(label, Qt::Key_Return);
        QTRY_VERIFY2(office.listed().contains(u"Größe 漢"_s), qPrintable(office.listed().join(u", "_s) + office.lastBox()));
        QVERIFY(installation.read(daily + u"Größe 漢.rqn"_s).contains("own_key = 7"));
        QVERIFY(installation.read(daily + u"Logons.rqn"_s).isNull());
        QVERIFY2(office.program.prompts.shown.empty(), qPrintable(office.lastBox()));

        // What it reports: the editor's error in the box, the report's in the log, a cancel nowhere.
        office.command("ID_Generate", u"cancelled"_s);
        QVERIFY2(office.program.prompts.shown.empty(), qPrintable(office.lastBox()));
        office.command("ID_Modify", u"described"_s);
        QVERIFY2(office.lastBox().contains(u"Error No:  53\r\nError Description:  Prüfung: die Datei fehlt – 漢"_s),
                 qPrintable(office.lastBox()));
        office.command("ID_Generate", u"described"_s);
        QVERIFY2(office.lastBox().startsWith(u"An error occured while generating the report."_s), qPrintable(office.lastBox()));
        const QString log = QString::fromUtf8(installation.read(u"Logs/quillmark.log"_s));
        QVERIFY2(log.contains(u"described.rqn: SampleServer.Reports reported error 53 (Sample Prüfer): Prüfung"_s), qPrintable(log));
        QCOMPARE(office.program.prompts.shown.size(), std::size_t{2});
    }

    void while_a_component_is_at_work_the_window_neither_closes_nor_starts_something_else()
    {
        const TempInstallation installation({{u"Server"_s, u"Server Operating System Logs"_s, u"SampleServer.Reports"_s,
                                              u"Packages/Server/"_s, u"SampleServer.Queries"_s, u"EventLog.db"_s}});
        const QString daily = QDir::toNativeSeparators(installation.group(u"Server"_s, u"Daily"_s)) + kSep;
        installation.write(daily + u"lingering.rqn"_s, query(u"lingering"_s));
        Office office(installation);
        for (const char *const id : {"ID_Modify", "ID_Generate"}) {
            bool tried = false;
            QTimer::singleShot(50, office.program.window, [&] {
                tried = office.program.program.components().isEditing() || office.program.program.components().isGenerating();
                office.program.window->commands().tool(u"ID_Delete"_s)->trigger();
                office.program.window->close();
            });
            office.command(id, u"lingering"_s);
            QVERIFY2(tried, id);
            QVERIFY2(office.program.window->isVisible(), id);
            QVERIFY2(office.program.prompts.shown.empty(), qPrintable(office.lastBox()));
        }
        QVERIFY(installation.read(daily + u"lingering.rqn"_s).endsWith("# edited by the component\n"));
        QVERIFY(!installation.read(daily + u"lingering.rqn.generated"_s).isNull());
        QVERIFY(office.program.window->close());
    }

private:
    ClassKeys m_keys;
};

QTEST_MAIN(ComWindowTest)
#include "com_window_test.moc"
