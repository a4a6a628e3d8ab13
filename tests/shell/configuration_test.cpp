// What the window makes of a configuration, whole or broken: what stays loaded, and the box that says what is wrong.

#include "ShellHarness.h"
#include "platform/Files.h"

#include <QDir>
#include <QLabel>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

class ConfigurationTest final : public QObject
{
    Q_OBJECT

    /// The lines that every report of a failed load begins with.
    static QString head(const QString &source)
    {
        return u"Error occured while reading the reports configuration information.\r\n\r\n"
               "Function Name:  ReadReportConfigurations\r\nSource:  "_s +
               source + u"\r\nError No:  "_s;
    }
    static constexpr char kSupport[] = "\r\n\r\nImportant: Please contact Tarrowind - Technical Support with the above details";

private Q_SLOTS:
    void a_whole_installation_loads_without_a_word()
    {
        ShellHarness harness;
        harness.installation.group(u"Server"_s, u"Daily"_s);
        harness.installation.write(u"Config/Payroll.dsf"_s, "format = 1\nclass = \"QMMDSMSSql\"\nserver = \"db1\"\n");
        harness.installation.write(u"Config/Other.dsf"_s, "format = 1\nclass = \"QMMDSFile\"\n");
        harness.start();
        QCOMPARE(harness.firstLines(), QStringList());
        QCOMPARE(harness.globals.gdicPackages.Keys(),
                 QStringList({u"Server Operating System Logs"_s, u"Mail Server Logs"_s, u"File Server Logs"_s}));
        QVERIFY(harness.globals.gcolJobs && harness.globals.gcolJobs->empty()); // missing files are empty ones
        QVERIFY(harness.globals.gudoEmailSettings);
        QCOMPARE(harness.globals.gdicDataSources.Keys(), QStringList(u"MSSQL::Payroll.dsf"_s));
        QCOMPARE(harness.help.path(), harness.installation.path() + kSep + u"Report Generator.chm"_s);
        QCOMPARE(harness.window->windowTitle(), u"Quillmark SQL Report Generator V8.0 SP4"_s);
    }

    void without_the_registry_value_the_window_opens_after_saying_why()
    {
        ShellHarness harness;
        harness.installation.removeRegistryEntry();
        harness.start();
        // Nothing is known about packages and jobs, so tree and schedule have something to say too.
        QCOMPARE(harness.firstLines(), QStringList({u"Error occured while reading the reports configuration information."_s,
                                                    u"Error occured while populating the tree view control."_s,
                                                    u"Error occured while populating the scheduled report jobs."_s}));
        const ScriptedPrompts::Shown &box = harness.prompts.shown[0];
        QVERIFY2(box.text.startsWith(head(u"Quillmark Report Generator"_s)), qPrintable(box.text));
        QVERIFY(box.text.endsWith(QLatin1String(kSupport)));
        QCOMPARE(box.style, 16);
        QCOMPARE(box.title, u"Quillmark Report Generator"_s);
        QVERIFY(harness.prompts.shown[1].text.startsWith(
            u"Error occured while populating the tree view control.\r\n\r\nFunction Name:  PopulateTreeView\r\n"
            "Source:  Quillmark Report Generator\r\nError No:  35600\r\nError Description:  "_s));
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
        QTest::newRow("missing") << QByteArray() << u"53"_s << 0;
        QTest::newRow("empty") << QByteArray("\n") << u"321"_s << 0;
        QTest::newRow("of another program") << QByteArray("[Settings]\nVersion=8\n") << u"321"_s << 0;
        QTest::newRow("second package has the first one's name") << QByteArray(two).replace("%1", "Alpha") << u"457"_s << 1;
    }

    void a_bad_packages_file_leaves_the_rest_unread()
    {
        QFETCH(QByteArray, packages);
        QFETCH(QString, number);
        QFETCH(int, packagesKept);
        ShellHarness harness;
        harness.installation.write(u"Config/Jobs.cfg"_s, "");
        harness.installation.write(u"Config/Payroll.dsf"_s, "format = 1\nclass = \"QMMDSMSSql\"\n");
        if (packages.isEmpty())
            QVERIFY(QFile::remove(harness.installation.path() + u"Packages.ini"_s));
        else
            harness.installation.write(u"Packages.ini"_s, packages);
        harness.start();
        QVERIFY(!harness.prompts.shown.empty());
        const QString text = harness.prompts.shown[0].text;
        const QString source = number == u"457"_s ? u"Quillmark Report Generator"_s : u"QMMPRptFW"_s;
        QVERIFY2(text.startsWith(head(source) + number + u"\r\nError Description:  "_s), qPrintable(text));
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
        harness.installation.write(u"Config/Jobs.cfg"_s, broken);
        harness.start();
        QVERIFY(harness.prompts.shown[0].text.startsWith(head(u"QMMPRptFW"_s) + u"321"_s));
        QVERIFY(harness.prompts.shown[0].text.contains(u"Jobs.cfg"_s));
        QCOMPARE(harness.globals.gdicPackages.Count(), 3);
        QCOMPARE(harness.tree().model()->rowCount(), 3);
        harness.prompts.shown.clear();
        harness.tool("ID_ReportJob").trigger(); // no dialog opens, since nothing could be saved
        QCOMPARE(harness.prompts.shown.size(), std::size_t{1});
        QVERIFY2(harness.prompts.shown[0].text.contains(u"Error No:  91"_s), qPrintable(harness.prompts.shown[0].text));
        QCOMPARE(harness.installation.read(u"Config/Jobs.cfg"_s), broken);
    }
};

QTEST_MAIN(ConfigurationTest)
#include "configuration_test.moc"
