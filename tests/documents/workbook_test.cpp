// Workbooks with groups, totals, charts and a first sheet, read with openpyxl; formulas are worked out again over the cells.
#include "documents/ReadBack.h"
#include "documents/Writers.h"

#include <QJsonArray>
#include <QTemporaryDir>

#include <array>
#include <cmath>
#include <optional>
#include <set>
#include <span>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

ReportColumn column(const char *caption, ColumnType type, const char *format = "")
{
    ReportColumn made;
    made.field = made.caption = caption;
    made.type = type;
    made.format = format;
    made.alignment = type == ColumnType::Text ? CellAlignment::Left : CellAlignment::Right;
    return made;
}

Subtotal subtotal(Aggregate function, std::optional<std::size_t> at, const char *caption, const ReportColumn &value)
{
    return {function, at, caption, value};
}

Value whole(std::int64_t number)
{
    return Value::of(number);
}

/// The splitmix64 generator.
class Random final
{
public:
    std::size_t operator()(std::size_t below)
    {
        std::uint64_t x = m_state += 0x9E3779B97F4A7C15U;
        x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
        x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
        return (x ^ (x >> 31)) % below;
    }

private:
    std::uint64_t m_state = 7;
};

/// Adds up the values of a column as a report does: NULL counts for nothing, text is no number.
Value aggregate(Aggregate function, const std::vector<std::vector<Value>> &rows, std::optional<std::size_t> at)
{
    std::int64_t count = 0, numbers = 0, sum = 0;
    std::optional<std::int64_t> least, most;
    std::set<std::string> different;
    for (const std::vector<Value> &row : rows) {
        const Value &value = row[at.value_or(0)];
        count += at && value.isNull() ? 0 : 1;
        if (!value.isNull())
            different.insert(value.kind == Value::Kind::Integer ? std::to_string(value.integer) : std::string(value.text()));
        if (value.kind != Value::Kind::Integer)
            continue;
        ++numbers;
        sum += value.integer;
        least = std::min(least.value_or(value.integer), value.integer);
        most = std::max(most.value_or(value.integer), value.integer);
    }
    switch (function) {
    case Aggregate::Count:
        return Value::of(count);
    case Aggregate::Distinct:
        return Value::of(static_cast<std::int64_t>(different.size()));
    case Aggregate::Average:
        return numbers == 0 ? Value::ofNull() : Value::of(static_cast<double>(sum) / static_cast<double>(numbers));
    case Aggregate::Minimum:
        return least ? Value::of(*least) : Value::ofNull();
    case Aggregate::Maximum:
        return most ? Value::of(*most) : Value::ofNull();
    case Aggregate::Share:
        return Value::of(0.25);
    case Aggregate::Sum:
    case Aggregate::Running:
        break;
    }
    return numbers == 0 ? Value::ofNull() : Value::of(sum);
}

QJsonObject sheetOf(const QJsonObject &book, const QString &name)
{
    for (const QJsonValue &sheet : book[u"sheets"_s].toArray())
        if (sheet[u"name"_s] == name)
            return sheet.toObject();
    return {};
}

QString cell(const QJsonObject &sheet, qsizetype row, qsizetype column)
{
    return sheet[u"rows"_s].toArray().at(row - 1).toArray().at(column).toVariant().toString();
}

ReportHead titled(const char *title)
{
    ReportHead head;
    head.title = title;
    return head;
}

ChartData chartData(std::vector<std::string> categories, std::vector<ChartSeries> series)
{
    ChartData data;
    data.allCategories = categories.size();
    data.categories = std::move(categories);
    data.series = std::move(series);
    return data;
}

} // namespace

class WorkbookTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_python = pythonWithReaders();
        if (m_python.isEmpty())
            QSKIP("no Python with openpyxl here");
    }

    void groupsFoldToTotalsThatCountForThemselves()
    {
        const ReportColumn number = column("", ColumnType::Integer, "#,##0"), average = column("", ColumnType::Real, "0.00");
        ReportShape shape;
        shape.columns = {column("Account", ColumnType::Text), column("Attempts", ColumnType::Integer, "#,##0"),
                         column("First", ColumnType::DateTime, "datetime")};
        GroupLevel computer;
        computer.column = column("Computer", ColumnType::Text);
        computer.newPage = true;
        computer.subtotals = {subtotal(Aggregate::Sum, 1, "Attempts", number), subtotal(Aggregate::Average, 1, "On average", average),
                              subtotal(Aggregate::Minimum, 2, "first", column("", ColumnType::DateTime, "datetime")),
                              subtotal(Aggregate::Count, std::nullopt, "Rows", number)};
        shape.groups = {computer};
        shape.totals = {subtotal(Aggregate::Sum, 1, "Attempts in all", number),
                        subtotal(Aggregate::Share, std::nullopt, "Of all", column("", ColumnType::Real, "percent"))};
        const auto row = [](const char *account, std::int64_t attempts, const char *first) {
            return std::vector{Value::ofText(account), whole(attempts), Value::ofText(first)};
        };
        {
            OutputFile file(path());
            const auto writer = makeXlsxWriter(file, {});
            writer->begin(titled("Failed logons"), shape, {});
            writer->beginGroup(0, Value::ofText("SRV-1"));
            writer->row(row("ann", 6, "2026-11-17 12:24:14"));
            writer->row(row("bob", 3, "2026-11-17 09:00:00"));
            writer->endGroup(
                {0, Value::ofText("SRV-1"), 2, std::vector{whole(9), Value::of(4.5), Value::ofText("2026-11-17 09:00:00"), whole(2)}});
            writer->beginGroup(0, Value::ofNull());
            {
                std::string gone = "cy"; // only for the call
                writer->row(row(gone.c_str(), 1, "2026-11-18 09:00:00"));
                gone = "??";
            }
            writer->endGroup({0, Value::ofNull(), 1, std::vector{whole(1), Value::of(1.0), Value::ofNull(), whole(1)}});
            writer->beginGroup(0, Value::ofText("SRV-3"));
            writer->row(row("dee", 2, ""));
            writer->row(row("eve", 5, "2026-11-19 09:00:00"));
            writer->endGroup({0, Value::ofText("SRV-3"), 2,
                              std::vector{whole(7), Value::of(3.5), Value::ofText("2026-11-19 09:00:00"), whole(2)}, true});
            writer->end({5, true, 5, std::vector{whole(17), Value::of(0.5)}});
            file.commit();
        }
        const QJsonObject book = read();
        const QJsonObject sheet = sheetOf(book, u"Failed logons"_s);
        // Rows: 3 headings; then heading, two rows, two lines of subtotals; a lone row, which nothing folds; heading, rows, subtotals;
        // totals.
        QCOMPARE(sheet[u"levels"_s].toArray(), (QJsonArray{0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0}));
        QVERIFY(sheet[u"below"_s].toBool());
        QCOMPARE(sheet[u"filter"_s].toString(), u"A3:C13"_s);
        QCOMPARE(sheet[u"breaks"_s].toArray(), (QJsonArray{8, 10}));
        QCOMPARE(cell(sheet, 4, 0), u"Computer: SRV-1"_s);
        QCOMPARE(cell(sheet, 7, 0), u"SRV-1 \u2013 Attempts, first, Rows: 2"_s);
        QCOMPARE(cell(sheet, 8, 0), u"SRV-1 \u2013 On average"_s);
        QCOMPARE(cell(sheet, 9, 0), u"Computer: \u2013"_s);
        QCOMPARE(cell(sheet, 10, 0), u"cy"_s);
        QCOMPARE(cell(sheet, 14, 0), u"SRV-3 (cut off by the row limit) \u2013 Attempts, first, Rows: 2"_s);
        QCOMPARE(cell(sheet, 16, 0), u"Of the rows shown \u2013 Attempts in all, Of all: 50.0%"_s);
        // An average has a line below the sum of its column. What was cut off in the last group, the formulas do not know either.
        QCOMPARE(sheet[u"formulas"_s].toObject(), (QJsonObject{{u"B7"_s, u"=SUBTOTAL(9,B5:B6)"_s},
                                                               {u"C7"_s, u"=SUBTOTAL(5,C5:C6)"_s},
                                                               {u"B8"_s, u"=SUBTOTAL(1,B5:B6)"_s},
                                                               {u"B14"_s, u"=SUBTOTAL(9,B12:B13)"_s},
                                                               {u"C14"_s, u"=SUBTOTAL(5,C12:C13)"_s},
                                                               {u"B15"_s, u"=SUBTOTAL(1,B12:B13)"_s},
                                                               {u"B16"_s, u"=SUBTOTAL(9,B4:B15)"_s}}));
    }

    /// Whatever the rows hold, a formula stands only where a spreadsheet works out what the report says.
    void formulasGiveWhatTheReportSays()
    {
        constexpr std::int64_t kTooLong = (std::int64_t{1} << 53) + 1;
        const ReportColumn integer = column("", ColumnType::Integer), real = column("", ColumnType::Real);
        ReportShape shape;
        shape.columns = {column("Key", ColumnType::Text), column("Number", ColumnType::Integer), column("Text", ColumnType::Text)};
        for (std::size_t level = 0; level < 3; ++level) {
            GroupLevel &group = shape.groups.emplace_back();
            group.column = column("Level", ColumnType::Integer);
            group.heading = level != 1;
            group.shown = 0;
            for (const Aggregate function : {Aggregate::Sum, Aggregate::Average, Aggregate::Minimum, Aggregate::Maximum})
                group.subtotals.push_back(subtotal(function, 1, "", function == Aggregate::Average ? real : integer));
            for (std::size_t at = 0; at < 3; ++at)
                group.subtotals.push_back(subtotal(Aggregate::Count, at, "n", integer));
            group.subtotals.push_back(subtotal(Aggregate::Count, std::nullopt, "rows", integer));
        }
        shape.totals = shape.groups.front().subtotals;
        Random random;
        std::size_t checked = 0;
        for (int round = 0; round < 8; ++round) {
            // A number that is no SUBTOTAL must not be added to those of the outer levels.
            if (round == 6)
                shape.groups.back().subtotals.push_back(subtotal(Aggregate::Distinct, 1, "different", integer));
            Rows rows;
            std::vector<std::array<std::size_t, 3>> keys;
            for (std::size_t a = 0; a < 4; ++a)
                for (std::size_t b = 0; b < 1 + random(3); ++b)
                    for (std::size_t c = 0; c < 1 + random(3); ++c)
                        for (std::size_t left = 1 + random(4); left > 0; --left) {
                            const bool odd = round > 1 && random(6) == 0;
                            const Value number = odd ? std::array{Value::ofNull(), Value::ofText("n/a"), whole(kTooLong)}[random(3)]
                                                     : whole(static_cast<std::int64_t>(random(1000)));
                            const Value text = round > 3 && random(8) == 0 ? Value::ofText("")
                                               : random(5) == 0            ? Value::ofNull()
                                                                           : Value::ofText("x");
                            rows.push_back({round % 2 == 0 ? Value::ofText("key") : whole(5), number, text});
                            keys.push_back({a, b, c});
                        }
            {
                OutputFile file(path());
                const auto writer = makeXlsxWriter(file, {});
                writer->begin(titled("Numbers"), shape, {});
                writeGroups(*writer, shape, rows, keys, 0);
                const std::vector<Value> totals = allOf(shape.totals, rows);
                writer->end({.rows = static_cast<std::int64_t>(rows.size()), .totals = totals});
                file.commit();
            }
            const QJsonObject book = read();
            QVERIFY(!book.isEmpty());
            checked += static_cast<std::size_t>(book[u"checked"_s].toInt());
            // The values, formula or not, are those that were handed over.
            const QJsonObject sheet = sheetOf(book, u"Numbers"_s);
            const qsizetype last = sheet[u"rows"_s].toArray().size();
            const qsizetype first = last - static_cast<qsizetype>(4);
            const Value sum = aggregate(Aggregate::Sum, rows, 1);
            QCOMPARE(cell(sheet, first, 1), QString::number(sum.integer));
            if (round == 0)
                QVERIFY2(sheet[u"formulas"_s].toObject().size() > 100, qPrintable(QString::number(sheet[u"formulas"_s].toObject().size())));
        }
        QVERIFY2(checked > 500, qPrintable(QString::number(checked)));
    }

    void whatReachesOverSheetsIsAValue()
    {
        constexpr std::int64_t kFirst = 5, kSecond = 1048600, kThird = 3;
        ReportShape shape;
        shape.columns = {column("n", ColumnType::Integer)};
        GroupLevel group;
        group.column = column("Group", ColumnType::Text);
        group.subtotals = {subtotal(Aggregate::Sum, 0, "", column("", ColumnType::Integer))};
        shape.groups = {group};
        shape.totals = group.subtotals;
        {
            OutputFile file(path());
            const auto writer = makeXlsxWriter(file, {});
            writer->begin(titled("Many"), shape, {});
            for (const auto &[key, rows] : {std::pair{"a", kFirst}, {"b", kSecond}, {"c", kThird}}) {
                writer->beginGroup(0, Value::ofText(key));
                for (std::int64_t i = 0; i < rows; ++i)
                    writer->row(std::array{whole(1)});
                writer->endGroup({0, Value::ofText(key), rows, std::array{whole(rows)}});
            }
            writer->end({.rows = kFirst + kSecond + kThird, .totals = std::array{whole(kFirst + kSecond + kThird)}});
            QCOMPARE(writer->notes().sheets, 2);
            file.commit();
        }
        QCOMPARE(outputOf(m_python, {u"-c"_s,
                                     u"import re,sys,zipfile\n"
                                     "z=zipfile.ZipFile(sys.argv[1])\n"
                                     "for n in (1,2):\n"
                                     " x=z.read(f'xl/worksheets/sheet{n}.xml').decode()\n"
                                     " print(x.count('</row>'),re.findall('<t>(Group[^<]*)',x),re.findall('<f>([^<]*)</f><v>([^<]*)',x),"
                                     "re.findall('<v>(\\\\d\\\\d+)<',x)[-3:])\n"_s,
                                     path()}),
                 QByteArray("1048576 ['Group: a', 'Group: b'] [('SUBTOTAL(9,A5:A9)', '5')] []\n"
                            "46 ['Group: b (continued)', 'Group: c'] [('SUBTOTAL(9,A42:A44)', '3')] ['1048600', '1048608']\n"));
    }

    void chartsDrawTheirOwnCells()
    {
        ReportShape shape;
        shape.columns = {column("a", ColumnType::Text)};
        const auto spec = [](ChartKind kind, const char *title) {
            ChartSpec made;
            made.kind = kind;
            made.title = title;
            made.categoryTitle = "Account";
            made.valueTitle = "Attempts";
            made.category = column("account", ColumnType::Text);
            made.value = column("attempts", ColumnType::Integer, "#,##0");
            return made;
        };
        const std::vector<std::string> names{"d.petrov", "<ann> & \"bob\"", "Other"};
        const ChartData one = [&] {
            ChartData data = chartData(names, {{"", {1400, 12, 11}}});
            data.otherCategory = true;
            data.allCategories = 20;
            return data;
        }();
        const ChartData two = chartData(names, {{"wrong", {1, 2, std::nan("")}}, {"locked", {4, 5, 6}}});
        const ChartData six = chartData({"a", "b", "c", "d", "e", "f"}, {{"", {6, 5, 4, 3, 2, 1}}});
        const ChartData days = chartData({"Monday", "Tuesday"}, {{"00", {0, 5}}, {"01", {10, std::nan("")}}});
        const std::vector<ChartData> data{one, two, two, two, two, six, days, one, one, {}};
        int number = 0;
        for (const ChartKind kind : {ChartKind::Bar, ChartKind::StackedBar, ChartKind::Column, ChartKind::Line, ChartKind::Area,
                                     ChartKind::Pie, ChartKind::Heat, ChartKind::Pie, ChartKind::Histogram, ChartKind::StackedColumn})
            shape.charts.push_back(spec(kind, ("Chart " + std::to_string(++number)).c_str()));
        {
            OutputFile file(path());
            const auto writer = makeXlsxWriter(file, {});
            writer->begin(titled("It's charts"), shape, {});
            writer->end({.charts = data});
            file.commit();
        }
        const QJsonObject book = read();
        const QJsonObject sheet = sheetOf(book, u"Charts"_s);
        const QJsonArray charts = sheet[u"charts"_s].toArray();
        QStringList kinds;
        for (const QJsonValue &chart : charts) {
            kinds << chart[u"kind"_s].toString() + u'/' + chart[u"direction"_s].toString() + u'/' + chart[u"grouping"_s].toString();
            for (const QJsonValue &series : chart[u"series"_s].toArray())
                QCOMPARE(series[u"cached"_s], series[u"values"_s]);
        }
        QCOMPARE(kinds, (QStringList{u"BarChart/bar/clustered"_s, u"BarChart/bar/stacked"_s, u"BarChart/col/clustered"_s,
                                     u"LineChart//standard"_s, u"AreaChart//stacked"_s, u"BarChart/bar/clustered"_s, u"PieChart//"_s,
                                     u"BarChart/col/clustered"_s, u"BarChart/col/stacked"_s}));
        const QJsonObject bars = charts.at(0).toObject();
        QCOMPARE(bars[u"title"_s].toArray(), (QJsonArray{u"Chart 1"_s, u"2 largest of 20; the rest together as Other"_s}));
        QCOMPARE(bars[u"axes"_s].toArray(), (QJsonArray{QJsonArray{u"Account"_s}, QJsonArray{u"Attempts"_s}}));
        const QJsonObject series = bars[u"series"_s].toArray().at(0).toObject();
        QCOMPARE(series[u"name"_s].toString(), u"Attempts"_s);
        QCOMPARE(series[u"categories"_s].toArray(), (QJsonArray{u"d.petrov"_s, u"<ann> & \"bob\""_s, u"Other"_s}));
        QCOMPARE(series[u"values"_s].toArray(), (QJsonArray{1400, 12, 11}));
        const QJsonArray stacked = charts.at(1)[u"series"_s].toArray();
        QCOMPARE(stacked.at(0)[u"values"_s].toArray(), (QJsonArray{1, 2, QJsonValue::Null}));
        QCOMPARE(stacked.at(1)[u"colour"_s].toString(), u"2494FF"_s);
        QCOMPARE(book[u"described"_s].toArray().at(0).toString(),
                 u"Chart 1. Largest: d.petrov 1,400, &lt;ann&gt; &amp; &quot;bob&quot; 12, Other 11."_s);
        QCOMPARE(book[u"described"_s].toArray().at(1).toString().count(u','), 4);

        // The heat map: the longer names go down, the largest value is darkest, and nothing is not zero.
        const QJsonArray rows = sheet[u"rows"_s].toArray();
        qsizetype head = 0;
        while (head < rows.size() && rows.at(head).toArray().at(0).toString() != u"Monday"_s)
            ++head;
        QCOMPARE(rows.at(head).toArray().at(1).toInt(-1), 0);
        QCOMPARE(rows.at(head).toArray().at(2).toInt(), 10);
        QVERIFY(rows.at(head + 1).toArray().at(2).isNull());
        QCOMPARE(sheet[u"fills"_s].toObject()[u'C' + QString::number(head + 1)].toString(), u"1B4F8C"_s);
    }

    void theFirstSheetAnswers()
    {
        ReportShape shape;
        shape.columns = {column("Account", ColumnType::Text), column("Attempts of all kinds", ColumnType::Integer, "#,##0")};
        shape.keyFigures = {{"refused logons", column("", ColumnType::Integer, "#,##0")}};
        shape.top =
            TopList{"Computers with most attempts", column("Computer", ColumnType::Text), column("Attempts", ColumnType::Integer), 2};
        shape.totals = {subtotal(Aggregate::Sum, 1, "In all", column("", ColumnType::Integer, "#,##0"))};
        ReportHead head = titled("Failed logons");
        head.subtitle = "by account";
        head.author = "ann";
        head.madeUtc = "2026-11-21 18:33:44";
        head.facts = {{Fact::Kind::Package, "Package", "Server logs"}, {Fact::Kind::Period, "Period", "last week"}};
        head.notices = {"The first day is not whole."};
        ChartData top = chartData({"SRV-1", "SRV-2", "Other"}, {{"", {50, 30, 20}}});
        top.otherCategory = true;
        const std::array cells{Value::ofText("ann"), whole(-123456789)};
        {
            OutputFile file(path());
            const auto writer = makeXlsxWriter(file, {});
            writer->begin(head, shape, {cells, 1, true});
            writer->row(cells);
            ReportTail tail{.rows = 1, .totals = std::array{whole(-123456789)}, .keyFigures = std::array{whole(71)}, .top = &top};
            tail.notices = {"Top 50 of more."};
            writer->end(tail);
            file.commit();
        }
        const QJsonObject book = read();
        QCOMPARE(book[u"properties"_s].toObject(), (QJsonObject{{u"title"_s, u"Failed logons"_s},
                                                                {u"subject"_s, u"by account"_s},
                                                                {u"creator"_s, u"ann"_s},
                                                                {u"keywords"_s, u"Server logs"_s},
                                                                {u"created"_s, u"2026-11-21 18:33:44"_s}}));
        const QJsonObject about = sheetOf(book, u"About this report"_s);
        QVERIFY(about[u"onePageWide"_s].toBool());
        QCOMPARE(cell(about, 4, 0), u"The first day is not whole."_s);
        QCOMPARE(cell(about, 5, 0), u"Top 50 of more."_s);
        QCOMPARE(about[u"colours"_s].toObject()[u"A4"_s].toString(), u"7A1B14"_s);
        QCOMPARE(about[u"rows"_s].toArray().at(6).toArray().at(1).toInt(), 71);
        const QString all = QString::fromUtf8(QJsonDocument(about[u"rows"_s].toArray()).toJson(QJsonDocument::Compact));
        QVERIFY2(all.contains(u"[1,\"SRV-1\",50,0.5],[2,\"SRV-2\",30,0.3],[null,\"Other\",20,0.2]"_s), qPrintable(all));
        const QJsonObject rows = sheetOf(book, u"Failed logons"_s);
        QVERIFY(cell(rows, 3, 0).contains(u"Read the 2 notices on the sheet"_s));
        // "-123,456,789" and what stands beside it in the cell.
        QVERIFY(rows[u"widths"_s][u"B"_s].toDouble() > 13);
        QCOMPARE(rows[u"filter"_s].toString(), u"A4:B5"_s);
        QCOMPARE(rows[u"formulas"_s].toObject(), (QJsonObject{{u"B6"_s, u"=SUBTOTAL(9,B5:B5)"_s}}));
        QCOMPARE(rows[u"fills"_s].toObject()[u"B6"_s].toString(), u"D5DEE8"_s);
        QCOMPARE(rows[u"formats"_s].toObject()[u"B6"_s].toString(), u"#,##0"_s);
    }

private:
    using Rows = std::vector<std::vector<Value>>;

    static std::vector<Value> allOf(const std::vector<Subtotal> &subtotals, const Rows &rows)
    {
        std::vector<Value> values;
        for (const Subtotal &one : subtotals)
            values.push_back(aggregate(one.function, rows, one.column));
        return values;
    }

    /// Hands rows over with their groups; \p keys has one key per level for each row.
    static void writeGroups(ReportWriter &writer, const ReportShape &shape, const Rows &rows,
                            std::span<const std::array<std::size_t, 3>> keys, std::size_t level)
    {
        for (std::size_t from = 0, to = 0; from < rows.size(); from = to) {
            if (level == shape.groups.size()) {
                to = from + 1;
                writer.row(rows[from]);
                continue;
            }
            while (to < rows.size() && keys[to][level] == keys[from][level])
                ++to;
            const Rows group(rows.begin() + static_cast<std::ptrdiff_t>(from), rows.begin() + static_cast<std::ptrdiff_t>(to));
            const Value key = whole(static_cast<std::int64_t>(keys[from][level]));
            const std::vector<Value> values = allOf(shape.groups[level].subtotals, group);
            writer.beginGroup(level, key);
            writeGroups(writer, shape, group, keys.subspan(from, to - from), level + 1);
            writer.endGroup({level, key, static_cast<std::int64_t>(group.size()), values});
        }
    }

    QString path() const { return m_folder.filePath(u"report.xlsx"_s); }
    /// What the reader finds, which must have found no fault.
    QJsonObject read() const
    {
        const HostResult reader =
            runHost(m_python, {qEnvironmentVariable("QM_SOURCE_DIR") + u"/tests/documents/read_workbook.py"_s, path()});
        if (reader.code != 0)
            qWarning("%s", reader.err.constData());
        const QJsonObject book = QJsonDocument::fromJson(reader.out).object();
        for (const QJsonValue &fault : book[u"faults"_s].toArray())
            qWarning("%s", qPrintable(fault.toString()));
        return book[u"faults"_s].toArray().isEmpty() ? book : QJsonObject();
    }

    QTemporaryDir m_folder;
    QString m_python;
};

QTEST_GUILESS_MAIN(WorkbookTest)
#include "workbook_test.moc"
