// Wrong contents are refused with number, file, line and what to do; wrong targets are refused before anything is written.
#include "FormatSamples.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

const QByteArray kJob = "[[job]]\nid = 1\ndescription = 'd'\nquery_file = 'q'\n";
const QByteArray kQuery = "description = 'd'\nsql = 'SELECT 1'\n";

} // namespace

class FrameworkBadFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wrong_contents_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("says");
        const auto row = [](const char *title, const char *name, const QByteArray &bytes, int line, const char *says) {
            QTest::newRow(title) << QString::fromLatin1(name) << bytes << line << QString::fromUtf8(says);
        };
        row("jobs truncated", "Jobs.cfg", "format = 1\n[[job]]\nid = 1\nquery_file = \"/srv/au", 4, "text editor");
        row("jobs not UTF-8", "Jobs.cfg", "format = 1\n# caf\xE9\n", 2, "UTF-8");
        row("jobs as UTF-16", "Jobs.cfg", QByteArray("\xFF\xFE[\0[\0", 6), 1, "UTF-8");
        row("jobs of the future", "Jobs.cfg", "format = 2\n", 1, "later version");
        row("format is a text", "Jobs.cfg", "format = '1'\n", 1, "must be 1");
        row("offset", "Jobs.cfg", kJob + "next_run = 2026-11-21T14:05:37Z\n", 5, "without a time zone");
        row("fraction", "Jobs.cfg", kJob + "next_run = 2026-11-21T14:05:37.5\n", 5, "without fractions");
        row("date only", "Jobs.cfg", kJob + "next_run = 2026-11-21\n", 5, "local date and time");
        row("quoted time", "Jobs.cfg", kJob + "next_run = '2026-11-21T14:05:37'\n", 5, "not a text");
        row("no such day", "Jobs.cfg", kJob + "next_run = 2026-02-30T14:05:37\n", 5, "");
        row("no time", "Jobs.cfg", "\n" + kJob, 2, "\"next_run\" is missing");
        row("id too large", "Jobs.cfg", "[[job]]\nid = 2147483648\n", 2, "between -2147483648 and 2147483647");
        row("no id", "Jobs.cfg", "[[job]]\nquery_file = 'q'\n", 1, "\"id\" is missing");
        row("misspelt key", "Jobs.cfg", kJob + "next_run = 2026-11-21T14:05:37\nfreqency = 1\n", 6, "\"freqency\" is not a key");
        row("job is no list", "Jobs.cfg", "job = 5\n", 1, "list of tables");
        row("twice the same key", "Jobs.cfg", "[[job]]\nid = 1\nid = 2\n", 3, "");
        row("port as text", "Email.cfg", "server = 's'\nport = '25'\n", 2, "whole number");
        row("server as number", "Email.cfg", "server = 25\n", 1, "text in quotes");
        row("no class", "a.dsf", "server = 's'\n", 1, "\"class\" is missing");
        row("misspelt password", "a.dsf", "class = 'QMMDSOracle'\npasword = 'x'\n", 2, "known keys are");
        row("query not TOML", "q.rqn", "SELECT * FROM events\n", 1, "text editor");
        row("query truncated in its SQL", "q.rqn", "description = 'd'\nsql = '''\nSELECT 1\n", 3, "");
        row("query without SQL", "q.rqn", "\ndescription = 'd'\n", 1, "\"sql\" is missing");
        row("query without description", "q.rqn", "sql = 'SELECT 1'\n", 1, "\"description\" is missing");
        row("parameter type", "q.rqn", kQuery + "[[parameter]]\nname = 'a'\ntype = 'string'\n", 5,
            "one of text, integer, number, date, time, boolean, list, not \"string\"");
        row("parameter name", "q.rqn", kQuery + "[[parameter]]\nname = ':a'\n", 4, "without its colon");
        row("parameter twice", "q.rqn", kQuery + "[[parameter]]\nname = 'a'\n[[parameter]]\nname = 'A'\n", 6, "two parameters");
        row("list without choices", "q.rqn", kQuery + "[[parameter]]\nname = 'a'\ntype = 'list'\n", 3, "no choices");
        row("output type", "q.rqn", kQuery + "[output]\ntype = 'fax'\n", 4, "screen, printer, file, email");
        row("output format", "q.rqn", kQuery + "[output]\nformat = 'doc'\n", 4, "pdf, html, xlsx, csv");
        row("recipients", "q.rqn", kQuery + "[output.email]\nto = 'a@example.org'\n", 4, "list of texts");
        row("period without range", "q.rqn", kQuery + "[period]\n", 3, "\"range\" is missing");
        row("negative limit", "q.rqn", kQuery + "row_limit = -1\n", 3, "between 0 and");
        row("variant", "q.rqn", kQuery + "[sql_for]\noracle = 1\n", 4, "variant for \"oracle\"");
        row("nested too deep", "q.rqn", kQuery + "x = " + QByteArray(100, '[') + QByteArray(100, ']') + "\n", 3, "nested");
        row("key of 100,000 parts", "q.rqn", kQuery + QByteArray("a.").repeated(100'000) + "a = 1\n", 3, "parts");
        row("layout margin", "l.rpt", "[page]\nmargin_mm = nan\n", 2, "between 0 and 100");
        row("layout column", "l.rpt", "[[column]]\ncaption = 'c'\n", 1, "\"field\" is missing");
        row("layout total", "l.rpt", "[[total]]\nfunction = 'sum'\n", 1, "only function = \"count\"");
        row("layout chart", "l.rpt", "[chart]\nkind = 'donut'\n", 2, "stacked-bar");
        row("layout flag", "l.rpt", "\n\nonly_listed = 'yes'\n", 3, "true or false");
    }

    void wrong_contents()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(int, line);
        QFETCH(QString, says);
        const Folder folder;
        const QString path = folder.write(name, bytes);
        const RuntimeError error = errorOf([&] {
            if (name == QLatin1String("Jobs.cfg"))
                (void)TomlJobConfigReader().LoadJobs(path);
            else if (name == QLatin1String("Email.cfg"))
                (void)TomlEmailConfigReader().ReadEmailSettings(path);
            else if (name == QLatin1String("a.dsf"))
                (void)TomlDataSourceFileReader().ReadDataSource(path);
            else if (name == QLatin1String("q.rqn"))
                (void)TomlQueryAccess().ReadFile(path);
            else
                (void)TomlLayoutReader().ReadLayout(path);
        });
        QCOMPARE(error.number(), err::invalidFileFormat);
        QCOMPARE(error.source(), u"QMMPRptFW"_s);
        const QString place = u"%1, line %2: "_s.arg(path, QString::number(line));
        QVERIFY2(error.description().contains(place), qPrintable(error.description()));
        QVERIFY2(error.description().contains(says), qPrintable(error.description()));
    }

    /// The list shows a query only when what it shows is right; the rest is told when the query is opened.
    void the_list_and_the_whole_file()
    {
        const Folder folder;
        const auto listed = [&](const QByteArray &bytes) { return TomlQueryReader().ReadQuery(folder.write(u"q.rqn"_s, bytes)); };
        QCOMPARE(
            listed("description = \"d\"\r\nsql = \"\"\"\r\n# [x]\r\n\"\"\"\r\n[output]\r\ntype = \"email\"\r\n")->OutputSettings.OutputType,
            3);
        QCOMPARE(listed(kQuery + "output = { type = 'file' }\n")->OutputSettings.OutputType, 2);
        QCOMPARE(listed(kQuery + "output.type = 'printer'\n")->OutputSettings.OutputType, 1);
        QCOMPARE(listed(kQuery + "[output]\ntype = 17\n")->OutputSettings.OutputType, 17);
        QCOMPARE(listed("\xEF\xBB\xBF" + kQuery)->Description, u"d"_s);
        QCOMPARE(listed("sql = '''\ndescription = \"no\"\n'''\ndescription = '''\nyes'''\n")->Description, u"yes"_s);
        QCOMPARE(
            listed("sql = 'x'\ndescription = \"\\u00e9\\\\\"\n[other]\ndescription = 'no'\n[[output.x]]\ntype = 'file'\n")->Description,
            u"\u00e9\\"_s);
        const auto refused = [&](const QByteArray &bytes) { return errorOf([&] { (void)listed(bytes); }).number(); };
        QCOMPARE(refused("sql = 'x'\n"), err::invalidFileFormat);
        QCOMPARE(refused("format = 2\n" + kQuery), err::invalidFileFormat);
        QCOMPARE(refused(kQuery + "description = 'again'\n"), err::invalidFileFormat);
        QCOMPARE(refused(kQuery + "[output]\ntype = 'fax'\n"), err::invalidFileFormat);
        QCOMPARE(refused("description = 'd'\nsql = '''\nSELECT"), err::invalidFileFormat);
        QCOMPARE(refused(kQuery + "[[parameter]\n"), err::invalidFileFormat);
        QCOMPARE(errorOf([&] { (void)TomlQueryReader().ReadQuery(folder.path(u"none.rqn"_s)); }).number(), err::fileNotFound);
    }

    void a_truncated_file_never_reads_as_a_shorter_one()
    {
        const Folder folder;
        TomlJobConfigReader reader;
        const QByteArray whole = "format = 1\n\n[[job]]\nid = 1\ndescription = \"d\"\nquery_file = \"q\"\nnext_run = 2026-11-21T14:05:37\n"
                                 "frequency = 2\n";
        for (qsizetype size = 11; size < whole.size() - 2; ++size) {
            const QString path = folder.write(u"Jobs.cfg"_s, whole.left(size));
            const RuntimeError error = errorOf([&] {
                const auto jobs = reader.LoadJobs(path);
                // What is left is whole TOML: nothing yet, or all but the optional last line.
                if (jobs->empty() ? size <= 13 : size >= whole.indexOf("37\n") + 2)
                    raise(err::invalidFileFormat, path);
            });
            QCOMPARE(error.number(), err::invalidFileFormat);
        }
    }

    void jobs_that_cannot_be_saved_leave_the_file()
    {
        const Folder folder;
        const QString path = folder.write(u"Jobs.cfg"_s, "format = 1\n");
        TomlJobConfigReader reader;
        std::shared_ptr<JobCollection> none;
        const RuntimeError unread = errorOf([&] { reader.SaveJobs(none, path); });
        QCOMPARE(unread.number(), err::objectNotSet);
        QVERIFY(unread.description().contains(QLatin1String("Jobs.cfg")));
        auto jobs = std::make_shared<JobCollection>();
        QCOMPARE(errorOf([&] { reader.SaveJobs(jobs, u"Config/Jobs.cfg"_s); }).number(), err::pathNotFound);
        jobs->push_back(std::make_shared<ScheduledReportJob>());
        QCOMPARE(errorOf([&] { reader.SaveJobs(jobs, path); }).number(), err::typeMismatch);
        jobs->assign(1, nullptr);
        QCOMPARE(errorOf([&] { reader.SaveJobs(jobs, path); }).number(), err::objectNotSet);
        QCOMPARE(folder.names(), QStringList(u"Jobs.cfg"_s));
        QCOMPARE(folder.read(u"Jobs.cfg"_s), QByteArray("format = 1\n"));
    }

    void data_source_names_stay_in_the_config_folder()
    {
        const Folder folder;
        QVERIFY(QDir(folder.root()).mkpath(u"Config/sub"_s));
        for (const QString &name : {u"../x.dsf"_s, u"..\\x.dsf"_s, u"sub/x.dsf"_s, u"MSSQL::x.dsf"_s, u".dsf"_s}) {
            const QString path = folder.path(u"Config/"_s + name);
            QCOMPARE(errorOf([&] { TomlDataSourceFileReader().WriteDataSource(QMMDSOracle(), path); }).number(), err::badFileName);
        }
        QCOMPARE(folder.names(), QStringList());
        QCOMPARE(errorOf([] { TomlDataSourceFileReader().WriteDataSource(QMMDSOracle(), u"Config/a.dsf"_s); }).number(), err::pathNotFound);
    }
};

QTEST_GUILESS_MAIN(FrameworkBadFilesTest)
#include "framework_bad_files_test.moc"
