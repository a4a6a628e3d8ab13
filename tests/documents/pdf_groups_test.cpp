// Groups, totals, outline and first page of reports as PDF, read back by programs that are not ours.
#include "documents/PdfReadBack.h"
#include "documents/Writers.h"
#include "support/FileBytes.h"
#include "support/System.h"

#include <QTemporaryDir>

#include <algorithm>
#include <map>
#include <random>
#include <set>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// Rows of two nested groups; their keys, and how many rows each inner group has.
struct Groups
{
    std::vector<std::vector<int>> sizes; ///< by outer group, then inner group
    int most = 1;                        ///< lines of a row
};

QString shippedFonts()
{
    return qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s;
}

ReportColumn column(const char *caption, double widthMm, ColumnType type = ColumnType::Text)
{
    ReportColumn made;
    made.caption = caption;
    made.widthMm = widthMm;
    made.type = type;
    if (type == ColumnType::Integer) {
        made.alignment = CellAlignment::Right;
        made.format = "#,##0";
    }
    return made;
}

ReportShape shapeOf()
{
    ReportShape shape;
    shape.columns = {column("Record", 25), column("Place", 30), column("Message", 120), column("Attempts", 25, ColumnType::Integer)};
    const ReportColumn number = column("", 20, ColumnType::Integer);
    GroupLevel outer, inner;
    outer.column = column("Computer", 30);
    outer.subtotals = {{Aggregate::Sum, 3, "Sum over", number}, {Aggregate::Average, 3, "Mean over", number}};
    inner.column = column("", 30);
    inner.shown = 1;
    inner.subtotals = {{Aggregate::Sum, 3, "Sum of", number}};
    shape.groups = {outer, inner};
    shape.totals = {{Aggregate::Sum, 3, "Attempts in all", number}};
    return shape;
}

} // namespace

class PdfGroupsTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    ReportHead m_head;
    ReportTail m_tail;
    WriterNotes m_notes;

    /// The attempts of each row are its number; its text has 1 to \p most lines.
    QString write(const Groups &groups, const ReportShape &shape, const QString &name = u"report.pdf"_s)
    {
        const QString path = m_folder.filePath(name);
        OutputFile file(path);
        const auto writer = makePdfWriter(file, {.fontFolder = shippedFonts()});
        writer->begin(m_head, shape, {});
        std::int64_t row = 0, all = 0;
        for (std::size_t outer = 0; outer < groups.sizes.size(); ++outer) {
            const std::string outerKey = "OUT" + std::to_string(outer + 1) + "x";
            writer->beginGroup(0, Value::ofText(outerKey));
            std::int64_t outerRows = 0, outerSum = 0;
            for (std::size_t inner = 0; inner < groups.sizes[outer].size(); ++inner) {
                const std::string key = "IN" + std::to_string(outer + 1) + "." + std::to_string(inner + 1) + "x";
                writer->beginGroup(1, Value::ofText(key));
                std::int64_t sum = 0;
                for (int i = 0; i < groups.sizes[outer][inner]; ++i) {
                    ++row;
                    sum += row;
                    const std::string record = "row" + std::to_string(row) + "x";
                    std::string message = "message";
                    for (int line = 1; line < 1 + static_cast<int>(row * 7 % groups.most); ++line)
                        message += "\nline";
                    writer->row(std::vector{Value::ofText(record), Value::ofText(key), Value::ofText(message), Value::of(row)});
                }
                const Value subtotal = Value::of(sum);
                writer->endGroup({1, Value::ofText(key), groups.sizes[outer][inner], {&subtotal, 1}});
                outerRows += groups.sizes[outer][inner];
                outerSum += sum;
            }
            const std::vector subtotals{Value::of(outerSum), Value::of(outerSum / outerRows)};
            writer->endGroup({0, Value::ofText(outerKey), outerRows, subtotals});
            all += outerSum;
        }
        const std::vector totals{Value::of(all)};
        m_tail.rows = row;
        m_tail.totals = totals;
        writer->end(m_tail);
        m_notes = writer->notes();
        file.commit();
        return path;
    }

    static void checkStructure(const QString &path)
    {
        const HostResult checked = runHost(u"qpdf"_s, {u"--check"_s, path});
        QVERIFY2(checked.code == 0, (checked.out + checked.err).constData());
        const HostResult text = runHost(u"pdftotext"_s, {path, u"/dev/null"_s});
        QVERIFY2(text.err.isEmpty(), text.err.constData());
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &tool : {u"pdftotext"_s, u"pdfinfo"_s, u"qpdf"_s})
            if (!hostHas(tool))
                QSKIP("needs pdftotext, pdfinfo and qpdf (packages poppler-utils and qpdf)");
        if (qEnvironmentVariableIsSet("PDFBODY_KEEP"))
            m_folder.setAutoRemove(false), qWarning("%s", qPrintable(m_folder.path()));
    }

    void init()
    {
        m_head = {};
        m_head.title = "Failed logons by account";
        m_head.subtitle = "Which accounts were refused, how often, from how many addresses and why";
        m_head.facts = {{Fact::Kind::Package, "Package", "Server Operating System Logs"},
                        {Fact::Kind::Group, "Report group", "Security"},
                        {Fact::Kind::Query, "Query", "Failed logons by account.rqn"},
                        {Fact::Kind::Source, "Source", "event database EventLog.db"},
                        {Fact::Kind::Times, "Times", "Times in the rows are UTC"},
                        {Fact::Kind::Period, "Period", "Sat 2026-11-14 to Fri 2026-11-20, 7 whole days\nlast week; Etc/UTC (UTC+00:00)"},
                        {Fact::Kind::Made, "Made", "2026-11-21 18:33:44 UTC\nrun 57"}};
        m_tail = {};
    }

    void groups_break_where_they_may_data()
    {
        QTest::addColumn<int>("seed");
        QTest::addColumn<bool>("together");
        for (int seed = 1; seed <= 24; ++seed)
            QTest::addRow("%d", seed) << seed << (seed % 3 == 0);
    }

    /// Any groups in: each row once and in order, headings with their first rows, subtotals with a row above them, counts and sums as they
    /// are, a last page that is not nearly empty.
    void groups_break_where_they_may()
    {
        QFETCH(int, seed);
        QFETCH(bool, together);
        std::mt19937 random(static_cast<unsigned>(seed));
        const auto upTo = [&](int most) { return 1 + static_cast<int>(random() % static_cast<unsigned>(most)); };
        Groups groups;
        groups.most = seed % 2 == 0 ? 4 : 1;
        for (int outer = upTo(9); outer > 0; --outer) {
            groups.sizes.emplace_back();
            for (int inner = upTo(7); inner > 0; --inner)
                groups.sizes.back().push_back(upTo(4) == 1 ? upTo(90) : upTo(6));
        }
        ReportShape shape = shapeOf();
        shape.groups[1].keepTogether = together;
        const QString path = write(groups, shape);
        checkStructure(path);

        static const QRegularExpression kRow(u"^row(\\d+)x "_s), kHeading(u"^(?:Computer )?(OUT\\d+x|IN[\\d.]+x)( \\(continued\\))?"_s),
            kSubtotal(u"^(Sum of|Sum over|Mean over): (OUT\\d+x|IN[\\d.]+x) ([\\d,]+)"_s), kCount(u"([\\d,]+) rows?$"_s);
        const int pages = information(path, u"Pages"_s).toInt();
        int nextRow = 1, rowsOnPage = 0;
        struct Seen
        {
            int page = 0, rows = 0, rowsOnFirstPage = 0, continued = 0;
            int counted = 0;
            std::set<int> pages;
        };
        std::map<QString, Seen> seen;
        QString open[2];
        std::map<QString, QString> sums;
        for (int page = 1; page <= pages; ++page) {
            const QStringList lines = textOf(path, page, page).split(u'\n');
            int above = 0;
            for (const QString &line : lines) {
                if (const auto row = kRow.match(line); row.hasMatch()) {
                    QCOMPARE(row.captured(1).toInt(), nextRow++);
                    ++above;
                    for (const QString &key : open) {
                        Seen &group = seen[key];
                        ++group.rows;
                        group.pages.insert(page);
                        group.rowsOnFirstPage += page == group.page ? 1 : 0;
                    }
                } else if (const auto subtotal = kSubtotal.match(line); subtotal.hasMatch()) {
                    QVERIFY2(above > 0, qPrintable(line)); // never alone on a page
                    sums[subtotal.captured(1) + subtotal.captured(2)] = subtotal.captured(3);
                } else if (const auto heading = kHeading.match(line); heading.hasMatch()) {
                    const QString key = heading.captured(1);
                    open[key.startsWith(u'I') ? 1 : 0] = key;
                    if (heading.captured(2).isEmpty())
                        seen[key].page = page;
                    else
                        ++seen[key].continued;
                }
            }
            rowsOnPage = above;
        }
        // Numbers of rows, wherever on the page they are read, stand beside their headings.
        const std::vector<Word> all = words(path);
        for (const Word &word : all)
            if (word.text.startsWith(u"IN"_s) || word.text.startsWith(u"OUT"_s)) {
                double left = 10000;
                int count = 0;
                for (const Word &other : all)
                    if (other.page == word.page && qAbs(other.bottom - word.bottom) < 3 && other.left > word.right && other.left < left &&
                        other.left < word.right + 12) {
                        left = other.left;
                        count = other.text.toInt();
                    }
                if (count > 0)
                    seen[word.text].counted = count;
            }
        std::int64_t row = 0;
        for (std::size_t outer = 0; outer < groups.sizes.size(); ++outer) {
            const QString outerKey = u"OUT%1x"_s.arg(outer + 1);
            std::int64_t outerSum = 0;
            int outerRows = 0;
            const auto check = [&](const QString &key, int rows, std::int64_t sum, const QString &caption) {
                const Seen &group = seen[key];
                QCOMPARE(group.rows, rows);
                QCOMPARE(group.counted, rows);
                QVERIFY2(group.rowsOnFirstPage >= std::min(rows, 3), qPrintable(key));
                QVERIFY2(group.continued >= static_cast<int>(group.pages.size()) - 1, qPrintable(key));
                const QString expected = rows == 1 ? QString() : QLocale(QLocale::English).toString(sum);
                QCOMPARE(sums[caption + key], expected);
                if (together && key.startsWith(u'I') && rows * groups.most <= 25)
                    QCOMPARE(group.pages.size(), std::size_t{1});
            };
            for (std::size_t inner = 0; inner < groups.sizes[outer].size(); ++inner) {
                std::int64_t sum = 0;
                for (int i = 0; i < groups.sizes[outer][inner]; ++i)
                    sum += ++row;
                check(u"IN%1.%2x"_s.arg(outer + 1).arg(inner + 1), groups.sizes[outer][inner], sum, u"Sum of"_s);
                outerSum += sum;
                outerRows += groups.sizes[outer][inner];
            }
            check(outerKey, outerRows, outerSum, u"Sum over"_s);
        }
        QCOMPARE(nextRow - 1, static_cast<int>(row));
        if (pages > 1 && !together)
            QVERIFY2(rowsOnPage >= 3, qPrintable(QString::number(rowsOnPage)));
        QVERIFY(textOf(path, pages, pages).contains(u"Attempts in all "_s + QLocale(QLocale::English).toString(row * (row + 1) / 2)));
        for (const Word &word : all)
            QVERIFY2(word.bottom < 595.3 - 48.1 || word.top > 595.3 - 32, qPrintable(word.text)); // body above the footer
    }

    /// A group of more pages than can wait says its rows on a page long written; the outline stays small however many groups there are.
    void the_outline_names_groups_and_stays_bounded_data()
    {
        QTest::addColumn<int>("outer");
        QTest::addColumn<int>("inner");
        QTest::addColumn<int>("rows");
        QTest::addRow("few") << 3 << 2 << 200;
        QTest::addRow("many") << 60 << 200 << 1;
    }

    void the_outline_names_groups_and_stays_bounded()
    {
        QFETCH(int, outer);
        QFETCH(int, inner);
        QFETCH(int, rows);
        const Groups groups{std::vector(static_cast<std::size_t>(outer), std::vector(static_cast<std::size_t>(inner), rows)), 1};
        const QString path = write(groups, shapeOf());
        checkStructure(path);
        const QString outline = QString::fromUtf8(outputOf(u"qpdf"_s, {u"--json"_s, u"--json-key=outlines"_s, path}));
        const auto titles = [&](const QString &title) { return outline.count(u"\"title\": \""_s + title + u'"'); };
        QCOMPARE(titles(u"Failed logons by account"_s), 1);
        QCOMPARE(titles(u"Totals"_s), 1);
        QCOMPARE(titles(u"OUT%1x"_s.arg(outer)), 1);
        const auto all = outline.count(u"\"title\": "_s);
        if (rows > 1) {
            QCOMPARE(all, 2 + outer + outer * inner);
            QCOMPARE(titles(u"IN3.2x"_s), 1);
            // The first group is counted beside its heading although its end came pages later.
            QVERIFY(textOf(path, 1, 1).contains(QString::number(inner * rows) + u" rows"_s));
            QVERIFY(textOf(path, 1, 1).contains(QString::number(rows) + u" rows"_s));
        } else {
            QVERIFY2(all <= 5000 && all > 2500, qPrintable(QString::number(all)));
            QCOMPARE(titles(u"IN1.1x \u2026 IN1.4x"_s), 1);
        }
    }

    void the_first_page_shows_what_is_known_last()
    {
        m_head.notices = {"The first day is not whole."};
        m_head.author = "A. Operator";
        m_head.creator = "Quillmark 1";
        m_head.madeUtc = "2026-11-21 18:33:44";
        ReportShape shape = shapeOf();
        shape.keyFigures = {{"refused logons", column("", 20, ColumnType::Integer)}, {"least", column("", 20, ColumnType::Integer)}};
        const std::vector figures{Value::of(std::int64_t{1234567}), Value::of(std::int64_t{-5})};
        m_tail.keyFigures = figures;
        m_tail.truncated = true;
        m_tail.rowLimit = 300;
        const QString path = write({{{300}}, 1}, shape);
        checkStructure(path);
        const QString first = textOf(path, 1, 1);
        const int pages = information(path, u"Pages"_s).toInt();
        const QString last = textOf(path, pages, pages);
        const QString cut = u"Only the first 300 rows: the limit of 300 rows cut off the rest."_s;
        QVERIFY(first.contains(u"1,234,567\nrefused logons\n\u22125\nleast\n"_s));
        for (const QString &page : {first, last}) {
            QVERIFY(page.contains(cut));
            QVERIFY(page.contains(u"The first day is not whole."_s));
        }
        QVERIFY(first.indexOf(cut) < first.indexOf(u"1,234,567"_s));
        QVERIFY(first.startsWith(u"Server Operating System Logs / Security\n"_s) ||
                first.contains(u"\nServer Operating System Logs / Security\n"_s));
        QVERIFY(textOf(path, 2, 2).contains(u"Sat 2026-11-14 to Fri 2026-11-20"_s));
        QVERIFY(last.contains(u"Attempts in all: of the rows shown"_s));
        QCOMPARE(information(path, u"Author"_s), u"A. Operator"_s);
        QCOMPARE(information(path, u"Creator"_s), u"Quillmark 1"_s);
        QCOMPARE(information(path, u"Keywords"_s), u"Server Operating System Logs, Security, Failed logons by account.rqn"_s);
        QVERIFY(information(path, u"CreationDate"_s).contains(u"2026"_s));
        const QString metadata = QString::fromUtf8(outputOf(u"pdfinfo"_s, {u"-meta"_s, path}));
        QVERIFY(metadata.contains(u"<xmp:CreateDate>2026-11-21T18:33:44Z</xmp:CreateDate>"_s));
        QVERIFY(metadata.contains(u">Failed logons by account<"_s));
    }

    void groups_of_one_row_need_no_heading()
    {
        const QString path = m_folder.filePath(u"single.pdf"_s);
        OutputFile file(path);
        const auto writer = makePdfWriter(file, {.fontFolder = shippedFonts()});
        ReportShape shape = shapeOf();
        shape.groups.erase(shape.groups.begin());
        std::vector<std::string> keys;
        for (int i = 0; i < 30; ++i)
            keys.push_back("IN" + std::to_string(i) + "x");
        keys[10] = keys[11] = keys[9]; // one of three rows
        std::vector<Value> cells;
        for (std::size_t i = 0; i < keys.size(); ++i)
            for (const Value &cell :
                 {Value::ofText("row"), Value::ofText(keys[i]), i == 0 ? Value::ofNull() : Value::ofText(""), Value::of(std::int64_t{-1})})
                cells.push_back(cell);
        writer->begin(m_head, shape, {cells, keys.size(), true});
        for (std::size_t i = 0; i < keys.size();) {
            std::size_t end = i;
            writer->beginGroup(0, Value::ofText(keys[i]));
            for (; end < keys.size() && keys[end] == keys[i]; ++end)
                writer->row(std::span(cells).subspan(end * 4, 4));
            const Value sum = Value::of(-static_cast<std::int64_t>(end - i));
            writer->endGroup({0, Value::ofText(keys[i]), static_cast<std::int64_t>(end - i), {&sum, 1}});
            i = end;
        }
        const Value total = Value::of(std::int64_t{-30});
        writer->end({.rows = 30, .totals = {&total, 1}});
        file.commit();
        checkStructure(path);
        const QString text = textOf(path);
        QVERIFY(!text.contains(u"1 row\n"_s)); // no heading counts
        QCOMPARE(text.count(u"IN9x"_s), 2);    // its first row and its subtotal
        QVERIFY(text.contains(u"row IN9x \u22121\nrow \u22121\nrow \u22121\nSum of: IN9x \u22123\n"_s));
        QVERIFY(text.contains(u"row IN0x \u2013 \u22121\n"_s)); // NULL is a dash, empty text nothing
        QVERIFY(text.contains(u"row IN1x \u22121\n"_s));
        QVERIFY(text.contains(u"Attempts in all \u221230\n"_s));
    }
};

QTEST_GUILESS_MAIN(PdfGroupsTest)
#include "pdf_groups_test.moc"
