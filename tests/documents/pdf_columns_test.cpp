// What the columns of a PDF table become when they do not fit, read back by Poppler's programs.
#include "documents/PdfReadBack.h"
#include "documents/Writers.h"

#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

using Cells = std::vector<std::string>;

struct Report
{
    ReportHead head;
    std::vector<ReportColumn> columns;
    std::vector<Cells> rows;
    ReportTail tail; ///< rows is filled in
};

ReportColumn column(const char *caption, CellAlignment alignment = CellAlignment::Left)
{
    ReportColumn made;
    made.caption = caption;
    made.alignment = alignment;
    return made;
}

QString shippedFonts()
{
    return qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s;
}

} // namespace

class PdfColumnsTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    static void checkStructure(const QString &path)
    {
        const HostResult checked = runHost(u"qpdf"_s, {u"--check"_s, path});
        QVERIFY2(checked.code == 0, (checked.out + checked.err).constData());
        // qpdf does not read the pages' operators; pdftotext complains of bad ones.
        const HostResult text = runHost(u"pdftotext"_s, {path, u"/dev/null"_s});
        QVERIFY2(text.err.isEmpty(), text.err.constData());
    }

    /// \p rows are known before the first of them is written; \p whole: there are no others.
    QString writeMeasured(Report &report, std::size_t rows, bool whole, const ReportShape &more = {})
    {
        const QString path = m_folder.filePath(u"measured.pdf"_s);
        OutputFile file(path);
        const auto writer = makePdfWriter(file, {.fontFolder = shippedFonts()});
        std::vector<Value> values;
        for (const Cells &row : report.rows)
            for (const std::string &cell : row)
                values.push_back(cell == "NULL" ? Value::ofNull() : Value::ofText(cell));
        const std::size_t across = report.columns.size();
        ReportShape shape = more;
        shape.columns = report.columns;
        writer->begin(report.head, shape, {std::span(values).first(rows * across), rows, whole});
        for (std::size_t i = 0; i < report.rows.size(); ++i)
            writer->row(std::span(values).subspan(i * across, across));
        report.tail.rows = static_cast<std::int64_t>(report.rows.size());
        writer->end(report.tail);
        file.commit();
        return path;
    }

    static Word wordOf(const std::vector<Word> &all, const QString &text)
    {
        const auto found = std::find_if(all.begin(), all.end(), [&](const Word &word) { return word.text == text; });
        return found == all.end() ? Word{} : *found;
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &tool : {u"pdftotext"_s, u"pdfinfo"_s, u"qpdf"_s})
            if (!hostHas(tool))
                QSKIP("needs pdftotext, pdfinfo and qpdf (packages poppler-utils and qpdf)");
    }

    void a_value_that_outgrows_its_column_stays_in_one_piece()
    {
        Report report;
        report.head.page = {148, 210, 12};
        report.columns = {column("Number", CellAlignment::Right), column("Message")};
        report.columns[0].type = ColumnType::Integer;
        const std::string text = QString(u"words that fill the rest of the page "_s).repeated(9).toStdString();
        report.rows = {
            {"1234567", text}, {"1234567", text}, {"12345678", text}, {"9876543210987654321", text}, {std::string(150, '7'), text}};
        const QString path = writeMeasured(report, 2, false);
        checkStructure(path);
        const std::vector<Word> all = words(path);
        const Word usual = wordOf(all, u"1234567"_s), longer = wordOf(all, u"12345678"_s), longest = wordOf(all, u"9876543210987654321"_s);
        QCOMPARE(qRound(longer.right), qRound(usual.right));
        // The first is 7.5 points high, the second 6.5; the third stands alone, below the words of its row.
        QVERIFY(qAbs((longer.bottom - longer.top) / (usual.bottom - usual.top) - 6.5 / 7.5) < 0.02);
        QVERIFY(longest.page == 1 && longest.left > 33);
        for (const Word &word : all)
            QVERIFY2(word.text == longest.text || qAbs(word.top - longest.top) > 5 || word.page != 1, qPrintable(word.text));
        QVERIFY(squeezed(textOf(path)).contains(QString(150, u'7'))); // wider than the page: the only one in lines
        for (const Word &word : all)
            QVERIFY(word.right < 420 - 33);
    }

    void columns_that_say_nothing_or_always_the_same_give_way()
    {
        Report report;
        report.head.page = {148, 210, 12};
        const auto wide = [](const char *letters) { return QString::fromLatin1(letters).repeated(8).toStdString(); };
        for (const char *caption : {"First", "Empty", "Same", "Second"})
            report.columns.push_back(column(caption));
        report.columns[1].caption = wide("Void");
        for (int i = 0; i < 3; ++i)
            report.rows.push_back({wide("1ab") + std::to_string(i), "NULL", wide("2cd"), wide("3ef") + std::to_string(i)});
        const QString all = textOf(writeMeasured(report, 3, true));
        QVERIFY(squeezed(all).contains(u"avalueinthem:VoidVoid"_s));
        QVERIFY(all.contains(u"Same"_s) && all.count(QString::fromStdString(wide("2cd"))) == 3); // no need to drop it
        report.columns.push_back(column("Third"));
        for (Cells &row : report.rows)
            row.push_back(wide("4gh") + row[0].back());
        const QString fewer = textOf(writeMeasured(report, 3, true));
        QCOMPARE(fewer.count(QString::fromStdString(wide("2cd"))), 1);
        QVERIFY(squeezed(fewer).contains(QString::fromStdString("Same" + wide("2cd") + "inallrows")));
        QVERIFY(fewer.contains(u"First Second Third"_s));
        // Rows behind the sample may hold anything: nothing is left out.
        const QString blocks = textOf(writeMeasured(report, 3, false));
        QVERIFY(blocks.contains(u"Each block is a row."_s));
        QCOMPARE(blocks.count(QString::fromStdString(wide("2cd"))), 3);
        QVERIFY(!blocks.contains(u"Void"_s)); // NULL in each row
        // A column that is added up stays.
        ReportShape added;
        added.totals.resize(1);
        added.totals[0].column = 2;
        QVERIFY(!textOf(writeMeasured(report, 3, true, added)).contains(u"in all rows"_s));
    }

    void a_block_taller_than_a_page_goes_on_with_marks()
    {
        Report report;
        report.head.page = {105, 148, 8};
        for (int i = 0; i < 12; ++i)
            report.columns.push_back(column(("Heading" + std::to_string(i)).c_str()));
        report.rows.assign(3, Cells(12, "value"));
        for (int i = 0; i < 300; ++i)
            report.rows[1][5] += " line" + std::to_string(i) + "x and some words";
        const QString path = writeMeasured(report, 1, false);
        checkStructure(path);
        const QString text = textOf(path);
        int next = 0;
        static const QRegularExpression kLine(u"line(\\d+)x"_s);
        for (auto it = kLine.globalMatch(text); it.hasNext(); ++next)
            QCOMPARE(it.next().captured(1).toInt(), next);
        QCOMPARE(next, 300);
        QVERIFY(text.count(u"(continued on the next page)"_s) >= 2);
        QCOMPARE(text.count(u"(continued on the next page)"_s), text.count(u"(continued from the previous page)"_s));
        for (const Word &word : words(path))
            QVERIFY2(word.left > 20 && word.right < 298 - 20 && word.top > 8 && word.bottom < 420 - 8, qPrintable(word.text));
    }

    void groups_of_blocks_have_headings_and_sums()
    {
        Report report;
        report.head.page = {105, 148, 8};
        for (int i = 0; i < 12; ++i)
            report.columns.push_back(column(("Heading" + std::to_string(i)).c_str()));
        const QString path = m_folder.filePath(u"groups.pdf"_s);
        OutputFile file(path);
        const auto writer = makePdfWriter(file, {.fontFolder = shippedFonts()});
        ReportShape shape;
        shape.columns = report.columns;
        shape.groups.resize(1);
        shape.groups[0].column = column("Server");
        shape.groups[0].newPage = true;
        shape.groups[0].subtotals.resize(1);
        shape.groups[0].subtotals[0].caption = "Attempts";
        shape.totals = shape.groups[0].subtotals;
        writer->begin(report.head, shape, {});
        const std::vector<Value> row(12, Value::ofText("value"));
        const Value first = Value::of(std::int64_t{41}), second = Value::of(std::int64_t{1}), sum = Value::of(std::int64_t{42});
        for (const auto &[key, rows, attempts] : {std::tuple("SRV-1", 2, first), std::tuple("SRV-2", 1, second)}) {
            writer->beginGroup(0, Value::ofText(key));
            for (int i = 0; i < rows; ++i)
                writer->row(row);
            writer->endGroup({0, Value::ofText(key), rows, std::span(&attempts, 1), false});
        }
        ReportTail tail;
        tail.rows = 3;
        tail.totals = std::span(&sum, 1);
        writer->end(tail);
        file.commit();
        checkStructure(path);
        QCOMPARE(information(path, u"Pages"_s), u"2"_s);
        QVERIFY(textOf(path, 1, 1).contains(u"Server SRV-1\n"_s) && textOf(path, 2, 2).contains(u"Server SRV-2\n"_s));
        QVERIFY2(squeezed(textOf(path)).contains(u"SRV-12rowsAttempts41"_s), qPrintable(textOf(path)));
        QVERIFY(!squeezed(textOf(path)).contains(u"Attempts1"_s)); // none for a group of one row
        QVERIFY(squeezed(textOf(path, 2, 2)).contains(u"Totals3rowsAttempts42"_s));
    }
};

QTEST_GUILESS_MAIN(PdfColumnsTest)
#include "pdf_columns_test.moc"
