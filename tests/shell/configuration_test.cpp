// What the window makes of a configuration, whole or broken: what stays loaded, and the box that says what is wrong.

#include "ShellHarness.h"

#include <QDir>
#include <QLabel>

using namespace qm;
using namespace qm::test;

class ConfigurationTest final : public QObject
{
    Q_OBJECT

    /// The lines that every report of a failed load begins with.
    static QString head(const QString &source)
    {
        return QStringLiteral("Error occured while reading the reports configuration information.\r\n\r\n"
                              "Function Name:  ReadReportConfigurations\r\nSource:  ") +
               source + QStringLiteral("\r\nError No:  ");
    }
    static constexpr char kSupport[] = "\r\n\r\nImportant: Please contact Tarrowind - Technical Support with the above details";

private Q_SLOTS:
    void a_whole_installation_loads_without_a_word()
    {
        ShellHarness harness;
        harness.installation.group(QStringLiteral("Server"), QStringLiteral("Daily"));
        harness.installation.write(QStringLiteral("Config/Payroll.dsf"), "format = 1\nclass = \"QMMDSMSSql\"\nserver = \"db1\"\n");
        harness.installation.write(QStringLiteral("Config/Other.dsf"), "format = 1\nclass = \"QMMDSFile\"\n");
        harness.start();
        QCOMPARE(harness.firstLines(), QStringList());
        QCOMPARE(harness.globals.gdicPackages.Keys(),
                 QStringList({QStringLiteral("Server Operating System Logs"), QStringLiteral("Mail Server Logs"),
                              QStringLiteral("File Server Logs")}));
        QVERIFY(harness.globals.gcolJobs && harness.globals.gcolJobs->empty()); // missing files are empty ones
        QVERIFY(harness.globals.gudoEmailSettings);
        QCOMPARE(harness.globals.gdicDataSources.Keys(), QStringList(QStringLiteral("MSSQL::Payroll.dsf")));
        QCOMPARE(harness.help.path(), harness.installation.path() + QStringLiteral("/Report Generator.chm"));
        QCOMPARE(harness.window->windowTitle(), QStringLiteral("Quillmark SQL Report Generator V8.0 SP4"));
    }

    void without_the_registry_value_the_window_opens_after_saying_why()
    {
        ShellHarness harness;
        harness.installation.removeRegistryEntry();
        harness.start();
        // Nothing is known about packages and jobs, so tree and schedule have something to say too.
        QCOMPARE(harness.firstLines(), QStringList({QStringLiteral("Error occured while reading the reports configuration information."),
                                                    QStringLiteral("Error occured while populating the tree view control."),
                                                    QStringLiteral("Error occured while populating the scheduled report jobs.")}));
        const ScriptedPrompts::Shown &box = harness.prompts.shown[0];
        QVERIFY2(box.text.startsWith(head(QStringLiteral("Quillmark Report Generator"))), qPrintable(box.text));
        QVERIFY(box.text.endsWith(QLatin1String(kSupport)));
        QCOMPARE(box.style, 16);
        QCOMPARE(box.title, QStringLiteral("Quillmark Report Generator"));
        QVERIFY(harness.prompts.shown[1].text.startsWith(
            QStringLiteral("Error occured while populating the tree view control.\r\n\r\nFunction Name:  PopulateTreeView\r\n"
                           "Source:  Quillmark Report Generator\r\nError No:  35600\r\nError Description:  ")));
        QVERIFY(harness.globals.gstrInstallPath.isEmpty());
        harness.show();
        QVERIFY(harness.window->isVisible());
    }

    void a_bad_packages_file_leaves_the_rest_unread_data()
    {
        QTest::addColumn<QByteArray>("packages");
        QTest::addColumn<QString>("number");
        QTest::addColumn<int>("packagesKept");
        const QByteArray two = "[Package.A]\nName=Alpha\nInterface=X.A\nInstallPath=Packages/A/\n[Package.B]\nName=%1\nInterface=X.B\n"
                               "InstallPath=Packages/B/\n[Package.C]\nName=Gamma\nInterface=X.C\nInstallPath=Packages/C/\n";
        QTest::newRow("missing") << QByteArray() << QStringLiteral("53") << 0;
        QTest::newRow("empty") << QByteArray("\n") << QStringLiteral("321") << 0;
        QTest::newRow("second package has the first one's name") << QByteArray(two).replace("%1", "Alpha") << QStringLiteral("457") << 1;
    }

    void a_bad_packages_file_leaves_the_rest_unread()
    {
        QFETCH(QByteArray, packages);
        QFETCH(QString, number);
        QFETCH(int, packagesKept);
        ShellHarness harness;
        harness.installation.write(QStringLiteral("Config/Jobs.cfg"), "");
        harness.installation.write(QStringLiteral("Config/Payroll.dsf"), "format = 1\nclass = \"QMMDSMSSql\"\n");
        if (packages.isEmpty())
            QVERIFY(QFile::remove(harness.installation.path() + QStringLiteral("Packages.ini")));
        else
            harness.installation.write(QStringLiteral("Packages.ini"), packages);
        harness.start();
        QVERIFY(!harness.prompts.shown.empty());
        const QString text = harness.prompts.shown[0].text;
        const QString source = number == QStringLiteral("457") ? QStringLiteral("Quillmark Report Generator") : QStringLiteral("QMMPRptFW");
        QVERIFY2(text.startsWith(head(source) + number + QStringLiteral("\r\nError Description:  ")), qPrintable(text));
        QCOMPARE(harness.globals.gdicPackages.Count(), packagesKept);
        QCOMPARE(harness.window->catalogue().tvTreeView().model()->rowCount(), packagesKept);
        QVERIFY(!harness.globals.gcolJobs); // never read, which is not the same as none
        QVERIFY(!harness.globals.gudoEmailSettings);
        QCOMPARE(harness.globals.gdicDataSources.Count(), 0);
    }

    void a_broken_job_file_leaves_packages_and_never_loses_the_schedule()
    {
        ShellHarness harness;
        const QByteArray broken = "[[job]]\ndescription = \"Nightly\n";
        harness.installation.write(QStringLiteral("Config/Jobs.cfg"), broken);
        harness.start();
        QVERIFY(harness.prompts.shown[0].text.startsWith(head(QStringLiteral("QMMPRptFW")) + QStringLiteral("321")));
        QVERIFY(harness.prompts.shown[0].text.contains(QStringLiteral("Jobs.cfg")));
        QCOMPARE(harness.globals.gdicPackages.Count(), 3);
        QCOMPARE(harness.tree().model()->rowCount(), 3);
        harness.prompts.shown.clear();
        harness.tool("ID_ReportJob").trigger(); // no dialog opens, since nothing could be saved
        QCOMPARE(harness.prompts.shown.size(), std::size_t{1});
        QVERIFY2(harness.prompts.shown[0].text.contains(QStringLiteral("Error No:  91")), qPrintable(harness.prompts.shown[0].text));
        QCOMPARE(harness.installation.read(QStringLiteral("Config/Jobs.cfg")), broken);
    }

    void a_package_without_interface_only_fails_when_it_is_used()
    {
        std::vector<TempPackage> packages = usualPackages();
        packages[0].interface.clear();
        ShellHarness harness(packages);
        harness.installation.write(harness.installation.group(QStringLiteral("Server"), QStringLiteral("Daily")) + QStringLiteral("/A.rqn"),
                                   queryFile(QStringLiteral("A")));
        harness.start();
        QCOMPARE(harness.firstLines(), QStringList());
        harness.globals.gstrCurrentQueryFile = QStringLiteral("/somewhere.rqn");
        harness.window->reportRunner().RunReport(harness.selection().node().tag, true);
        QCOMPARE(harness.firstLines(), QStringList(QStringLiteral("An error occured while generating the report.")));
    }

    void an_install_path_without_separator_is_not_repaired()
    {
        ShellHarness harness;
        setRegistryString(QString::fromLatin1(kRegistryKey), QStringLiteral("InstallPath"), harness.installation.path().chopped(1));
        harness.start();
        QVERIFY(harness.prompts.shown[0].text.contains(QStringLiteral("QuillmarkPackages.ini")));
    }
};

QTEST_MAIN(ConfigurationTest)
#include "configuration_test.moc"
