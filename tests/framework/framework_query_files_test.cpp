// Query and layout files as people keep them, and packages.
#include "FormatSamples.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

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
            const QString path = folder.write(u"q.rqn"_s, text);
            auto query = TomlQueryAccess().ReadFile(path);
            QCOMPARE(query->parameters.at(1).defaultValue, u"5"_s);
            QCOMPARE(query->sql.count(u'\n'), 2);
            QVERIFY(!query->sql.contains(u'\r'));
            query->Description = u"Logons, \"failed\""_s;
            query->parameters.at(1).defaultValue = u"7"_s;
            query->sql = u"SELECT 1\nFROM event\n"_s;
            TomlQueryAccess().WriteFile(*query, path);
            text.replace("\"Failed logons by account\"", "\"Logons, \\\"failed\\\"\"");
            text.replace("default = 5", "default = \"7\"");
            const QByteArray end = windowsLines ? "\r\n" : "\n";
            const qsizetype from = text.indexOf("SELECT account");
            text.replace(from, text.indexOf("'''" + end + "[sql_for]") - from, "SELECT 1" + end + "FROM event" + end);
            QCOMPARE(folder.read(u"q.rqn"_s), text);
        }
    }

    void unknown_keys_survive_a_change_of_structure()
    {
        const Folder folder;
        const QString path = folder.write(u"q.rqn"_s, kHandWritten);
        auto query = TomlQueryAccess().ReadFile(path);
        query->parameters.erase(query->parameters.begin() + 1);
        query->parameters.at(0).label = u"Account"_s;
        query->period.used = false;
        TomlQueryAccess().WriteFile(*query, path);
        const QByteArray text = folder.read(u"q.rqn"_s);
        const auto again = TomlQueryAccess().ReadFile(path);
        QCOMPARE(again->parameters.size(), std::size_t{1});
        QVERIFY(!again->period.used);
        QCOMPARE(again->sqlFor.value(u"oracle"_s), u"SELECT 'Gr\u00FC\u00DFe' FROM dual"_s);
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
            folder.write(u"l.rpt"_s, "title = 'T' # shown\n[[column]]\nfield = 'a'\nx_note = 1\n[[column]]\nfield = 'b'\n"
                                     "[[group]]\nfield = 'a'\n[[group.subtotal]]\nfield = 'b'\nx_bold = true\n[x]\ny = 'z'\n");
        ReportLayout layout = layouts.ReadLayout(path);
        layout.title = u"U"_s;
        layouts.WriteLayout(layout, path);
        QVERIFY(folder.read(u"l.rpt"_s).startsWith("title = \"U\" # shown\n[[column]]\n"));
        layout = layouts.ReadLayout(path);
        std::swap(layout.columns.at(0), layout.columns.at(1));
        layout.columns.push_back(LayoutColumn{.field = u"c"_s, .caption = {}, .format = {}});
        layouts.WriteLayout(layout, path);
        const QByteArray text = folder.read(u"l.rpt"_s);
        QVERIFY2(text.contains("field = \"a\"\nx_note = 1\n") && text.contains("x_bold = true") && text.contains("[x]\ny = \"z\""),
                 text.constData());
        QCOMPARE(layouts.ReadLayout(path).columns.at(2).field, u"c"_s);
    }

    void sql_stays_readable()
    {
        const Folder folder;
        Query query;
        query.Description = u"d"_s;
        query.sql = u"SELECT '%'\n\tFROM \"event\" -- C:\\x\n"_s;
        TomlQueryAccess().WriteFile(query, folder.path(u"a.rqn"_s));
        QVERIFY(folder.read(u"a.rqn"_s).contains("sql = '''\nSELECT '%'\n\tFROM \"event\" -- C:\\x\n'''\n"));
        query.sql = u"SELECT '''quoted'''\nFROM \"event\"\n"_s;
        TomlQueryAccess().WriteFile(query, folder.path(u"b.rqn"_s));
        QVERIFY(folder.read(u"b.rqn"_s).contains("sql = \"\"\"\nSELECT '''quoted'''\nFROM \\\"event\\\"\n\"\"\"\n"));
    }

    void another_querys_file_is_never_overwritten()
    {
        const Folder folder;
        const QString mine = folder.write(u"Mine.rqn"_s, kHandWritten);
        folder.write(u"Other.rqn"_s, "description = 'other'\nsql = 'x'\n");
        const auto query = TomlQueryAccess().ReadFile(mine);
        const auto numberFor = [&](const QString &name) {
            return errorOf([&] { TomlQueryAccess().WriteFile(*query, folder.path(name)); }).number();
        };
        QCOMPARE(numberFor(u"Other.rqn"_s), err::fileAlreadyExists);
        QCOMPARE(numberFor(u"OTHER.rqn"_s), err::fileAlreadyExists);
        QCOMPARE(numberFor(u"  .rqn"_s), err::badFileName);
        QCOMPARE(folder.read(u"Other.rqn"_s), QByteArray("description = 'other'\nsql = 'x'\n"));
        // The own file under another spelling stays one file; a new name is a new file.
        QCOMPARE(numberFor(u"MINE.rqn"_s), 0);
        QCOMPARE(numberFor(u"New.rqn"_s), 0);
        QCOMPARE(folder.names(), QStringList({u"Mine.rqn"_s, u"New.rqn"_s, u"Other.rqn"_s}));
    }

    void a_description_never_leads_into_another_folder()
    {
        const Folder folder;
        QVERIFY(QDir(folder.root()).mkpath(u"Group"_s) && QDir(folder.root()).mkpath(u"Logons"_s));
        folder.write(u"Logons/All.rqn"_s, kHandWritten);
        auto query = TomlQueryAccess().ReadFile(folder.path(u"Logons/All.rqn"_s));
        for (const char *const description : {"../Group/x", "..\\Group\\x", "Group/x"}) {
            query->Description = QString::fromLatin1(description);
            const QString path =
                folder.root() + (query->Description.startsWith(u'.') ? u"Logons/"_s : QString()) + query->Description + u".rqn"_s;
            QCOMPARE(errorOf([&] { TomlQueryAccess().WriteFile(*query, path); }).number(), err::badFileName);
        }
        query->Description = u"Logons/All"_s;
        TomlQueryAccess().WriteFile(*query, query->QueryFile);
        QCOMPARE(TomlQueryReader().ReadQuery(query->QueryFile)->Description, query->Description);
    }

    void what_could_not_be_read_back_is_not_written()
    {
        const Folder folder;
        const QString path = folder.write(u"q.rqn"_s, kHandWritten);
        const auto summary = TomlQueryReader().ReadQuery(path);
        QCOMPARE(errorOf([&] { TomlQueryAccess().WriteFile(*summary, path); }).number(), err::invalidProcedureCall);
        auto query = TomlQueryAccess().ReadFile(path);
        query->parameters.at(0).name = u"two words"_s;
        const RuntimeError error = errorOf([&] { TomlQueryAccess().WriteFile(*query, path); });
        QCOMPARE(error.number(), err::invalidProcedureCall);
        QVERIFY(error.description().contains(QLatin1String("two words")));
        QCOMPARE(folder.read(u"q.rqn"_s), kHandWritten);
    }

    void packages()
    {
        const Folder folder;
        QVERIFY(QDir(folder.root()).mkpath(u"Inst"_s));
        const QString ini = folder.write(u"Inst/Packages.ini"_s,
                                         "\xEF\xBB\xBF[Framework]\r\nVersion=8.0\r\n"
                                         "[Package.2]\r\nName=Mail Server Logs\r\nInterface=QuillmarkReports.Mail\r\nInstallPath=Mail\\\r\n"
                                         "QueryAccess=QuillmarkQueryAccess.Mail\r\nDatabase=Data\\Mail.db\r\n"
                                         "[package.1]\r\nname = File Server Logs \r\ninstallpath=/srv/a, b\r\n"
                                         "[Package.3]\r\nName=Mail Server Logs\r\nInstallPath=..\\Shared\r\nDatabase=/data/x.db\r\n");
        IniPackageConfigReader reader;
        const auto packages = reader.ReadPackages(ini);
        QCOMPARE(packages.size(), std::size_t{3});
        QCOMPARE(packages[0]->PackageName, u"Mail Server Logs"_s);
        QCOMPARE(packages[0]->Interface, u"QuillmarkReports.Mail"_s);
        QCOMPARE(packages[0]->QueryAccess, u"QuillmarkQueryAccess.Mail"_s);
        QCOMPARE(packages[0]->InstallPath, folder.path(u"Inst/Mail/"_s));
        QCOMPARE(packages[0]->Database, folder.path(u"Inst/Mail/Data/Mail.db"_s));
        QCOMPARE(packages[1]->InstallPath, QDir::toNativeSeparators(u"/srv/a, b/"_s));
        QCOMPARE(packages[1]->Interface, QString());
        QCOMPARE(packages[1]->Database, QDir::toNativeSeparators(u"/srv/a, b/EventLog.db"_s));
        QCOMPARE(packages[2]->PackageName, u"Mail Server Logs"_s);
        QCOMPARE(packages[2]->InstallPath, folder.path(u"Shared/"_s));
        QCOMPARE(packages[2]->Database, QDir::toNativeSeparators(u"/data/x.db"_s));

        const auto failure = [&](const QByteArray &bytes) {
            const QString path = folder.write(u"Bad.ini"_s, bytes);
            const RuntimeError error = errorOf([&] { (void)reader.ReadPackages(path); });
            return error.description().contains(path) ? error.number() : -1;
        };
        QCOMPARE(reader.ReadPackages(folder.write(u"None yet.ini"_s, "[framework]\nVersion=8\n")).size(), std::size_t{0});
        QCOMPARE(failure("[Other]\nVersion=8\n"), err::invalidFileFormat);
        QCOMPARE(failure("[Package.1]\nInstallPath=x\n"), err::invalidFileFormat);
        QCOMPARE(failure("[Package.1]\nName=x\n"), err::invalidFileFormat);
        const QString missing = folder.path(u"None.ini"_s);
        const RuntimeError error = errorOf([&] { (void)reader.ReadPackages(missing); });
        QCOMPARE(error.number(), err::fileNotFound);
        QVERIFY(error.description().contains(missing) && error.description().contains(QLatin1String("InstallPath")));
    }
};

QTEST_GUILESS_MAIN(FrameworkQueryFilesTest)
#include "framework_query_files_test.moc"
