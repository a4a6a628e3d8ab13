#include "engine/rows/OrderedRows.h"
#include "engine/rows/SqliteRowSource.h"
#include "engine/run/DistinctCounter.h"
#include "engine/run/RowPipe.h"
#include "support/ErrorOf.h"
#include "support/System.h"

#include <QTemporaryDir>
#include <QtTest>

#include <map>
#include <random>
#include <set>

using namespace Qt::StringLiterals;
using qm::Aggregate;
using qm::Value;

namespace {

/// A value as text: equal values give equal texts, reals by their first nine digits.
QString textOf(const Value &value)
{
    switch (value.kind) {
    case Value::Kind::Null:
        return u"NULL"_s;
    case Value::Kind::Integer:
        return QString::number(value.integer);
    case Value::Kind::Real:
        return QString::number(value.real, 'g', 9);
    case Value::Kind::Text:
    case Value::Kind::Blob:
        return u"'"_s + QString::fromUtf8(value.data, static_cast<qsizetype>(value.size)) + u"'"_s;
    }
    return {};
}

QString textOf(std::span<const Value> values)
{
    QStringList texts;
    for (const Value &value : values)
        texts << textOf(value);
    return texts.join(u'|');
}

QString firstDifference(const QStringList &made, const QStringList &expected)
{
    qsizetype at = 0;
    while (at < made.size() && made.value(at) == expected.value(at))
        ++at;
    return u", line %1 of %2 and %3:\n%4\n%5"_s.arg(at).arg(made.size()).arg(expected.size()).arg(made.value(at), expected.value(at));
}

/// What a writer is told, one line a call.
class Recorder final : public qm::ReportWriter
{
public:
    qm::ReportShape shape;
    QStringList calls, rows;
    qm::ReportTail tail;
    QString totals, figures;

    void begin(const qm::ReportHead &, const qm::ReportShape &given, const qm::SampleRows &sample) override
    {
        shape = given;
        for (std::size_t i = 0; i < std::min<std::size_t>(sample.rows, 1); ++i)
            calls << u"first "_s + textOf(sample.row(i));
    }
    void beginGroup(std::size_t level, const Value &key) override { calls << u"begin %1 %2"_s.arg(level).arg(textOf(key)); }
    void row(std::span<const Value> cells) override
    {
        calls << textOf(cells);
        rows << calls.last();
    }
    void endGroup(const qm::GroupEnd &group) override
    {
        calls << u"end %1 %2 %3 %4%5"_s.arg(group.level)
                     .arg(textOf(group.key))
                     .arg(group.rows)
                     .arg(textOf(group.subtotals), group.cut ? u" cut"_s : QString());
    }
    void end(const qm::ReportTail &given) override
    {
        totals = textOf(given.totals);
        figures = textOf(given.keyFigures);
        tail = {given.rows, given.truncated, given.rowLimit, {}, {}, {}, nullptr, given.notices}; // the spans end with this call
    }
};

struct Asked
{
    qm::ReportLayout layout = {};
    QByteArray sql;
    std::int64_t limit = 0;
    std::size_t memory = qm::OrderingLimits::kMemory;
};

const qm::RunLimits kNoLimits(nullptr, std::chrono::seconds(0));

qm::LayoutGroup group(const QString &field, qm::GroupOrder order = qm::GroupOrder::Automatic)
{
    qm::LayoutGroup made;
    made.field = field;
    made.order = order;
    return made;
}

qm::LayoutColumn hidden(const QString &field)
{
    qm::LayoutColumn made;
    made.field = field;
    made.visible = false;
    return made;
}

} // namespace

class ReportShapeTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    QString m_database;

    void execute(const QByteArray &sql) const
    {
        int code = SQLITE_OK;
        const auto connection = qm::sqlite::open(m_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        QVERIFY2(qm::sqlite::execute(connection.get(), sql.constData()) == SQLITE_OK, sqlite3_errmsg(connection.get()));
    }
    /// The rows that SQLite gives, as texts.
    [[nodiscard]] QStringList select(const QByteArray &sql) const
    {
        qm::SqliteRowSource source(m_database, QString::fromUtf8(sql), {}, kNoLimits);
        std::vector<Value> row(source.columns().size());
        QStringList rows;
        while (source.next(row))
            rows << textOf(row);
        return rows;
    }
    [[nodiscard]] Recorder run(const Asked &asked) const
    {
        qm::SqliteRowSource source(m_database, QString::fromUtf8(asked.sql), {}, kNoLimits);
        const qm::RowSample sample(source);
        Recorder recorder;
        qm::ReportPlan plan = qm::planReport(&asked.layout, u"l.rpt"_s, source.columns(), sample, {});
        const qm::RowPipe::Progress silent;
        qm::RowPipe pipe(source, sample, plan, recorder, kNoLimits, silent, {asked.memory});
        recorder.end(pipe.pass(asked.limit));
        return recorder;
    }
    [[nodiscard]] QStringList calls(const Asked &asked) const { return run(asked).calls; }

private Q_SLOTS:
    void init()
    {
        m_database = m_folder.path() + u"/t.db"_s;
        QFile::remove(m_database);
    }

    void any_rows_give_the_groups_and_sums_of_an_independent_group_by()
    {
        std::mt19937 random(20261122);
        const auto upTo = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
        for (int round = 0; round < 45; ++round) {
            const int rows = round % 7 == 0 ? upTo(3) : upTo(600);
            const int keys = 1 + upTo(round % 3 == 0 ? 400 : 6);
            QByteArray fill =
                "DROP TABLE IF EXISTS t; CREATE TABLE t(id INTEGER PRIMARY KEY, a, b TEXT, n INTEGER, d DECIMAL(30,4), dn INTEGER,"
                " r REAL, s TEXT); BEGIN;";
            for (int i = 0; i < rows; ++i) {
                const int a = upTo(keys);
                const QByteArray first = a == 0       ? "NULL"
                                         : a % 5 == 1 ? QByteArray::number(a) + ".0"
                                         : a % 7 == 3 ? "'" + QByteArray::number(a) + "'"
                                                      : QByteArray::number(a);
                const int b = upTo(3);
                const QByteArray n = upTo(4) == 0 ? "NULL" : QByteArray::number((static_cast<qint64>(random()) - 2147483648) * 1000);
                const qint64 dn = static_cast<qint64>(random()) * 1000003 - 1500000000000000;
                const QByteArray digits = QByteArray::number(qAbs(dn)).rightJustified(5, '0');
                const QByteArray d = "'" + QByteArray(dn < 0 ? "-" : "") + digits.chopped(4) + '.' + digits.right(4) + "'";
                const bool noDecimal = upTo(5) == 0;
                fill += "INSERT INTO t VALUES(NULL," + first + ',' + (b == 0 ? QByteArray("NULL") : "'k" + QByteArray::number(b) + "'") +
                        ',' + n + ',' + (noDecimal ? "NULL" : "CAST(" + d + " AS BLOB)") + ',' +
                        (noDecimal ? "NULL" : QByteArray::number(dn)) + ',' + QByteArray::number(upTo(1000) / 7.0, 'g', 17) + ",'s" +
                        QByteArray::number(upTo(20)) + "');";
            }
            execute(fill + "COMMIT");
            // The affinity of the column would make the decimals reals.
            const QByteArray from = round % 2 ? "(SELECT id, a, b, n, CAST(d AS TEXT) d, dn, r, s FROM t ORDER BY id)"
                                              : "(SELECT id, a, b, n, CAST(d AS TEXT) d, dn, r, s FROM t ORDER BY a DESC, b, id)";
            const int limit = round % 4 == 3 ? 1 + upTo(rows) : 0;
            const QByteArray source = limit ? "(SELECT * FROM " + from + " LIMIT " + QByteArray::number(limit) + ")" : from;
            Asked asked;
            asked.sql = "SELECT id, a, b, n, d, r, s FROM " + from;
            asked.limit = limit;
            asked.memory = static_cast<std::size_t>(200 + upTo(6000)); // bytes: some rows
            const int levels = round % 3;
            const std::vector<qm::LayoutAggregate> sums{
                {{}, Aggregate::Count},        {u"n"_s, Aggregate::Count},   {u"n"_s, Aggregate::Sum},     {u"n"_s, Aggregate::Average},
                {u"n"_s, Aggregate::Minimum},  {u"n"_s, Aggregate::Maximum}, {u"s"_s, Aggregate::Minimum}, {u"s"_s, Aggregate::Maximum},
                {u"s"_s, Aggregate::Distinct}, {u"r"_s, Aggregate::Sum},     {u"n"_s, Aggregate::Share}};
            const QByteArray total = "(SELECT total(n) FROM " + source + ")";
            const QByteArray functions = "count(*), count(n), sum(n), avg(n), min(n), max(n), min(s), max(s), count(DISTINCT s), sum(r), "
                                         "CASE WHEN " +
                                         total + " <> 0 THEN sum(n) * 1.0 / " + total + " END";
            const bool descends = round % 5 == 4;
            for (int i = 0; i < levels; ++i) {
                asked.layout.groups.push_back(
                    group(i ? u"b"_s : u"a"_s, descends ? qm::GroupOrder::Descending : qm::GroupOrder::Automatic));
                asked.layout.groups.back().subtotals = sums;
                asked.layout.groups.back().subtotals.push_back({u"d"_s, Aggregate::Sum});
            }
            if (round % 2)
                asked.layout.columns = {hidden(u"a"_s), hidden(u"n"_s)};
            asked.layout.totals = sums;
            const Recorder made = run(asked);
            const QString what = u"round %1, %2 rows, limit %3, memory %4"_s.arg(round).arg(rows).arg(limit).arg(asked.memory);

            // The rows, and their order: that of the groups, then as they came.
            const QByteArray direction = descends ? " DESC" : "";
            const bool isSorted = round % 2 == 0 && !descends;
            const QByteArray order =
                levels == 0 || isSorted ? QByteArray() : " ORDER BY a" + direction + (levels == 2 ? ", b" + direction : QByteArray());
            const QByteArray cells = round % 2 ? "id, b, d, r, s" : "id, a, b, n, d, r, s";
            // SQLite's sort is not stable by promise; the number of the row is.
            const QByteArray numbered =
                "(SELECT *, row_number() OVER (ORDER BY " + QByteArray(round % 2 ? "id" : "a DESC, b, id") + ") place FROM t)";
            const QByteArray whole = "(SELECT id, a, b, n, CAST(d AS TEXT) d, dn, r, s, place FROM " + numbered +
                                     (limit ? " WHERE place <= " + QByteArray::number(limit) : QByteArray()) + ")";
            QCOMPARE(made.rows.join(u'\n'),
                     select("SELECT " + cells + " FROM " + whole + (order.isEmpty() ? " ORDER BY place" : order + ", place")).join(u'\n'));

            // The groups, outermost and innermost.
            for (int level = 0; level < levels; ++level) {
                QStringList ends;
                for (const QString &call : made.calls)
                    if (call.startsWith(u"end %1 "_s.arg(level)))
                        ends << call.section(u' ', 2).section(u" cut"_s, 0, 0);
                const QStringList key = level == 0 ? QStringList{u"a"_s} : QStringList{u"b"_s};
                const QByteArray by = level == 0 ? "a" : "a, b";
                // Exact decimals by their scaled integers.
                QStringList expected;
                for (const QString &row : select("SELECT " + key.first().toUtf8() + ", count(*), " + functions + ", sum(dn) FROM " + whole +
                                                 " GROUP BY " + by + " ORDER BY min(CASE WHEN " + (isSorted ? "1" : "0") +
                                                 " THEN place END), a" + direction + (level ? ", b" + direction : QByteArray()))) {
                    const QString scaled = row.section(u'|', -1);
                    QString decimal = scaled;
                    if (scaled != u"NULL"_s) {
                        const bool negative = scaled.startsWith(u'-');
                        const QString digits = scaled.mid(negative ? 1 : 0).rightJustified(5, u'0');
                        const QString exact = (negative ? u"-"_s : QString()) + digits.chopped(4) + u'.' + digits.right(4);
                        decimal = digits.size() <= 15 ? textOf(Value::of(exact.toDouble())) : u"'"_s + exact + u"'"_s;
                    }
                    const QString keyText = row.section(u'|', 0, 0), count = row.section(u'|', 1, 1);
                    expected << keyText + u' ' + count + u' ' + row.section(u'|', 2, -2) + u'|' + decimal;
                }
                QVERIFY2(ends == expected, qPrintable(what + firstDifference(ends, expected)));
            }
            QString grand = select("SELECT " + functions + " FROM " + whole).value(0);
            QVERIFY2(made.totals == grand, qPrintable(what + u"\n"_s + made.totals + u"\n"_s + grand));
            QCOMPARE(made.tail.rows, static_cast<std::int64_t>(made.rows.size()));
            QCOMPARE(made.tail.truncated, limit > 0 && limit < rows);
        }
    }

    void groups_nest_and_stand_in_the_order_asked_for()
    {
        execute("CREATE TABLE t(a TEXT, b INTEGER, n INTEGER);"
                "INSERT INTO t VALUES('y',2,1),('y',1,2),('x',1,4),('x',1,8),('y',2,16),(NULL,1,32)");
        Asked asked{.sql = "SELECT a, b, n FROM t"};
        asked.layout.groups = {group(u"a"_s), group(u"b"_s)};
        asked.layout.groups[0].subtotals = {{u"n"_s, Aggregate::Sum}, {u"n"_s, Aggregate::Running}, {u"n"_s, Aggregate::Share}};
        asked.layout.groups[1].subtotals = {{{}, Aggregate::Count}};
        asked.layout.totals = {{u"n"_s, Aggregate::Sum}, {{}, Aggregate::Count}};
        const Recorder made = run(asked);
        QCOMPARE(
            made.calls.join(u", "_s),
            u"first NULL|1|32, begin 0 NULL, begin 1 1, NULL|1|32, end 1 1 1 1, end 0 NULL 1 32|32|0.507936508, "
            "begin 0 'x', begin 1 1, 'x'|1|4, 'x'|1|8, end 1 1 2 2, end 0 'x' 2 12|44|0.19047619, "
            "begin 0 'y', begin 1 1, 'y'|1|2, end 1 1 1 1, begin 1 2, 'y'|2|1, 'y'|2|16, end 1 2 2 2, end 0 'y' 3 19|63|0.301587302"_s);
        QCOMPARE(made.totals, u"63|6"_s);
        const auto order = [&](qm::GroupOrder outer, qm::GroupOrder inner) {
            asked.layout.groups[0].order = outer;
            asked.layout.groups[1].order = inner;
            QStringList numbers;
            for (const QString &row : run(asked).rows)
                numbers << row.section(u'|', 2);
            return numbers.join(u' ');
        };
        using enum qm::GroupOrder;
        for (const std::size_t memory : {qm::OrderingLimits::kMemory, std::size_t{1}}) { // one byte: each row is a run of its own
            asked.memory = memory;
            QCOMPARE(order(Descending, Ascending), u"2 1 16 4 8 32"_s);
            QCOMPARE(order(Rows, Rows), u"1 16 2 4 8 32"_s);
            QCOMPARE(order(Rows, Descending), u"1 16 2 4 8 32"_s);
            QCOMPARE(order(Ascending, Rows), u"32 4 8 1 16 2"_s);
        }
        // Groups that come together stay as they come; one that returns, late and beyond the memory, puts all of them in order.
        asked.layout.groups = {group(u"a"_s)};
        asked.sql = "SELECT a, b, n FROM t WHERE a IS NOT NULL AND n <> 16";
        for (const std::size_t memory : {qm::OrderingLimits::kMemory, std::size_t{1}, std::size_t{60}}) {
            asked.memory = memory;
            QCOMPARE(run(asked).rows.join(u' '), u"'y'|2|1 'y'|1|2 'x'|1|4 'x'|1|8"_s);
        }
        asked.sql = "SELECT a, b, n FROM t WHERE a IS NOT NULL";
        for (const std::size_t memory : {qm::OrderingLimits::kMemory, std::size_t{1}, std::size_t{60}}) {
            asked.memory = memory;
            QCOMPARE(run(asked).rows.join(u' '), u"'x'|1|4 'x'|1|8 'y'|2|1 'y'|1|2 'y'|2|16"_s);
        }
    }

    void a_row_limit_counts_rows_as_they_come_and_marks_what_it_cut()
    {
        execute("CREATE TABLE t(a TEXT, n INTEGER); INSERT INTO t VALUES('y',1),('x',2),('y',4),('x',8)");
        Asked asked{.sql = "SELECT a, n FROM t", .limit = 3};
        asked.layout.groups = {group(u"a"_s)};
        asked.layout.totals = {{u"n"_s, Aggregate::Sum}};
        const Recorder reordered = run(asked);
        QCOMPARE(reordered.calls.mid(1).join(u", "_s),
                 u"begin 0 'x', 'x'|2, end 0 'x' 1  cut, begin 0 'y', 'y'|1, 'y'|4, end 0 'y' 2  cut"_s);
        QCOMPARE(reordered.totals, u"7"_s);
        QVERIFY(reordered.tail.truncated);
        asked.sql = "SELECT a, n FROM t ORDER BY a";
        QCOMPARE(calls(asked).mid(1).join(u", "_s), u"begin 0 'x', 'x'|2, 'x'|8, end 0 'x' 2 , begin 0 'y', 'y'|1, end 0 'y' 1  cut"_s);
        asked.limit = 4;
        QVERIFY(!run(asked).tail.truncated);
        // No rows: what there is to say of nothing.
        asked.sql = "SELECT a, n FROM t WHERE a = 'z'";
        asked.layout.totals = {{{}, Aggregate::Count}, {u"n"_s, Aggregate::Sum}, {u"n"_s, Aggregate::Share}, {u"a"_s, Aggregate::Distinct}};
        const Recorder empty = run(asked);
        QVERIFY(empty.calls.isEmpty());
        QCOMPARE(empty.totals, u"0|NULL|NULL|0"_s);
    }

    void sums_are_exact_and_leave_out_what_is_no_number()
    {
        execute("CREATE TABLE t(i INTEGER, d TEXT, e DECIMAL(9,2), r REAL);"
                "INSERT INTO t VALUES(9223372036854775807,'99999999999999999999.99',0.1,1e100),(9223372036854775807,'-0.01',0.2,1),"
                "(9223372036854775807,'0.010',NULL,-1e100),(1,' n/a ',0.3,NULL),(NULL,'',NULL,NULL)");
        Asked asked{.sql = "SELECT * FROM t"};
        asked.layout.totals = {{u"i"_s, Aggregate::Sum}, {u"d"_s, Aggregate::Sum},     {u"e"_s, Aggregate::Sum},
                               {u"r"_s, Aggregate::Sum}, {u"e"_s, Aggregate::Average}, {u"d"_s, Aggregate::Count}};
        const Recorder made = run(asked);
        QCOMPARE(made.totals, u"'27670116110564327422'|'99999999999999999999.990'|0.6|1|0.2|5"_s);
        QCOMPARE(made.tail.notices, std::vector<std::string>{"2 values of \"D\" are no numbers and are left out of what is added up."});
        // By value where the column is one of numbers, else by bytes.
        execute(
            "CREATE TABLE u(d DECIMAL(30,2), s TEXT); INSERT INTO u VALUES(9.5,'9'),(CAST('100000000000000000.01' AS BLOB),'10'),(-2,'b')");
        asked.sql = "SELECT CASE typeof(d) WHEN 'blob' THEN CAST(d AS TEXT) ELSE d END d, s FROM u";
        asked.layout.totals = {{u"s"_s, Aggregate::Minimum}, {u"s"_s, Aggregate::Maximum}};
        QCOMPARE(run(asked).totals, u"'10'|'b'"_s);
        QVERIFY(qm::compareNumbers(Value::ofText("100000000000000000.01"), Value::of(9.5)) > 0);
        QVERIFY(qm::compareNumbers(Value::ofText("-100.10"), Value::of(std::int64_t{-100})) < 0);
        QVERIFY(qm::compareNumbers(Value::ofText("00.50"), Value::of(0.5)) == 0);
    }

    void captions_formats_and_places_of_sums_are_made_where_the_layout_has_none()
    {
        execute(
            "CREATE TABLE t(user_name TEXT, bytes INTEGER, ok BOOLEAN, rate REAL); INSERT INTO t VALUES('a', 5, 1, 2.25), ('b', 6, 0, 1)");
        Asked asked{.sql = "SELECT * FROM t"};
        qm::LayoutColumn bytes;
        bytes.field = u"bytes"_s;
        bytes.format = u"bytes"_s;
        asked.layout.columns = {hidden(u"user_name"_s), bytes};
        asked.layout.totals = {{u"bytes"_s, Aggregate::Sum},           {{}, Aggregate::Count},
                               {u"user_name"_s, Aggregate::Distinct},  {u"bytes"_s, Aggregate::Share},
                               {u"ok"_s, Aggregate::Average},          {u"rate"_s, Aggregate::Average},
                               {u"ok"_s, Aggregate::Sum, u"Passed"_s}, {u"rate"_s, Aggregate::Running}};
        asked.layout.figures = {{u"Traffic"_s, u"bytes"_s, Aggregate::Maximum, u"#,##0"_s}};
        const Recorder made = run(asked);
        QStringList shown;
        for (const qm::Subtotal &total : made.shape.totals)
            shown << u"%1:%2:%3:%4"_s.arg(QString::fromStdString(total.caption))
                         .arg(total.column ? static_cast<int>(*total.column) : -1)
                         .arg(static_cast<int>(total.value.type))
                         .arg(QString::fromStdString(total.value.format));
        QCOMPARE(shown.join(u", "_s),
                 u"Sum of Bytes:0:1:bytes, Rows:-1:1:#,##0, Different values of User name:-1:1:#,##0, Share of Bytes:0:2:percent, "
                 "Average of Ok:1:2:percent, Average of Rate:2:2:0.00, Passed:1:1:#,##0, Running total of Rate:2:2:0.00"_s);
        QCOMPARE(made.totals, u"11|2|2|1|0.5|1.625|1|3.25"_s);
        QCOMPARE(made.figures, u"6"_s);
        QCOMPARE(made.shape.keyFigures.front().value.format, std::string("#,##0"));
    }

    void different_values_are_counted_beyond_the_memory()
    {
        qm::DistinctCounter counter(4000);
        std::mt19937 random(7);
        std::set<std::uint32_t> seen;
        for (int i = 0; i < 20000; ++i) {
            const auto number = static_cast<std::uint32_t>(random() % 6000);
            seen.insert(number);
            counter.add(i % 2 ? Value::of(std::int64_t{number}) : Value::of(static_cast<double>(number)));
            counter.add(Value::ofNull());
        }
        QCOMPARE(counter.count(), static_cast<std::int64_t>(seen.size()));
        counter.clear();
        QCOMPARE(counter.count(), std::int64_t{0});
    }

    void a_full_disk_and_a_cancelled_run_end_the_ordering()
    {
        execute("CREATE TABLE t(a INTEGER, s TEXT);"
                "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n WHERE x < 5000) INSERT INTO t SELECT x % 10, 'text' || x "
                "FROM n");
        Asked asked{.sql = "SELECT * FROM t"};
        asked.layout.groups = {group(u"a"_s)};
        asked.memory = 10000;
        if (qm::test::SmallDisk::isPossible()) {
            const qm::test::SmallDisk full(20000);
            const qm::RuntimeError error = qm::test::errorOf([&] { static_cast<void>(run(asked)); });
            QCOMPARE(error.number(), qm::err::diskFull);
            QVERIFY2(error.description().contains(u"Free some space"_s), qPrintable(error.description()));
        }
        const auto cancel = std::make_shared<qm::CancelFlag>();
        const qm::RunLimits limits(cancel, std::chrono::seconds(0));
        qm::SqliteRowSource source(m_database, u"SELECT * FROM t"_s, {}, kNoLimits);
        const qm::OrderedRows::Seen stop = [&](std::span<const Value>) { cancel->cancel(); };
        QCOMPARE(qm::test::errorOf([&] { qm::OrderedRows(source, {{0}}, limits, stop, {10000}); }).number(), qm::err::cancelledByOperator);
    }

    void charts_hold_the_largest_and_the_rest()
    {
        execute("CREATE TABLE t(day TEXT, account TEXT, kind TEXT, n INTEGER); INSERT INTO t VALUES"
                "('2026-11-14','ann','a',5),('2026-11-14','bob','b',1),('2026-11-17','ann','c',7),('2026-11-17','eve','d',2),"
                "('2026-11-17',NULL,'e',3),('2026-11-15','bob','f',4),('2026-11-15','bob','g',NULL)");
        Asked asked{.sql = "SELECT day, account, kind, n FROM t"};
        const auto chart = [](const char *kind, const char *category, QStringList values) {
            qm::LayoutChart made;
            made.kind = QLatin1String(kind);
            made.category = QLatin1String(category);
            made.values = std::move(values);
            return made;
        };
        asked.layout.charts = {chart("bar", "account", {u"n"_s}), chart("line", "day", {u"n"_s}), chart("stacked-bar", "account", {}),
                               chart("bar", "account", {u"n"_s}), chart("histogram", "n", {})};
        asked.layout.charts[0].top = 2;
        asked.layout.charts[0].other = true;
        asked.layout.charts[2].series = u"kind"_s;
        asked.layout.charts[3].top = 1;
        asked.layout.top = {u"account"_s, u"n"_s, Aggregate::Sum, {}, 2};
        qm::SqliteRowSource source(m_database, QString::fromUtf8(asked.sql), {}, kNoLimits);
        const qm::RowSample sample(source);
        Recorder recorder;
        qm::RunFacts facts;
        facts.dateFrom = u"2026-11-13 23:00:00"_s;
        facts.dateTo = u"2026-11-17 23:00:00"_s;
        qm::ReportPlan plan = qm::planReport(&asked.layout, u"l.rpt"_s, source.columns(), sample, facts);
        const qm::RowPipe::Progress silent;
        qm::RowPipe pipe(source, sample, plan, recorder, kNoLimits, silent);
        const qm::ReportTail tail = pipe.pass(0);
        const auto shown = [](const qm::ChartData &data) {
            QStringList texts;
            for (const qm::ChartSeries &series : data.series) {
                texts << QString::fromStdString(series.name) + u":"_s;
                for (std::size_t i = 0; i < data.categories.size(); ++i)
                    texts << QString::fromStdString(data.categories[i]) + u"="_s + QString::number(series.values[i]);
            }
            return texts.join(u' ') + u" of %1%2%3"_s.arg(data.allCategories)
                                          .arg(data.otherCategory ? u" +c"_s : QString(), data.otherSeries ? u" +s"_s : QString());
        };
        QCOMPARE(shown(tail.charts[0]), u": ann=12 bob=5 Other=5 of 4 +c"_s);
        QCOMPARE(shown(tail.charts[1]), u": 2026-11-14=6 2026-11-15=4 2026-11-16=0 2026-11-17=12 of 3"_s);
        QVERIFY(!tail.charts[1].firstPartial && tail.charts[1].lastPartial);
        QCOMPARE(tail.charts[2].series.size(), std::size_t{6});
        QVERIFY(tail.charts[2].otherSeries);
        QCOMPARE(tail.charts[2].series.back().values, (std::vector<double>{2, 0, 0, 0}));
        QCOMPARE(shown(tail.charts[3]), u": ann=12 of 4"_s);
        QCOMPARE(shown(tail.charts[4]), u": 1=1 2=1 3=1 4=1 5=1 6=0 7=1 of 7"_s);
        QVERIFY(tail.top);
        QCOMPARE(shown(*tail.top), u": ann=12 bob=5 Other=5 of 4 +c"_s);

        // A table that is too small keeps the largest, and says so.
        qm::ChartSpec spec;
        spec.top = 1;
        spec.other = true;
        qm::ChartSource small;
        small.values = {1};
        qm::ChartAccumulator accumulator(spec, small, {}, {}, 4);
        for (std::int64_t i = 0; i < 40; ++i)
            accumulator.add(std::vector<Value>{Value::of(i % 10), Value::of(std::int64_t{i % 10 == 3 ? 100 : 1})});
        std::vector<std::string> notices;
        QCOMPARE(shown(accumulator.finish(notices)).section(u" of "_s, 0, 0), u": 3=400 Other=36"_s);
        QCOMPARE(notices.size(), std::size_t{1});
        // Weekdays by hours.
        spec.kind = qm::ChartKind::Heat;
        qm::ChartAccumulator heat(spec, {}, {}, {});
        for (const char *time : {"2026-11-22 23:10:00", "2026-11-22 23:50:00", "2026-11-16 00:00:00", "no time"})
            heat.add(std::vector<Value>{Value::ofText(time)});
        const qm::ChartData hours = heat.finish(notices);
        QCOMPARE(hours.series[6].values[23], 2.0); // a Sunday
        QCOMPARE(hours.series[0].values[0], 1.0);
        QCOMPARE(hours.series.size() * hours.categories.size(), std::size_t{7 * 24});
    }
};

QTEST_GUILESS_MAIN(ReportShapeTest)
#include "report_shape_test.moc"
