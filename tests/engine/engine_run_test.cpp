#include "engine/run/ReportEngine.h"
#include "engine/run/RunLedger.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "support/ErrorOf.h"
#include "support/Fakes.h"
#include "support/System.h"
#include "support/TempInstallation.h"

#include <QtTest>

#include <random>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

/// Keeps what an output is given, as text.
class Recorder final : public qm::ReportWriter
{
public:
    qm::ReportHead head;
    std::vector<qm::ReportColumn> columns;
    QStringList rows;
    std::optional<qm::ReportTail> tail;
    std::function<void()> onBegin;

    void begin(const qm::ReportHead &given, const qm::ReportShape &shape, const qm::SampleRows &) override
    {
        head = given;
        columns = shape.columns;
        if (onBegin)
            onBegin();
    }
    void row(std::span<const qm::Value> cells) override
    {
        QStringList texts;
        for (const qm::Value &cell : cells)
            texts.append(cell.kind == qm::Value::Kind::Integer ? QString::number(cell.integer)
                         : cell.kind == qm::Value::Kind::Real  ? QString::number(cell.real)
                         : cell.isNull()                       ? u"NULL"_s
                                                               : QString::fromUtf8(cell.data, static_cast<qsizetype>(cell.size)));
        rows.append(texts.join(u'|'));
    }
    void end(const qm::ReportTail &given) override { tail = given; }

    [[nodiscard]] QString fact(const char *name) const
    {
        QStringList values;
        for (const qm::Fact &fact : head.facts)
            if (fact.label == name)
                values << QString::fromStdString(fact.value);
        return values.join(u" & "_s);
    }
    [[nodiscard]] int facts(qm::Fact::Kind kind) const
    {
        return static_cast<int>(
            std::count_if(head.facts.begin(), head.facts.end(), [kind](const qm::Fact &fact) { return fact.kind == kind; }));
    }
    [[nodiscard]] QString columnList() const
    {
        QStringList texts;
        for (const qm::ReportColumn &column : columns)
            texts.append(u"%1:%2:%3:%4"_s.arg(QString::fromStdString(column.caption))
                             .arg(static_cast<int>(column.type))
                             .arg(static_cast<int>(column.alignment))
                             .arg(QString::fromStdString(column.format)));
        return texts.join(u' ');
    }
};

QString failureOf(const std::function<void()> &body)
{
    const qm::RuntimeError error = qm::test::errorOf(body);
    return error.number() == 0 ? QString() : u"%1 %2"_s.arg(error.number()).arg(error.description());
}

} // namespace

class EngineRunTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<qm::test::TempInstallation> m_installation;
    std::unique_ptr<qm::ApplicationLog> m_log;
    qm::test::FakeClock m_clock{{QDate(2026, 11, 21), 12 * 3600}};

    void makeDatabase(const QString &word, const char *sql) const
    {
        int code = SQLITE_OK;
        const auto connection =
            qm::sqlite::open(m_installation->packagePath(word) + u"EventLog.db"_s, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        QCOMPARE(qm::sqlite::execute(connection.get(), sql), SQLITE_OK);
    }
    /// A query file in the group "Tests" of a package.
    [[nodiscard]] QString query(const QByteArray &sql, const QByteArray &more = {}, const QString &word = u"Server"_s) const
    {
        return m_installation->write(m_installation->group(word, u"Tests"_s) + u"/q.rqn"_s,
                                     "format = 1\ndescription = \"My query\"\nsql = '''\n" + sql + "\n'''\n" + more);
    }
    qm::RunResult run(const QString &file, const qm::RunOptions &options)
    {
        qm::ReportEngine engine({m_installation->path(), qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s, m_clock, *m_log});
        return engine.run(file, options);
    }
    Recorder show(const QString &file, qm::RunOptions options = {})
    {
        Recorder screen;
        options.screen = &screen;
        run(file, options);
        return screen;
    }
    [[nodiscard]] QStringList reports() const
    {
        return QDir(m_installation->path() + u"Reports"_s).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] qm::LedgerEntry lastRun() const
    {
        const auto all = qm::RunLedger(m_installation->path()).list(1);
        return all.empty() ? qm::LedgerEntry() : all.front();
    }

private Q_SLOTS:
    void init()
    {
        m_installation.reset(); // the environment it set must be back before the next one changes it
        m_installation = std::make_unique<qm::test::TempInstallation>();
        m_log = std::make_unique<qm::ApplicationLog>(m_installation->path(), u"test"_s);
        makeDatabase(u"Server"_s,
                     "CREATE TABLE e(id INTEGER, at DATETIME, user_name TEXT, ok BOOLEAN, note TEXT);"
                     "INSERT INTO e VALUES(1, '2026-11-20 08:00:00.000', 'ann', 1, 'x'),(2, '2026-11-20 09:00:00.000', NULL, 0, 'y')");
    }

    void columns_are_worked_out_from_the_result()
    {
        const Recorder screen = show(query(
            "SELECT id, at, user_name, ok, id + 0.25 AS client_ip, date(at) AS dayOfWeek, '08:00:00', NULL n, 7 AS \"COUNT(*)\" FROM e"));
        // Types: 0 text, 1 integer, 2 real, 3 boolean, 4 date, 5 date and time, 6 time. Alignment: 0 left, 1 centre, 2 right.
        QCOMPARE(screen.columnList(), u"ID:1:2: At:5:0:datetime User name:0:0: Ok:3:1:boolean Client IP:2:2:0.00 "
                                      "Day of week:4:0:date '08:00:00':6:0:time N:0:0: COUNT(*):1:2:"_s);
        QCOMPARE(screen.rows.first(), u"1|2026-11-20 08:00:00.000|ann|1|1.25|2026-11-20|08:00:00|NULL|7"_s);
        QCOMPARE(screen.tail->rows, std::int64_t{2});
        QCOMPARE(screen.fact("Package"), u"Server Operating System Logs"_s);
        QCOMPARE(screen.fact("Report group"), u"Tests"_s);
        QCOMPARE(screen.fact("Source"), u"event database EventLog.db"_s);
        QVERIFY(screen.fact("Made").contains(u"2026-11-21 12:00:00 UTC"_s));
        makeDatabase(u"Server"_s, "UPDATE e SET at = '2026-11-20 08:00:00.125', id = 'x7' WHERE id = 1");
        const Recorder changed = show(query("SELECT id, at FROM e"));
        QCOMPARE(changed.columnList(), u"ID:0:0: At:5:0:datetime-ms"_s);
        // Mixed values are texts, and no number is rounded to nothing.
        const Recorder mixed = show(query("SELECT 7 AS a, 0.0004 AS b, 0.5 AS c UNION ALL SELECT '2026-11-20', 2.5, 1e15"));
        QCOMPARE(mixed.columnList(), u"A:0:0: B:2:2: C:2:2:"_s);
    }

    void a_layout_says_how_cells_read_and_is_told_what_it_misspelt()
    {
        m_installation->write(m_installation->packagePath(u"Server"_s) + u"Layouts/l.rpt"_s, R"(
note = "About {package}"
[page]
alow_a3 = true
allow_a3 = true
[[column]]
field = "id"
null_text = "none"
words = { 1 = "one" }
rule = [{ test = ">", value = 1, show = "alarm" }, { test = "null" }]
[[column]]
field = "at"
format = "local"
[[column]]
field = "ok"
format = "bolean"
)");
        const QString file = query("SELECT id, at, ok FROM e", "report_file = \"Layouts/l.rpt\"\n");
        Recorder screen;
        qm::RunOptions options;
        options.screen = &screen;
        const qm::RunResult result = run(file, options);
        const qm::ReportColumn &id = screen.columns.at(0);
        QCOMPARE(QString::fromStdString(id.words.at(0).first + '=' + id.words.at(0).second + '|' + id.nullText), u"1=one|none"_s);
        QVERIFY(id.rules.size() == 2 && id.rules[0].test == qm::CellRule::Test::Greater && id.rules[0].operand == "1" &&
                id.rules[0].emphasis == qm::Emphasis::Alarm && id.rules[1].test == qm::CellRule::Test::Null &&
                id.rules[1].emphasis == qm::Emphasis::Strong);
        QCOMPARE(id.alignment, qm::CellAlignment::Left);               // words, no numbers
        QCOMPARE(screen.columns.at(2).format, std::string("boolean")); // as without a format
        QVERIFY(screen.head.page.allowA3);
        QCOMPARE(screen.fact("Note"), u"About Server Operating System Logs"_s);
        QCOMPARE(screen.fact("Times"), u"Times in the rows are UTC, but where they state their distance from it"_s);
        QStringList notices;
        for (const std::string &notice : screen.head.notices)
            notices << QString::fromStdString(notice);
        QCOMPARE(notices, QStringList({u"The layout l.rpt: Line 4: \"alow_a3\" is not known in [page] and has no effect; did you mean "
                                       "\"allow_a3\"?"_s,
                                       u"The layout l.rpt: The format \"bolean\" of the column \"ok\" is not known and has no effect; did "
                                       "you mean \"boolean\"?"_s}));
        QCOMPARE(result.note, notices.join(u' '));
    }

    void the_house_style_is_on_each_report_unless_the_layout_says_otherwise()
    {
        const auto style = [&](const QByteArray &text) { m_installation->write(u"House.style"_s, text); };
        const auto notices = [](const Recorder &screen) {
            return screen.head.notices.empty() ? QString() : QString::fromStdString(screen.head.notices.front());
        };
        const auto band = [](const qm::PageBand &texts) {
            return QString::fromStdString(texts.left + '|' + texts.centre + '|' + texts.right);
        };
        const QString file = query("SELECT id FROM e");
        QCOMPARE(band(show(file).head.header), u"My query||Server Operating System Logs"_s);
        style("organisation = 'Acme'\nclassification = 'Internal'\nprepared_by = 'Audit'\npaper = 'letter'\nlanguage = 'de-AT'\n"
              "footer = 'Acme {date}, {page}'\n");
        const Recorder house = show(file);
        QCOMPARE(band(house.head.header), u"My query|Internal|Acme"_s);
        QCOMPARE(band(house.head.footer), u"Acme 2026-11-21, {page}||Page {page} of {pages}"_s);
        QCOMPARE(QString::fromStdString(house.head.language), u"de-AT"_s);
        QCOMPARE(house.head.page.widthMm, 279.4);
        QCOMPARE(house.fact("Organisation") + u'|' + house.fact("Classification") + u'|' + house.fact("Prepared by"),
                 u"Acme|Internal|Audit"_s);
        QCOMPARE(notices(house), QString());

        m_installation->write(m_installation->packagePath(u"Server"_s) + u"Layouts/l.rpt"_s,
                              "[page]\nsize = 'A4'\n[header]\nleft = '{organisation}, {classification}'\n");
        const Recorder own = show(query("SELECT id FROM e", "report_file = \"Layouts/l.rpt\"\n"));
        QCOMPARE(band(own.head.header) + band(own.head.footer), u"Acme, Internal||||"_s);
        QCOMPARE(own.head.page.widthMm, 297.0);
        QCOMPARE(own.fact("Classification"), u"Internal"_s); // what must not be shown to all is said by every report

        // Nothing in the file keeps a report from being made; what is wrong is said by it.
        const QString plain = query("SELECT id FROM e");
        for (const auto &[text, said] : {std::pair{"organization = 'Acme'\n", "House.style: Line 1: \"organization\" is not known"},
                                         std::pair{"footer = '{orgnisation}'\n", "House.style"},
                                         std::pair{"footer = \n", "The house style is not applied: Invalid file format: House.style, line 1"},
                                         std::pair{"paper = 'B4'\n", "\"paper\" must be one of A4, A3"},
                                         std::pair{"language = 'the local one'\n", "must be a language tag"}}) {
            style(text);
            const Recorder told = show(plain);
            QVERIFY2(notices(told).contains(QLatin1String(said)), qPrintable(notices(told)));
            QCOMPARE(band(told.head.header), u"My query||Server Operating System Logs"_s);
        }
    }

    void wide_columns_share_what_the_narrow_ones_leave()
    {
        const Recorder screen = show(
            query("SELECT id, printf('%.300c', 'x') AS a, printf('%.500c', 'y') AS b, printf('%.400c', 'z') AS c, id + 1 AS d FROM e"));
        double sum = 0;
        for (const qm::ReportColumn &column : screen.columns)
            sum += column.widthMm;
        QVERIFY2(sum > 272 && sum < 273.01, qPrintable(QString::number(sum))); // A4 landscape less two margins of 12 mm
        QVERIFY(screen.columns[0].widthMm < 15 && screen.columns[1].widthMm > 75);
        QCOMPARE(screen.columns[1].widthMm, screen.columns[2].widthMm);
    }

    void a_layout_orders_names_and_hides_columns()
    {
        m_installation->write(
            m_installation->packagePath(u"Server"_s) + u"Layouts/l.rpt"_s,
            "format = 1\ntitle = \"Of {package}\"\nsubtitle = \"{query} {date}\"\n[header]\nleft = \"{title} {page}/{pages}\"\n"
            "[[column]]\nfield = \"NOTE\"\ncaption = \"Remark\"\nwidth_mm = 33\nalign = \"centre\"\n[[column]]\nfield = \"id\"\nformat = "
            "\"#,##0\"\nwrap = false\n"
            "[[column]]\nfield = \"ok\"\nvisible = false\n");
        const QByteArray named = "report_file = \"Layouts/l.rpt\"\n";
        const Recorder screen = show(query("SELECT id, ok, user_name, note FROM e", named));
        QCOMPARE(screen.columnList(), u"Remark:0:1: ID:1:2:#,##0 User name:0:0:"_s);
        QCOMPARE(screen.columns[0].widthMm, 33.0);
        QVERIFY(screen.columns[0].wrap && !screen.columns[1].wrap && screen.columns[2].wrap);
        QCOMPARE(screen.rows, (QStringList{u"x|1|ann"_s, u"y|2|NULL"_s}));
        QCOMPARE(QString::fromStdString(screen.head.title + '~' + screen.head.subtitle + '~' + screen.head.header.left),
                 u"Of Server Operating System Logs~q.rqn 2026-11-21~Of Server Operating System Logs {page}/{pages}"_s);
        const QString lost = failureOf([&] { show(query("SELECT id, ok AS fine, user_name FROM e", named)); });
        QVERIFY2(lost.contains(u"\"NOTE\""_s) && lost.contains(u"id, fine, user_name"_s) && lost.contains(u"l.rpt"_s), qPrintable(lost));
        QVERIFY(failureOf([&] { show(query("SELECT 1", "report_file = \"Layouts/none.rpt\"\n")); }).startsWith(u"53 "_s));
    }

    void the_period_and_parameters_are_stated_and_bound()
    {
        const QString file = query("SELECT :account, :date_from, :date_to",
                                   "[period]\nrange = \"yesterday\"\n[[parameter]]\nname = \"account\"\nlabel = \"Account\"\n"
                                   "type = \"text\"\ndefault = \"%\"\n");
        const Recorder byFile = show(file);
        QCOMPARE(byFile.rows.first(), u"%|2026-11-19 23:00:00|2026-11-20 23:00:00"_s); // the tests' zone is Berlin
        QCOMPARE(byFile.fact("Account"), u"%"_s);
        // Wine guesses the zone's name by its rules, as of one of its neighbours.
        const QString zone = qm::test::underWine() ? u"Europe/"_s : u"Europe/Berlin"_s;
        QVERIFY2(byFile.fact("Period").startsWith(u"yesterday: from 2026-11-20 00:00 to before 2026-11-21 00:00 ("_s + zone),
                 qPrintable(byFile.fact("Period")));
        qm::RunOptions options;
        options.from = options.to = QDate(2026, 3, 29);
        options.parameters.insert(u"account"_s, u"x' OR 1=1"_s);
        QCOMPARE(show(file, options).rows.first(), u"x' OR 1=1|2026-03-28 23:00:00|2026-03-29 22:00:00"_s);
        // Both ends by name: the period has no say and is not stated.
        options.parameters = {{u"date_from"_s, u"2026-01-01"_s}, {u"DATE_TO"_s, u"2026-02-01"_s}};
        const Recorder named = show(file, options);
        QCOMPARE(named.rows.first(), u"%|2026-01-01|2026-02-01"_s);
        QCOMPARE(named.facts(qm::Fact::Kind::Period), 0);
        options.parameters.clear();
        const QString without = query("SELECT id FROM e", "[period]\nrange = \"yesterday\"\n");
        QVERIFY(failureOf([&] { show(without, options); }).contains(u"takes no period"_s));
        // The query's own has no effect where the SQL takes none, and where it declares the ends itself.
        QCOMPARE(show(without).facts(qm::Fact::Kind::Period), 0);
        const Recorder own = show(query("SELECT :date_from", "[period]\nrange = \"yesterday\"\n[[parameter]]\nname = \"date_from\"\n"
                                                             "type = \"date\"\ndefault = \"2026-05-01\"\n"));
        QCOMPARE(own.rows.first(), u"2026-05-01"_s);
        QCOMPARE(own.facts(qm::Fact::Kind::Period), 0);
    }

    void parameters_pass_for_no_fact_of_the_report()
    {
        const Recorder screen = show(query("SELECT :a, :b", "[[parameter]]\nname = \"a\"\nlabel = \"Made\"\ndefault = \"in Ulm\"\n"
                                                            "[[parameter]]\nname = \"b\"\nlabel = \"Times\"\ndefault = \"3\"\n"));
        QCOMPARE(screen.facts(qm::Fact::Kind::Parameter), 2);
        QCOMPARE(screen.fact("Made"), u"in Ulm & 2026-11-21 12:00:00 local time (2026-11-21 12:00:00 UTC)"_s);
        QCOMPARE(screen.facts(qm::Fact::Kind::Made), 1);
        QCOMPARE(screen.facts(qm::Fact::Kind::Times), 1);
    }

    void each_query_reads_the_database_of_its_own_package()
    {
        makeDatabase(u"Mail"_s, "CREATE TABLE e(id); INSERT INTO e VALUES('mail')");
        QCOMPARE(show(query("SELECT id FROM e LIMIT 1", {}, u"Mail"_s)).rows, QStringList{u"mail"_s});
        QCOMPARE(show(query("SELECT id FROM e LIMIT 1")).rows, QStringList{u"1"_s});
        QVERIFY(failureOf([&] { show(query("SELECT 1", {}, u"File"_s)); }).startsWith(u"53 "_s));
    }

    void outputs_of_other_kinds_are_refused_with_advice_data()
    {
        QTest::addColumn<QByteArray>("more");
        QTest::addColumn<QString>("said");
        QTest::newRow("screen") << QByteArray("[output]\ntype = \"screen\"\n") << u"say --output"_s;
        QTest::newRow("another") << QByteArray("[output]\ntype = 9\n") << u"code 9, which this version does not know"_s;
        QTest::newRow("email") << QByteArray("[output]\ntype = \"email\"\n[output.email]\nto = [\"a@example.org\"]\n")
                               << u"No mail server is named"_s;
        QTest::newRow("server") << QByteArray("data_source = \"MSSQL::Payroll.dsf\"\n") << u"Payroll.dsf"_s;
        QTest::newRow("odbc") << QByteArray("data_source = \"ODBC::Driver=x;PWD=s3;UID=u\"\n[output]\ntype = \"file\"\n") << u"Driver=x"_s;
    }
    void outputs_of_other_kinds_are_refused_with_advice()
    {
        QFETCH(QByteArray, more);
        QFETCH(QString, said);
        const QString file = query("SELECT 1", more);
        const QString refused = failureOf([&] { run(file, {}); });
        QVERIFY2(refused.contains(said), qPrintable(refused));
        QCOMPARE(lastRun().status, qm::RunStatus::Failed);
        QVERIFY(lastRun().error.contains(said));
        m_log.reset();
        const QByteArray log = m_installation->read(u"Logs/test.log"_s);
        QVERIFY(log.contains("failed") && !log.contains("s3"));
    }

    void a_cut_csv_says_so_beside_it()
    {
        const QByteArray toFile = "row_limit = 1\n[output]\ntype = \"file\"\nformat = \"csv\"\nfile = \"{description}\"\n";
        const qm::RunResult cut = run(query("SELECT id FROM e", toFile), {});
        QVERIFY(cut.truncated);
        QCOMPARE(reports(), (QStringList{u"My query (first 1 rows).csv"_s, u"My query (first 1 rows).csv.txt"_s}));
        QCOMPARE(m_installation->read(cut.outputFile), QByteArray("id\r\n1\r\n"));
        const QByteArray facts = m_installation->read(cut.outputFile + u".txt"_s);
        QVERIFY2(facts.contains("Only the first 1 row: ") && facts.contains("Package: Server Operating System Logs"), facts.constData());
        QVERIFY(lastRun().note.contains(u"first 1 row: "_s));
        const qm::RunResult whole = run(query("SELECT id FROM e LIMIT 1", toFile), {});
        QVERIFY(!whole.truncated && whole.outputFile.endsWith(u"Reports"_s + qm::kSep + u"My query.csv"_s));
        QCOMPARE(whole.sha256,
                 QString::fromLatin1(QCryptographicHash::hash(m_installation->read(whole.outputFile), QCryptographicHash::Sha256).toHex()));
        QCOMPARE(lastRun().sha256, whole.sha256);
        QCOMPARE(lastRun().bytes, whole.bytes);
        const Recorder screen = show(query("SELECT id FROM e", "row_limit = 2\n"));
        QVERIFY(!screen.tail->truncated && screen.tail->rows == 2);
    }

    void outputs_that_cannot_be_written_are_told_and_leave_nothing()
    {
        qm::RunOptions options;
        constexpr char kMany[] = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 100000) SELECT i, hex(i) FROM n";
        const QString many = query(kMany);
        const auto told = [&](const QString &output) {
            options.outputFile = output;
            return failureOf([&] { run(many, options); });
        };
        QVERIFY(QDir(m_installation->path()).mkpath(u"Reports"_s));
        QVERIFY(told(m_installation->path() + u"none/x.csv"_s).startsWith(u"76 "_s));
        // What is wrong with the output is told without waiting for the first row.
        const QString endless = query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT max(i) FROM n",
                                      "timeout_seconds = 20\n[output]\ntype = \"file\"\nfile = \"Folder/{nosuch}\"\n");
        QVERIFY(failureOf([&] { run(endless, options); }).startsWith(u"76 "_s));
        QVERIFY(failureOf([&] { run(endless, {}); }).contains(u"unknown field {nosuch}"_s));
        QCOMPARE(query(kMany), many);
        if (!qm::test::onWindows() && QFile::exists(u"/dev/full"_s))
            QVERIFY(told(u"/dev/full"_s).startsWith(u"61 "_s));
        QCOMPARE(lastRun().status, qm::RunStatus::Failed);
        QCOMPARE(reports(), QStringList());
        const QString old = m_installation->write(u"Reports/old.csv"_s, "old");
        options.outputFile = old;
        QVERIFY(!failureOf([&] { run(query("SELECT 1 FROM nosuch"), options); }).isEmpty());
        QCOMPARE(m_installation->read(old), QByteArray("old"));
        run(query(kMany), options);
        QVERIFY(m_installation->read(old).startsWith("i,hex(i)\r\n1,31\r\n"));
    }

    void a_ledger_that_cannot_be_written_stops_no_report()
    {
        m_log.reset(); // Windows removes no file that is open
        QVERIFY(QDir(m_installation->path() + u"Logs"_s).removeRecursively());
        m_installation->write(u"Logs"_s, "a file");
        m_log = std::make_unique<qm::ApplicationLog>(m_installation->path(), u"test"_s);
        Recorder screen;
        qm::RunOptions options;
        options.screen = &screen;
        const qm::RunResult result = run(query("SELECT id FROM e"), options);
        QCOMPARE(result.runId, std::int64_t{0});
        QCOMPARE(result.rows, std::int64_t{2});
        QVERIFY2(result.note.contains(u"RunLedger.db"_s), qPrintable(result.note));
    }

    void ledger_and_log_hold_a_run_from_its_beginning()
    {
        Recorder screen;
        qm::LedgerEntry begun;
        screen.onBegin = [&] {
            begun = lastRun();
            m_clock.advance(std::chrono::seconds(90));
        };
        qm::RunOptions options;
        options.screen = &screen;
        run(query("SELECT id FROM e"), options);
        QCOMPARE(runWord(begun.status) + u' ' + begun.startedUtc + u' ' + begun.outputType, u"running 2026-11-21 12:00:00 screen"_s);
        QCOMPARE(lastRun().status, qm::RunStatus::Done);
        QCOMPARE(lastRun().startedUtc, begun.startedUtc);
        QCOMPARE(lastRun().endedUtc, u"2026-11-21 12:01:30"_s);
        m_log.reset();
        const QByteArray log = m_installation->read(u"Logs/test.log"_s);
        QVERIFY2(log.contains("Run 1 started by operator: \"My query\"") && log.contains("Run 1 done: 2 rows"), log.constData());
    }

    void a_cancel_at_any_moment_leaves_no_file()
    {
        // It takes seconds, so that a cancel comes in time; should the machine stand still for so long, the disk is not filled meanwhile.
        const QString large =
            query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 3000000) SELECT i, printf('%.50c', 'x') AS x FROM n",
                  "[output]\ntype = \"file\"\nfile = \"{description}\"\n");
        int cancelled = 0;
        std::mt19937 random(21);
        std::uniform_int_distribution<int> delay(0, 20'000);
        for (int i = 0; i < 200; ++i) {
            qm::RunOptions options;
            options.format = qm::reportFormats().at(i % qm::reportFormats().size());
            options.cancel = std::make_shared<qm::CancelFlag>();
            std::thread operatorThread([&, wait = std::chrono::microseconds(delay(random))] {
                std::this_thread::sleep_for(wait);
                options.cancel->cancel();
            });
            const QString ended = failureOf([&] { run(large, options); });
            operatorThread.join();
            const bool wasInTime = ended.startsWith(QString::number(qm::err::cancelledByOperator));
            QVERIFY2(wasInTime || ended.isEmpty(), qPrintable(ended));
            cancelled += wasInTime ? 1 : 0;
            QVERIFY2(wasInTime == reports().isEmpty(), qPrintable(reports().join(u", "_s)));
            QVERIFY(lastRun().status == (wasInTime ? qm::RunStatus::Cancelled : qm::RunStatus::Done));
            QDir(m_installation->path() + u"Reports"_s).removeRecursively();
        }
        QVERIFY2(cancelled > 180, qPrintable(QString::number(cancelled)));
        QCOMPARE(qm::RunLedger(m_installation->path()).list().size(), std::size_t{200});
    }

    void progress_and_time_out_work_between_rows()
    {
        std::int64_t last = 0;
        int calls = 0;
        qm::RunOptions options;
        options.countOnly = true;
        options.progress = [&](std::int64_t rows) {
            QVERIFY(rows > last);
            last = rows;
            ++calls;
        };
        const QString ended = failureOf([&] {
            run(query("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n", "timeout_seconds = 1\n"), options);
        });
        QVERIFY2(ended.contains(u"time-out of 1 seconds"_s), qPrintable(ended));
        QVERIFY(calls >= 2 && calls <= 5);
    }
};

QTEST_GUILESS_MAIN(EngineRunTest)
#include "engine_run_test.moc"
