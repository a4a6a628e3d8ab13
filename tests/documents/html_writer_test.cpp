// Groups, totals, first page and columns of the HTML page, read back by Python's html.parser.
#include "core/Utf8.h"
#include "documents/ReadBack.h"
#include "documents/Writers.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

ReportColumn column(std::string caption, ColumnType type, std::string format = "")
{
    ReportColumn made;
    made.field = made.caption = std::move(caption);
    made.type = type;
    made.format = std::move(format);
    made.alignment = type == ColumnType::Integer ? CellAlignment::Right : CellAlignment::Left;
    return made;
}

Subtotal sum(std::string caption, std::optional<std::size_t> under)
{
    Subtotal made;
    made.function = Aggregate::Sum;
    made.caption = std::move(caption);
    made.column = under;
    made.value = column({}, ColumnType::Integer, "#,##0");
    return made;
}

GroupLevel level(ReportColumn by, std::vector<Subtotal> subtotals = {})
{
    GroupLevel made;
    made.column = std::move(by);
    made.subtotals = std::move(subtotals);
    return made;
}

ReportHead titled(const std::string &title, std::vector<std::string> notices = {})
{
    ReportHead head;
    head.title = title;
    head.notices = std::move(notices);
    return head;
}

QString text(const std::string &utf8)
{
    return QString::fromStdString(utf8);
}

/// A row in short: its class, then the texts of its cells, each with how many columns it spans if more than one.
QString brief(const QJsonValue &row)
{
    QStringList cells;
    for (const QJsonValue &cell : row[u"cells"_s].toArray()) {
        const int span = cell[u"span"_s].toInt();
        const QJsonValue shown = cell[u"text"_s];
        cells << (shown.isNull() ? u"NULL"_s : shown.toString().trimmed()) + (span > 1 ? u"/%1"_s.arg(span) : QString());
    }
    return row[u"class"_s].toString() + u'>' + cells.join(u'|');
}

QStringList briefGroup(const QJsonValue &group)
{
    QStringList rows;
    for (const QJsonValue &row : group[u"rows"_s].toArray())
        rows << brief(row);
    return rows;
}

} // namespace

class HtmlWriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_python = pythonWithReaders();
        if (m_python.isEmpty())
            QSKIP("no Python with openpyxl here");
    }

    void groupsAreRowGroupsWithHeadingsAndSums()
    {
        ReportShape shape{.columns = {column("Account", ColumnType::Text), column("Day", ColumnType::Date),
                                      column("Attempts", ColumnType::Integer, "#,##0")}};
        shape.groups = {level(column("Computer", ColumnType::Text), {sum("Attempts on", 2)}),
                        level(column("Account", ColumnType::Text), {sum("Sum", 2), sum("Most", 2), sum("Rows", {})})};
        shape.groups[0].newPage = true;
        shape.groups[1].shown = 0;
        shape.groups[1].heading = false;
        shape.totals = {sum("All attempts", 2), sum("First column", 0)};
        const Value a = Value::ofText("a"), b = Value::ofText("b"), one = Value::ofText("SRV-1"), day = Value::ofText("2026-11-20");
        const auto number = [](std::int64_t n) { return Value::of(n); };
        {
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            writer->begin(titled("T"), shape, {});
            writer->beginGroup(0, one);
            writer->beginGroup(1, a);
            writer->row(std::vector{a, day, number(1000)});
            writer->row(std::vector{a, day, number(-5)});
            writer->endGroup({1, a, 2, std::vector{number(995), number(1000), number(2)}});
            writer->beginGroup(1, b);
            writer->row(std::vector{b, Value::ofNull(), number(7)});
            writer->endGroup({1, b, 1, std::vector{number(7), number(7), number(1)}});
            writer->endGroup({0, one, 3, std::vector{number(1002)}});
            writer->beginGroup(0, Value::ofNull());
            writer->beginGroup(1, b);
            writer->row(std::vector{b, day, Value::ofNull()});
            writer->endGroup({1, b, 1, std::vector{number(0), number(0), number(1)}, true});
            writer->endGroup({0, Value::ofNull(), 1, std::vector{number(0)}, true});
            writer->end({.rows = 4, .truncated = true, .rowLimit = 4, .totals = std::vector{number(1002), number(9)}});
            file.commit();
        }
        const QJsonObject page = read();
        const QJsonArray groups = page[u"groups"_s].toArray();
        QCOMPARE(groups.size(), 3); // one for each innermost group
        QCOMPARE(briefGroup(groups[0]), (QStringList{u"g1>Computer: SRV-13 rows/3"_s, u">a|2026-11-20|1,000"_s, u">|2026-11-20|\u22125"_s,
                                                     u"sub>Sum, a; Rows: 2/2|995"_s, u"sub>Most, a/2|1,000"_s}));
        QCOMPARE(briefGroup(groups[1]), (QStringList{u">b|NULL|7"_s, u"sub>Attempts on, SRV-1/2|1,002"_s}));
        QCOMPARE(briefGroup(groups[2]),
                 (QStringList{u"g1>Computer: \u20131 row/3"_s, u">b|2026-11-20|NULL"_s, u"sub>b (cut off by the row limit)/3"_s,
                              u"sub>\u2013 (cut off by the row limit)/3"_s}));
        QCOMPARE(groups[0][u"class"_s].toString() + groups[1][u"class"_s].toString(), QString());
        QCOMPARE(groups[2][u"class"_s].toString().trimmed(), u"page"_s); // the first begins on its page anyway
        QCOMPARE(groups[0][u"rows"_s][0][u"cells"_s][0][u"scope"_s].toString(), u"rowgroup"_s);
        QCOMPARE(page[u"totals"_s].toArray().size(), 1);
        QCOMPARE(brief(QJsonObject{{u"cells"_s, page[u"totals"_s][0]}}), u">All attempts; First column: 9 (of the rows shown)/2|1,002"_s);
        QVERIFY(page[u"contents"_s].toArray().isEmpty());
        QVERIFY(page[u"errors"_s].toArray().isEmpty());
    }

    /// However large the groups: each heading states what stands below it, each row stands under its own heading, and none is lost.
    void headingsStateTheRowsBelowThem()
    {
        constexpr std::array kRows{1, 3, 9000, 1, 40000, 2, 17, 5, 8};
        ReportShape shape{.columns = {column("n", ColumnType::Integer), column("text", ColumnType::Text)}};
        shape.groups = {level(column("", ColumnType::Integer), {sum("Sum", 1)})};
        shape.groups[0].keepTogether = true;
        std::int64_t all = 0;
        const std::string filler(30, 'x');
        {
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            writer->begin(titled("T", {"Known first."}), shape, {});
            for (std::size_t g = 0; g < kRows.size(); ++g) {
                const Value key = Value::of(static_cast<std::int64_t>(g));
                writer->beginGroup(0, key);
                for (int i = 0; i < kRows[g]; ++i)
                    writer->row(std::vector{Value::of(++all), Value::ofText(filler)});
                writer->endGroup({0, key, kRows[g], std::vector{Value::of(std::int64_t{kRows[g]})}});
            }
            writer->end({.rows = all, .notices = {"Known last."}});
            file.commit();
        }
        const QJsonObject page = read();
        const QJsonArray groups = page[u"groups"_s].toArray();
        QCOMPARE(groups.size(), static_cast<qsizetype>(kRows.size()));
        std::int64_t next = 0;
        for (std::size_t g = 0; g < kRows.size(); ++g) {
            const QJsonArray rows = groups[static_cast<qsizetype>(g)][u"rows"_s].toArray();
            const QString count = QLocale(QLocale::English).toString(kRows[g]) + (kRows[g] == 1 ? u" row"_s : u" rows"_s);
            QCOMPARE(brief(rows[0]), u"g1>%1%2/2"_s.arg(g).arg(count));
            QCOMPARE(rows.size(), kRows[g] + (kRows[g] > 1 ? 2 : 1)); // no sum of a single row
            for (int i = 1; i <= kRows[g]; ++i)
                if (brief(rows[i]) != u">%1|%2"_s.arg(++next).arg(text(filler)))
                    QFAIL(qPrintable(brief(rows[i])));
        }
        QCOMPARE(page[u"facts"_s][u"Rows"_s].toString(), u"49,037 rows"_s);
        QCOMPARE(page[u"notices"_s].toArray(), (QJsonArray{QJsonArray{u"Known first."_s}, QJsonArray{u"Known last."_s},
                                                           QJsonArray{u"Known first."_s, u"Known last."_s}}));
        const QJsonArray contents = page[u"contents"_s].toArray();
        QCOMPARE(contents.size(), 9);
        QCOMPARE(contents[4].toArray(), (QJsonArray{u"#g5"_s, u"4"_s}));
        QCOMPARE(page[u"order"_s].toArray(), (QJsonArray{u"table"_s, u"nav"_s, u"footer"_s}));
        QVERIFY(page[u"style"_s].toString().contains(u".ordered>nav{order:-1}"_s)); // and so stands above the rows
    }

    void contentsStayBounded_data()
    {
        QTest::addColumn<int>("groups");
        QTest::addColumn<int>("entries");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::newRow("too few") << 7 << 0 << QString() << QString();
        QTest::newRow("fewest") << 8 << 8 << u"k1"_s << u"k8"_s;
        QTest::newRow("most") << 5000 << 5000 << u"k1"_s << u"k5000"_s;
        QTest::newRow("one more") << 5001 << 2501 << u"k1 \u2026 k2"_s << u"k5001"_s;
        QTest::newRow("many") << 20003 << 2501 << u"k1 \u2026 k8"_s << u"k20001 \u2026 k20003"_s;
    }

    void contentsStayBounded()
    {
        QFETCH(int, groups);
        QFETCH(int, entries);
        QFETCH(QString, first);
        QFETCH(QString, last);
        ReportShape shape{.columns = {column("n", ColumnType::Text)}};
        shape.groups = {level(column("", ColumnType::Text))};
        shape.groups[0].shown = 0;
        shape.groups[0].heading = false;
        {
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            writer->begin(titled("T"), shape, {});
            for (int g = 1; g <= groups; ++g) {
                const std::string key = 'k' + std::to_string(g);
                writer->beginGroup(0, Value::ofText(key));
                writer->row(std::vector{Value::ofText(key)});
                writer->endGroup({0, Value::ofText(key), 1, {}});
            }
            writer->end({.rows = groups});
            file.commit();
        }
        const QJsonObject page = read();
        const QJsonArray contents = page[u"contents"_s].toArray(), ids = page[u"ids"_s].toArray();
        QCOMPARE(contents.size(), entries);
        QCOMPARE(ids.size(), groups);
        for (const QJsonValue &entry : contents) {
            const int group = entry[0].toString().mid(2).toInt();
            QCOMPARE(ids[group - 1].toString(), u"g%1"_s.arg(group));
            QVERIFY2(entry[1].toString().startsWith(u"k%1"_s.arg(group)), qPrintable(entry[1].toString()));
        }
        QCOMPARE(contents[0][1].toString(), first);
        QCOMPARE(contents[contents.size() - 1][1].toString(), last);
    }

    void nothingOfOthersBecomesMarkUp()
    {
        // A text of as many letters that mean nothing must give the same page.
        const std::string hostile = "</th></bdi><script>\"'&\u202E</script><a href='#x'>";
        const auto make = [&](const std::string &each) {
            ReportColumn named = column(each, ColumnType::Text);
            named.nullText = each;
            ReportShape shape{.columns = {named, column(each, ColumnType::Integer)}};
            shape.groups = {level(named, {sum(each, 1), sum(each, {})})};
            shape.totals = {sum(each, 1)};
            shape.charts.resize(1);
            shape.charts[0].title = shape.charts[0].valueTitle = each;
            shape.charts[0].value = column(each, ColumnType::Integer, each);
            shape.keyFigures = {{each, column(each, ColumnType::Text)}};
            shape.top = TopList{each, named, column(each, ColumnType::Integer)};
            ChartData data;
            data.categories = {each, "Other"};
            data.series = {{each, {16, 4}}};
            data.otherCategory = true;
            data.allCategories = 12;
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            ReportHead head = titled(each, {each});
            head.subtitle = head.language = each;
            writer->begin(head, shape, {});
            for (int g = 0; g < 8; ++g) {
                writer->beginGroup(0, Value::ofText(each));
                for (int i = 0; i < 2; ++i)
                    writer->row(std::vector{i == 0 ? Value::ofNull() : Value::ofText(each), Value::of(std::int64_t{1})});
                writer->endGroup({0, Value::ofText(each), 2, std::vector{Value::of(std::int64_t{2}), Value::ofText(each)}, true});
            }
            writer->end({.rows = 16,
                         .totals = std::vector{Value::ofText(each)},
                         .keyFigures = std::vector{Value::ofText(each)},
                         .charts = std::vector{data},
                         .top = &data,
                         .notices = {each}});
            file.commit();
            return read();
        };
        const QJsonObject harmless = make(std::string(hostile.size(), 'x')), page = make(hostile);
        QVERIFY(!page.isEmpty());
        for (const char *same : {"elements", "attributes", "open", "errors", "order"})
            QCOMPARE(page[QLatin1String(same)], harmless[QLatin1String(same)]);
        QVERIFY(page[u"policyFits"_s].toBool());
        const QString shown = text(hostile).replace(u"\u202E"_s, u"[U+202E]"_s);
        QCOMPARE(page[u"notices"_s].toArray().last().toArray(), (QJsonArray{shown, shown}));
        QCOMPARE(page[u"figures"_s][shown].toString(), shown);
        QCOMPARE(page[u"top"_s].toArray(), (QJsonArray{shown + u": 16 (80 %)"_s}));
        QCOMPARE(page[u"charts"_s].toArray(),
                 (QJsonArray{shown, shown + u": "_s + shown + u", "_s + shown + u" 16; the rest together 4."_s}));
        QCOMPARE(page[u"contents"_s][0][1].toString(), shown);
        QCOMPARE(page[u"order"_s].toArray(), (QJsonArray{u"dl"_s, u"table"_s, u"figure"_s, u"section"_s, u"nav"_s, u"footer"_s}));
        QCOMPARE(page[u"rows"_s].toArray().size(), 16);
    }

    void whatDoesNotFitItsFieldIsSaidElsewhere()
    {
        ReportShape shape{.columns = {column("n", ColumnType::Integer)}};
        shape.keyFigures = {{"Last", column("", ColumnType::Text)}, {"None", column("", ColumnType::Integer)}};
        const std::string marks(300, '<');
        const std::vector<std::string> notices{"Short.", std::string(400, '<'), "Short too.", std::string(300, 'a')};
        {
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            writer->begin(titled("T"), shape, {});
            writer->end({.keyFigures = std::vector{Value::ofText(marks), Value::ofNull()}, .notices = notices});
            file.commit();
        }
        const QJsonObject page = read();
        QVERIFY(page[u"errors"_s].toArray().isEmpty());
        QCOMPARE(page[u"notices"_s][0].toArray(),
                 (QJsonArray{u"Short."_s, u"Short too."_s, text(notices[3]), u"More notices stand at the end of the report."_s}));
        QCOMPARE(page[u"notices"_s][1].toArray().size(), 4);
        QCOMPARE(page[u"notices"_s][1][3].toString(), text(notices[3]));
        QCOMPARE(page[u"figures"_s][u"Last"_s].toString(), QString(47, u'<') + u'\u2026'); // 192 bytes hold no more of them
        QCOMPARE(page[u"figures"_s][u"None"_s].toString(), u"\u2013"_s);
    }

    void anEmptyReportSaysWhatWasAsked()
    {
        ReportShape shape{.columns = {column("n", ColumnType::Integer)}};
        shape.totals = {sum("Sum", {})};
        ReportHead head = titled("T");
        head.facts = {{Fact::Kind::Source, "Source", "events.db"},
                      {Fact::Kind::Period, "Period", "Sat 2026-11-14 to Fri 2026-11-20, 7 whole days\nlast week; UTC"},
                      {Fact::Kind::Parameter, "Account", "d.petrov"}};
        {
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            writer->begin(head, shape, {});
            writer->end({});
            file.commit();
        }
        const QJsonObject page = read();
        QVERIFY(page[u"text"_s].toString().simplified().contains(
            u"No rows Nothing matched what was asked for: Source events.db ; Period Sat 2026-11-14 to Fri 2026-11-20, 7 whole days last week; UTC ; Account d.petrov ."_s));
        QVERIFY(page[u"totals"_s].toArray().isEmpty());
        QCOMPARE(page[u"facts"_s][u"Period"_s].toString(), u"Sat 2026-11-14 to Fri 2026-11-20, 7 whole days\nlast week; UTC"_s);
    }

    void everyColumnIsOnThePaper_data()
    {
        QTest::addColumn<int>("columns");
        QTest::addColumn<int>("letters");  ///< of the one word in each cell
        QTest::addColumn<QString>("size"); ///< "cards", or the size of the rows
        QTest::newRow("narrow") << 3 << 10 << u"natural"_s;
        // 273 mm of page; a digit of 7.5 points takes 1.53 mm, a cell's padding 4.2 mm.
        QTest::newRow("fits") << 13 << 10 << u"7.5"_s;
        QTest::newRow("smaller") << 15 << 10 << u"7"_s;
        QTest::newRow("smallest") << 16 << 10 << u"6.5"_s;
        QTest::newRow("cards") << 19 << 12 << u"cards"_s;
        QTest::newRow("long words are broken") << 5 << 200 << u"7.5"_s;
    }

    void everyColumnIsOnThePaper()
    {
        QFETCH(int, columns);
        QFETCH(int, letters);
        QFETCH(QString, size);
        const std::string word(static_cast<std::size_t>(letters), 'w');
        ReportShape shape;
        for (int i = 0; i < columns; ++i)
            shape.columns.push_back(column("c\"" + std::to_string(i), ColumnType::Text));
        const std::vector<Value> row(shape.columns.size(), Value::ofText(word));
        {
            OutputFile file(path());
            const auto writer = makeHtmlWriter(file, {});
            writer->begin(titled("T"), shape, {row, 1, true});
            writer->row(row);
            writer->end({.rows = 1});
            file.commit();
        }
        const QString style = read()[u"style"_s].toString();
        const QString paper = style.mid(style.lastIndexOf(u"@media print"_s));
        const bool cards = size == u"cards"_s;
        QCOMPARE(paper.contains(u"thead{display:none}"_s), cards);
        QCOMPARE(paper.contains(u"td:nth-child(%1)::before{content:\"c\\22 %2\""_s.arg(columns).arg(columns - 1)), cards);
        QCOMPARE(style.contains(u"table{width:auto;max-width:100%}"_s), size == u"natural"_s);
        const auto stated = QRegularExpression(u"\\.rows table\\{font-size:([0-9.]+)pt"_s).match(paper).captured(1);
        QCOMPARE(stated, size == u"7"_s || size == u"6.5"_s ? size : QString());
        if (!cards) // what a cell must have is no more than what was reckoned with
            QVERIFY(paper.contains(u"td:nth-child(%1){min-width:%2ch}"_s.arg(columns).arg(std::min(letters, 24))));
    }

private:
    QString path() const { return m_folder.filePath(u"report.html"_s); }
    QJsonObject read() const { return readBack(m_python, u"html"_s, path()); }

    QTemporaryDir m_folder;
    QString m_python;
};

QTEST_GUILESS_MAIN(HtmlWriterTest)
#include "html_writer_test.moc"
