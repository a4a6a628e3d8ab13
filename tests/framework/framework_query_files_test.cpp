// Query and layout files as people keep them, packages, and paths between them.
#include "FormatSamples.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "framework/QueryPaths.h"

using namespace qm;
using namespace qm::test;

namespace {

const QByteArray kHandWritten = R"(# Kept by the audit team
description = "Failed logons by account"   # shown in the list
report_file = "Layouts/Failed logons.rpt"
x_owner = { team = "audit", since = 2020-01-01 }
sql = '''
SELECT account, count(*) AS failures   -- per account
FROM event WHERE account LIKE :account
'''
[sql_for]
oracle = """
SELECT 'Grüße' FROM dual"""
[period]
range = "last week"

[[parameter]]
name = "account"
default = "%"
x_hint = "a wildcard"

[[parameter]]
name = "least"
type = "integer"
default = 5

[output]
type = "file"
format = "xlsx"
x_color = "blue"
[x_site]
building = [1, 2.5, "c"]
)";

} // namespace

class FrameworkQueryFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void a_changed_value_leaves_the_rest_of_the_file_as_it_was()
    {
        const Folder folder;
        for (const bool windowsLines : {false, true}) {
            QByteArray text = kHandWritten;
            if (windowsLines)
                text.replace("\n", "\r\n");
            const QString path = folder.write(QStringLiteral("q.rqn"), text);
            auto query = TomlQueryAccess().ReadFile(path);
            QCOMPARE(query->parameters.at(1).defaultValue, QStringLiteral("5"));
            QCOMPARE(query->sql.count(u'\n'), 2);
            QVERIFY(!query->sql.contains(u'\r'));
            query->Description = QStringLiteral("Logons, \"failed\"");
            query->parameters.at(1).defaultValue = QStringLiteral("7");
            query->sql = QStringLiteral("SELECT 1\nFROM event\n");
            TomlQueryAccess().WriteFile(*query, path);
            text.replace("\"Failed logons by account\"", "\"Logons, \\\"failed\\\"\"");
            text.replace("default = 5", "default = \"7\"");
            const QByteArray end = windowsLines ? "\r\n" : "\n";
            const qsizetype from = text.indexOf("SELECT account");
            text.replace(from, text.indexOf("'''" + end + "[sql_for]") - from, "SELECT 1" + end + "FROM event" + end);
            QCOMPARE(folder.read(QStringLiteral("q.rqn")), text);
        }
    }

    void unknown_keys_survive_a_change_of_structure()
    {
        const Folder folder;
        const QString path = folder.write(QStringLiteral("q.rqn"), kHandWritten);
        auto query = TomlQueryAccess().ReadFile(path);
        query->parameters.erase(query->parameters.begin() + 1);
        query->parameters.at(0).label = QStringLiteral("Account");
        query->period.used = false;
        TomlQueryAccess().WriteFile(*query, path);
        const QByteArray text = folder.read(QStringLiteral("q.rqn"));
        const auto again = TomlQueryAccess().ReadFile(path);
        QCOMPARE(again->parameters.size(), std::size_t{1});
        QVERIFY(!again->period.used);
        QCOMPARE(again->sqlFor.value(QStringLiteral("oracle")), QStringLiteral("SELECT 'Gr\u00FC\u00DFe' FROM dual"));
        for (const char *const kept : {"[x_owner]", "since = 2020-01-01", "x_hint = \"a wildcard\"", "x_color = \"blue\"",
                                       "building = [1, 2.5, \"c\"]", "sql = '''\nSELECT account"})
            QVERIFY2(text.contains(kept), text.constData());
        QVERIFY2(!text.contains("[period]") && !text.contains("least"), text.constData());
    }

    void unknown_keys_of_layouts_survive()
    {
        const Folder folder;
        TomlLayoutReader layouts;
        const QString path =
            folder.write(QStringLiteral("l.rpt"), "title = 'T' # shown\n[[column]]\nfield = 'a'\nx_note = 1\n[[column]]\nfield = 'b'\n"
                                                  "[[group]]\nfield = 'a'\n[[group.subtotal]]\nfield = 'b'\nx_bold = true\n[x]\ny = 'z'\n");
        ReportLayout layout = layouts.ReadLayout(path);
        layout.title = QStringLiteral("U");
        layouts.WriteLayout(layout, path);
        QVERIFY(folder.read(QStringLiteral("l.rpt")).startsWith("title = \"U\" # shown\n[[column]]\n"));
        layout = layouts.ReadLayout(path);
        std::swap(layout.columns.at(0), layout.columns.at(1));
        layout.columns.push_back(LayoutColumn{.field = QStringLiteral("c"), .caption = {}, .format = {}});
        layouts.WriteLayout(layout, path);
        const QByteArray text = folder.read(QStringLiteral("l.rpt"));
        QVERIFY2(text.contains("field = \"a\"\nx_note = 1\n") && text.contains("x_bold = true") && text.contains("[x]\ny = \"z\""),
                 text.constData());
        QCOMPARE(layouts.ReadLayout(path).columns.at(2).field, QStringLiteral("c"));
    }

    void sql_stays_readable()
    {
        const Folder folder;
        Query query;
        query.Description = QStringLiteral("d");
        query.sql = QStringLiteral("SELECT '%'\n\tFROM \"event\" -- C:\\x\n");
        TomlQueryAccess().WriteFile(query, folder.path(QStringLiteral("a.rqn")));
        QVERIFY(folder.read(QStringLiteral("a.rqn")).contains("sql = '''\nSELECT '%'\n\tFROM \"event\" -- C:\\x\n'''\n"));
        query.sql = QStringLiteral("SELECT '''quoted'''\nFROM \"event\"\n");
        TomlQueryAccess().WriteFile(query, folder.path(QStringLiteral("b.rqn")));
        QVERIFY(folder.read(QStringLiteral("b.rqn")).contains("sql = \"\"\"\nSELECT '''quoted'''\nFROM \\\"event\\\"\n\"\"\"\n"));
    }

    void another_querys_file_is_never_overwritten()
    {
        const Folder folder;
        const QString mine = folder.write(QStringLiteral("Mine.rqn"), kHandWritten);
        const QString other = folder.write(QStringLiteral("Other.rqn"), "description = 'other'\nsql = 'x'\n");
        const auto query = TomlQueryAccess().ReadFile(mine);
        const auto numberFor = [&](const QString &name) {
            return errorOf([&] { TomlQueryAccess().WriteFile(*query, folder.path(name)); }).number();
        };
        QCOMPARE(numberFor(QStringLiteral("Other.rqn")), err::fileAlreadyExists);
        QCOMPARE(numberFor(QStringLiteral("OTHER.rqn")), err::fileAlreadyExists);
        for (const char *const bad : {".rqn", "  .rqn", "a*b.rqn", "a:b.rqn", "CON.rqn", "a<.rqn"})
            QCOMPARE(numberFor(QString::fromLatin1(bad)), err::badFileName);
        QCOMPARE(folder.read(QStringLiteral("Other.rqn")), QByteArray("description = 'other'\nsql = 'x'\n"));
        // The own file under another spelling stays one file; a new name is a new file.
        QCOMPARE(numberFor(QStringLiteral("MINE.rqn")), 0);
        QCOMPARE(numberFor(QStringLiteral("New.rqn")), 0);
        QCOMPARE(folder.names(), QStringList({QStringLiteral("Mine.rqn"), QStringLiteral("New.rqn"), QStringLiteral("Other.rqn")}));
        QVERIFY(QFile::exists(other));
    }

    void a_description_never_leads_into_another_folder()
    {
        const Folder folder;
        QVERIFY(QDir(folder.root()).mkpath(QStringLiteral("Group")) && QDir(folder.root()).mkpath(QStringLiteral("Logons")));
        folder.write(QStringLiteral("Logons/All.rqn"), kHandWritten);
        auto query = TomlQueryAccess().ReadFile(folder.path(QStringLiteral("Logons/All.rqn")));
        for (const char *const description : {"../Group/x", "..\\Group\\x", "Group/x"}) {
            query->Description = QString::fromLatin1(description);
            const QString path = folder.root() + (query->Description.startsWith(u'.') ? QStringLiteral("Logons/") : QString()) +
                                 query->Description + QStringLiteral(".rqn");
            QCOMPARE(errorOf([&] { TomlQueryAccess().WriteFile(*query, path); }).number(), err::badFileName);
        }
        query->Description = QStringLiteral("Logons/All");
        TomlQueryAccess().WriteFile(*query, query->QueryFile);
        QCOMPARE(TomlQueryReader().ReadQuery(query->QueryFile)->Description, query->Description);
    }

    void what_could_not_be_read_back_is_not_written()
    {
        const Folder folder;
        const QString path = folder.write(QStringLiteral("q.rqn"), kHandWritten);
        const auto summary = TomlQueryReader().ReadQuery(path);
        QCOMPARE(errorOf([&] { TomlQueryAccess().WriteFile(*summary, path); }).number(), err::invalidProcedureCall);
        auto query = TomlQueryAccess().ReadFile(path);
        query->parameters.at(0).name = QStringLiteral("two words");
        const RuntimeError error = errorOf([&] { TomlQueryAccess().WriteFile(*query, path); });
        QCOMPARE(error.number(), err::invalidProcedureCall);
        QVERIFY(error.description().contains(QLatin1String("two words")));
        QCOMPARE(folder.read(QStringLiteral("q.rqn")), kHandWritten);
    }

    void packages()
    {
        const Folder folder;
        QVERIFY(QDir(folder.root()).mkpath(QStringLiteral("Inst")));
        const QString ini = folder.write(QStringLiteral("Inst/Packages.ini"),
                                         "\xEF\xBB\xBF[Framework]\r\nVersion=8.0\r\n"
                                         "[Package.2]\r\nName=Mail Server Logs\r\nInterface=QuillmarkReports.Mail\r\nInstallPath=Mail\\\r\n"
                                         "QueryAccess=QuillmarkQueryAccess.Mail\r\nDatabase=Data\\Mail.db\r\n"
                                         "[package.1]\r\nname = File Server Logs \r\ninstallpath=/srv/a, b\r\n"
                                         "[Package.3]\r\nName=Mail Server Logs\r\nInstallPath=..\\Shared\r\nDatabase=/data/x.db\r\n");
        IniPackageConfigReader reader;
        const auto packages = reader.ReadPackages(ini);
        QCOMPARE(packages.size(), std::size_t{3});
        QCOMPARE(packages[0]->PackageName, QStringLiteral("Mail Server Logs"));
        QCOMPARE(packages[0]->Interface, QStringLiteral("QuillmarkReports.Mail"));
        QCOMPARE(packages[0]->QueryAccess, QStringLiteral("QuillmarkQueryAccess.Mail"));
        QCOMPARE(packages[0]->InstallPath, folder.path(QStringLiteral("Inst/Mail/")));
        QCOMPARE(packages[0]->Database, folder.path(QStringLiteral("Inst/Mail/Data/Mail.db")));
        QCOMPARE(packages[1]->InstallPath, QStringLiteral("/srv/a, b/"));
        QCOMPARE(packages[1]->Interface, QString());
        QCOMPARE(packages[1]->Database, QStringLiteral("/srv/a, b/EventLog.db"));
        QCOMPARE(packages[2]->PackageName, QStringLiteral("Mail Server Logs"));
        QCOMPARE(packages[2]->InstallPath, folder.path(QStringLiteral("Shared/")));
        QCOMPARE(packages[2]->Database, QStringLiteral("/data/x.db"));

        const auto failure = [&](const QByteArray &bytes) {
            const QString path = folder.write(QStringLiteral("Bad.ini"), bytes);
            const RuntimeError error = errorOf([&] { (void)reader.ReadPackages(path); });
            return error.description().contains(path) ? error.number() : -1;
        };
        QCOMPARE(failure(""), err::invalidFileFormat);
        QCOMPARE(failure("[Framework]\nVersion=8\n"), err::invalidFileFormat);
        QCOMPARE(failure("[Package.1]\nInstallPath=x\n"), err::invalidFileFormat);
        QCOMPARE(failure("[Package.1]\nName=x\n"), err::invalidFileFormat);
        const QString missing = folder.path(QStringLiteral("None.ini"));
        const RuntimeError error = errorOf([&] { (void)reader.ReadPackages(missing); });
        QCOMPARE(error.number(), err::fileNotFound);
        QVERIFY(error.description().contains(missing) && error.description().contains(QLatin1String("InstallPath")));
    }

    void paths()
    {
        QCOMPARE(packageFolderOf(QStringLiteral("/srv/Mail/Query Groups/Logons/a.rqn")), QStringLiteral("/srv/Mail/"));
        QCOMPARE(packageFolderOf(QStringLiteral("C:\\Inst\\Mail\\query groups\\Logons\\a.rqn")), QStringLiteral("C:\\Inst\\Mail\\"));
        QCOMPARE(packageFolderOf(QStringLiteral("/p/Query Groups/Query Groups/a.rqn")), QStringLiteral("/p/"));
        QCOMPARE(packageFolderOf(QStringLiteral("/Query Groups/Mail/Query Groups/x/a.rqn")), QStringLiteral("/Query Groups/Mail/"));
        QCOMPARE(packageFolderOf(QStringLiteral("/p/Query Groups/a.rqn")), QStringLiteral("/p/"));
        QCOMPARE(packageFolderOf(QStringLiteral("/p/Query Groups/x/y/a.rqn")), QStringLiteral("/p/"));
        QCOMPARE(packageFolderOf(QStringLiteral("/p/Query Groups")), QString());
        QCOMPARE(packageFolderOf(QStringLiteral("a.rqn")), QString());

        const auto package = [](const char *path) {
            auto info = std::make_shared<PackageInfo>();
            info->InstallPath = QString::fromLatin1(path);
            return info;
        };
        const std::vector<std::shared_ptr<PackageInfo>> all{package(""), package("/srv/"), package("/srv/Mail/"), package("/srv/Ma/")};
        QCOMPARE(packageOf(QStringLiteral("/SRV/mail/Query Groups/x/a.rqn"), all), all[2]);
        QCOMPARE(packageOf(QStringLiteral("/srv/Mailbox/Query Groups/x/a.rqn"), all), all[1]);
        QCOMPARE(packageOf(QStringLiteral("/opt/a.rqn"), all), nullptr);

        QCOMPARE(resolveLayoutPath(QString(), QStringLiteral("/p/")), QString());
        QCOMPARE(resolveLayoutPath(QStringLiteral("Layouts\\a.rpt"), QStringLiteral("/p/")), QStringLiteral("/p/Layouts/a.rpt"));
        QCOMPARE(resolveLayoutPath(QStringLiteral("../Shared/a.rpt"), QStringLiteral("/p/q")), QStringLiteral("/p/Shared/a.rpt"));
        QCOMPARE(resolveLayoutPath(QStringLiteral("/x/a.rpt"), QStringLiteral("/p/")), QStringLiteral("/x/a.rpt"));
    }
};

QTEST_GUILESS_MAIN(FrameworkQueryFilesTest)
#include "framework_query_files_test.moc"
