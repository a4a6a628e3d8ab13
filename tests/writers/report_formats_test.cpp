// The same rows into CSV, HTML and XLSX, and out again through readers that are not ours.
#include "core/RuntimeError.h"
#include "reporting/writers/Writers.h"
#include "writers/ReadBack.h"

#include <QJsonArray>
#include <QTemporaryDir>

#include <clocale>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>

using namespace qm;

namespace {

/// One text and what a reader of each format gets; empty: the text itself.
struct Hostile
{
    const char *name;
    std::string text;
    std::string csv, html, xlsx;
};

std::vector<Hostile> hostileTexts()
{
    using namespace std::string_literals;
    return {
        {"plain", "Security", {}, {}, {}},
        {"blanks around", "  two  blanks  ", {}, {}, {}},
        {"quotes and commas", "He said \"no, never\", twice", {}, {}, {}},
        {"line feeds", "first\nsecond\n\nfourth\n", {}, {}, {}},
        {"carriage returns", "one\r\ntwo\rthree", {}, "one\ntwo\nthree", "one\ntwo\rthree"},
        {"tabs", "a\tb\t", {}, {}, {}},
        {"markup", "</td></tr></table><script>alert('x')</script><a href=\"http://example.org\">&amp;</a><!-- ", {}, {}, {}},
        {"end of CDATA", "]]><![CDATA[", {}, {}, {}},
        {"a code of its own", "_x000D_ and _x005F_x000d_ and _X0041_ and _x12", {}, {}, {}},
        {"controls", "a\x01\x08\x0B\x1F\x7F z", {}, "a\u2401\u2408\u240B\u241F\u2421 z", {}},
        {"NUL", "before\0after"s, "before\u2400after", "before\u2400after", "before\u2400after"},
        {"C1", "a\u0085b\u009Bc", {}, "a[U+0085]b[U+009B]c", {}},
        {"direction", "abc\u202Etxt.exe\u202C \u2066x\u2069 \u200F", {}, "abc[U+202E]txt.exe[U+202C] [U+2066]x[U+2069] [U+200F]", {}},
        {"Chinese", "系统日志：用户登录失败，请检查帐户名称和密码。𠀀𪚥", {}, {}, {}},
        {"Arabic", "السَّلَامُ عَلَيْكُمْ، تسجيل الدخول", {}, {}, {}},
        {"emoji", "ok 😀👍🏽👨‍👩‍👧🇩🇪✔️", {}, {}, {}},
        {"combining", "e\u0301a\u0308 Z\u0351\u0353\u0334", {}, {}, {}},
        {"not characters", "\uFFFE\uFFFF\uFEFF", {}, {}, {}},
        {"invalid UTF-8", "a\xFF"s + "b\xC3" + "c\xE2\x82" + "d\xC0\xAF" + "e\xED\xA0\x80" + "f\xF4\x90\x80\x80" + "g\xF0\x9F\x98", //
         "a\uFFFDb\uFFFDc\uFFFDd\uFFFD\uFFFDe\uFFFD\uFFFD\uFFFDf\uFFFD\uFFFD\uFFFD\uFFFDg\uFFFD",                                   //
         "a\uFFFDb\uFFFDc\uFFFDd\uFFFD\uFFFDe\uFFFD\uFFFD\uFFFDf\uFFFD\uFFFD\uFFFD\uFFFDg\uFFFD",
         "a\uFFFDb\uFFFDc\uFFFDd\uFFFD\uFFFDe\uFFFD\uFFFD\uFFFDf\uFFFD\uFFFD\uFFFD\uFFFDg\uFFFD"},
        {"formula", "=HYPERLINK(\"http://example.org\")", {}, {}, {}},
        {"looks like a number", "0012", {}, {}, {}},
        {"looks like a date", "2026-03-05 10:20:30", {}, {}, {}},
    };
}

/// Every length and every place of a stop within and across the blocks that are copied at once.
std::vector<std::string> runLengths()
{
    std::vector<std::string> texts;
    for (std::size_t size = 0; size <= 50; ++size) {
        std::string text(size, 'x');
        texts.push_back(text);
        for (std::size_t at = 0; at < size; at += 3) {
            text[at] = at % 2 == 0 ? '&' : '"';
        }
        texts.push_back(text);
        texts.push_back(text + "\u00FC");
    }
    return texts;
}

ReportColumn column(const char *field, ColumnType type, const char *format = "")
{
    ReportColumn made;
    made.field = field;
    made.caption = std::string("The ") + field;
    made.type = type;
    made.format = format;
    return made;
}

ReportHead someHead()
{
    ReportHead head;
    head.title = "Logons <b>& more</b>";
    head.subtitle = "of \"last\" week";
    head.facts = {{"Package", "Server Operating System Logs"}, {"Period", "last week <&>"}};
    head.footer = {"", "", "Page {page} of {pages} & more"};
    return head;
}

QString text(const std::string &utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QString cellText(const QJsonArray &rows, qsizetype row, qsizetype cell)
{
    return rows.at(row).toArray().at(cell).toString();
}

} // namespace

class ReportFormatsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { std::setlocale(LC_ALL, "C.UTF-8"); }
    void everyTextArrivesInEveryFormat_data();
    void everyTextArrivesInEveryFormat();
    void runsOfEveryLengthArrive();
    void numbersAndDatesAreThoseOfTheirFormatUnderAnyLocale_data();
    void numbersAndDatesAreThoseOfTheirFormatUnderAnyLocale();
    void csvTellsNullFromEmptyText();
    void csvGuardsFormulasButNotNumbers_data();
    void csvGuardsFormulasButNotNumbers();
    void csvMarksItsEncodingWhenAsked();
    void htmlIsOneSafePage();
    void statedRowsAreCountedRows_data();
    void statedRowsAreCountedRows();
    void workbookCutsWhatACellCannotHold();
    void workbookContinuesOnANewSheet();
    void workbookSheetNamesFollowTheRules_data();
    void workbookSheetNamesFollowTheRules();

private:
    using Rows = std::vector<std::vector<Value>>;
    QString write(const QString &format, std::span<const ReportColumn> columns, const Rows &rows, ReportTail tail = {},
                  const ReportHead &head = someHead(), const CsvOptions &options = {}) const;
    QString path(const QString &format) const { return m_folder.filePath(QStringLiteral("report.") + format); }
    QByteArray bytes(const QString &format) const;
    QJsonObject read(const QString &format) const { return test::readBack(m_python, format, path(format)); }
    [[nodiscard]] bool useGerman();

    QTemporaryDir m_folder;
    QString m_python;
};

void ReportFormatsTest::initTestCase()
{
    m_python = test::pythonWithReaders();
    if (m_python.isEmpty()) {
        QSKIP("no Python with openpyxl here");
    }
}

QString ReportFormatsTest::write(const QString &format, std::span<const ReportColumn> columns, const Rows &rows, ReportTail tail,
                                 const ReportHead &head, const CsvOptions &options) const
{
    OutputFile file(path(format));
    const std::unique_ptr<ReportWriter> writer = format == QStringLiteral("csv")    ? makeCsvWriter(file, options)
                                                 : format == QStringLiteral("html") ? makeHtmlWriter(file)
                                                                                    : makeXlsxWriter(file);
    writer->begin(head, columns);
    for (const std::vector<Value> &row : rows) {
        writer->row(row);
    }
    tail.rows = tail.rows == 0 ? static_cast<std::int64_t>(rows.size()) : tail.rows;
    writer->end(tail);
    file.commit();
    return QString::number(writer->notes().cellsCut);
}

QByteArray ReportFormatsTest::bytes(const QString &format) const
{
    QFile file(path(format));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void ReportFormatsTest::everyTextArrivesInEveryFormat_data()
{
    QTest::addColumn<QString>("format");
    for (const char *format : {"csv", "html", "xlsx"}) {
        QTest::newRow(format) << QString::fromLatin1(format);
    }
}

void ReportFormatsTest::everyTextArrivesInEveryFormat()
{
    QFETCH(QString, format);
    const std::vector<Hostile> texts = hostileTexts();
    Rows rows;
    for (const Hostile &hostile : texts) {
        // Each text stands in two columns, so that one cell can be seen to end where the next begins.
        rows.push_back({Value::ofText(hostile.name), Value::ofText(hostile.text), Value::ofText(hostile.text)});
    }
    std::string lines;
    for (int i = 0; i < 800; ++i) {
        lines += "line \"" + std::to_string(i) + "\" <of> a long message\n";
    }
    rows.push_back({Value::ofText("long"), Value::ofText(lines), Value::ofText("\xFF\x00\x7F")});
    write(format, std::vector{column("name", ColumnType::Text), column("text", ColumnType::Text), column("again", ColumnType::Text)}, rows);

    const QJsonObject report = read(format);
    QVERIFY(!report.isEmpty());
    const bool isBook = format == QStringLiteral("xlsx");
    QJsonArray found = isBook ? report[QStringLiteral("sheets")].toArray().at(0)[QStringLiteral("rows")].toArray()
                              : report[QStringLiteral("rows")].toArray();
    for (int heading = isBook ? 4 : 0; heading > 0; --heading) {
        found.removeFirst();
    }
    QCOMPARE(found.size(), static_cast<qsizetype>(rows.size()));
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string &special = isBook ? texts[i].xlsx : format == QStringLiteral("html") ? texts[i].html : texts[i].csv;
        const QString expected = text(special.empty() ? texts[i].text : special);
        const auto row = static_cast<qsizetype>(i);
        QVERIFY2(cellText(found, row, 0) == text(texts[i].name), texts[i].name);
        QVERIFY2(cellText(found, row, 1) == expected, qPrintable(text(texts[i].name) + QStringLiteral(": ") + cellText(found, row, 1)));
        QVERIFY2(cellText(found, row, 2) == expected, texts[i].name);
    }
    QCOMPARE(cellText(found, found.size() - 1, 1), text(lines));
}

void ReportFormatsTest::runsOfEveryLengthArrive()
{
    const std::vector<std::string> texts = runLengths();
    Rows rows;
    for (const std::string &run : texts) {
        rows.push_back({Value::ofText(run), Value::of(std::int64_t{1})});
    }
    const std::vector columns{column("run", ColumnType::Text), column("one", ColumnType::Integer)};
    for (const QString &format : {QStringLiteral("csv"), QStringLiteral("html")}) {
        write(format, columns, rows);
        const QJsonArray found = read(format)[QStringLiteral("rows")].toArray();
        QCOMPARE(found.size(), static_cast<qsizetype>(texts.size()));
        for (std::size_t i = 0; i < texts.size(); ++i) {
            QCOMPARE(cellText(found, static_cast<qsizetype>(i), 0), text(texts[i]));
        }
    }
    write(QStringLiteral("xlsx"), columns, rows);
    const QJsonArray sheet = read(QStringLiteral("xlsx"))[QStringLiteral("sheets")].toArray().at(0)[QStringLiteral("rows")].toArray();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        QCOMPARE(cellText(sheet, static_cast<qsizetype>(i) + 4, 0), text(texts[i]));
    }
}

bool ReportFormatsTest::useGerman()
{
    // The locale is made here, so that the test does not depend on what the machine has.
    const QString made = m_folder.filePath(QStringLiteral("de_DE.UTF-8"));
    QProcess::execute(QStringLiteral("localedef"),
                      {QStringLiteral("-i"), QStringLiteral("de_DE"), QStringLiteral("-f"), QStringLiteral("UTF-8"), made});
    qputenv("LOCPATH", m_folder.path().toLocal8Bit());
    return std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr && std::string(std::localeconv()->decimal_point) == ",";
}

void ReportFormatsTest::numbersAndDatesAreThoseOfTheirFormatUnderAnyLocale_data()
{
    QTest::addColumn<bool>("german");
    QTest::newRow("C") << false;
    QTest::newRow("de_DE") << true;
}

void ReportFormatsTest::numbersAndDatesAreThoseOfTheirFormatUnderAnyLocale()
{
    QFETCH(bool, german);
    if (german && !useGerman()) {
        QSKIP("the locale de_DE cannot be made here");
    }
    const std::vector columns{column("id", ColumnType::Integer),
                              column("ratio", ColumnType::Real),
                              column("amount", ColumnType::Real, "#,##0.00"),
                              column("time", ColumnType::DateTime, "datetime"),
                              column("flag", ColumnType::Boolean, "boolean"),
                              column("bytes", ColumnType::Blob)};
    const double infinity = std::numeric_limits<double>::infinity();
    const Rows rows{
        {Value::of(std::int64_t{9007199254740992}), Value::of(1.5), Value::of(1234567.891), Value::ofText("2026-03-05 14:05:37.250"),
         Value::of(std::int64_t{1}), Value::ofBlob(std::string_view("\x00\xFF\x10", 3))},
        {Value::of(std::numeric_limits<std::int64_t>::min()), Value::of(std::nan("")), Value::of(infinity),
         Value::ofText("1900-02-28 00:00:00"), Value::of(std::int64_t{0}), Value::ofBlob("")},
        {Value::ofNull(), Value::of(-1e-300), Value::of(-0.004), Value::ofText("not a time"), Value::ofNull(), Value::ofNull()},
        {Value::of(std::int64_t{9007199254740993}), Value::of(0.1), Value::of(2.675), Value::ofText("1900-03-01"), Value::ofText("maybe"),
         Value::ofText("text")},
    };
    for (const char *format : {"csv", "html", "xlsx"}) {
        write(QString::fromLatin1(format), columns, rows);
    }
    QCOMPARE(bytes(QStringLiteral("csv")), QByteArray("id,ratio,amount,time,flag,bytes\r\n"
                                                      "9007199254740992,1.5,1234567.891,2026-03-05 14:05:37.250,1,00ff10\r\n"
                                                      "-9223372036854775808,NaN,Infinity,1900-02-28 00:00:00,0,\"\"\r\n"
                                                      ",-1e-300,-0.004,not a time,,\r\n"
                                                      "9007199254740993,0.1,2.675,1900-03-01,maybe,text\r\n"));
    const QByteArray page = bytes(QStringLiteral("html"));
    QVERIFY(page.contains(
        "<tr><td>9007199254740992</td><td>1.5</td><td>1,234,567.89</td><td>2026-03-05 14:05:37</td><td>Yes</td><td>0x00ff10</td></tr>"));
    QVERIFY(page.contains("<td>NaN</td><td>Infinity</td><td>1900-02-28 00:00:00</td><td>No</td><td>0x</td></tr>"));
    QVERIFY(page.contains("<tr><td></td><td>-1e-300</td><td>0.00</td><td>not a time</td><td></td><td></td></tr>"));
    QVERIFY(page.contains("<td>2.68</td><td>1900-03-01</td><td>maybe</td><td>text</td></tr>"));

    const QJsonObject sheet = read(QStringLiteral("xlsx"))[QStringLiteral("sheets")].toArray().at(0).toObject();
    const QJsonArray cells = sheet[QStringLiteral("rows")].toArray();
    const QJsonObject time{{QStringLiteral("datetime"), QStringLiteral("2026-03-05 14:05:37.250")}};
    QCOMPARE(cells.at(4).toArray(), (QJsonArray{9007199254740992.0, 1.5, 1234567.891, time, true, QStringLiteral("0x00ff10")}));
    QCOMPARE(cells.at(5).toArray(), (QJsonArray{QStringLiteral("-9223372036854775808"), QStringLiteral("NaN"), QStringLiteral("Infinity"),
                                                QStringLiteral("1900-02-28 00:00:00"), false, QStringLiteral("0x")}));
    QCOMPARE(cells.at(6).toArray(),
             (QJsonArray{QJsonValue::Null, -1e-300, -0.004, QStringLiteral("not a time"), QJsonValue::Null, QJsonValue::Null}));
    const QJsonObject first{{QStringLiteral("datetime"), QStringLiteral("1900-03-01 00:00:00.000")}};
    QCOMPARE(cells.at(7).toArray(),
             (QJsonArray{QStringLiteral("9007199254740993"), 0.1, 2.675, first, QStringLiteral("maybe"), QStringLiteral("text")}));
    QCOMPARE(sheet[QStringLiteral("formats")].toArray().at(2).toString(), QStringLiteral("#,##0.00"));
    QCOMPARE(sheet[QStringLiteral("freeze")].toString(), QStringLiteral("A5"));
    QCOMPARE(sheet[QStringLiteral("filter")].toString(), QStringLiteral("A4:F8"));
    QCOMPARE(sheet[QStringLiteral("footer")].toString(), QStringLiteral("Page &P of &N && more"));
}

void ReportFormatsTest::csvTellsNullFromEmptyText()
{
    write(QStringLiteral("csv"), std::vector{column("ID", ColumnType::Text), column("b", ColumnType::Text)},
          {{Value::ofNull(), Value::ofText("")}, {Value::ofText("\u00FC"), Value::ofNull()}});
    QCOMPARE(bytes(QStringLiteral("csv")), QByteArray("\"ID\",b\r\n,\"\"\r\n\u00FC,\r\n"));
    // A lone NULL would be an empty line, which readers take for no row at all.
    write(QStringLiteral("csv"), std::vector{column("a", ColumnType::Text)}, {{Value::ofNull()}, {Value::ofText("x")}});
    QCOMPARE(read(QStringLiteral("csv"))[QStringLiteral("rows")].toArray().size(), 2);
}

void ReportFormatsTest::csvGuardsFormulasButNotNumbers_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<bool>("guarded");
    for (const char *formula :
         {"=1+1", "-5+cmd", "+A1", "@SUM(A1)", "\tx", "\rx", "  =1", "\u00A0=1", "\uFF1D1+1", "\uFEFF=1", "-", "-2-3", "--5", "=\"a,b\""}) {
        QTest::newRow(formula) << QString::fromUtf8(formula) << true;
    }
    for (const char *harmless : {"-5", "+49301234567", "-0.25", "a=b", "", " ", "x-1", "'=1", "12"}) {
        QTest::newRow(harmless) << QString::fromUtf8(harmless) << false;
    }
}

void ReportFormatsTest::csvGuardsFormulasButNotNumbers()
{
    QFETCH(QString, given);
    QFETCH(bool, guarded);
    const std::string value = given.toStdString();
    write(QStringLiteral("csv"), std::vector{column("a", ColumnType::Text), column("b", ColumnType::Integer)},
          {{Value::ofText(value), Value::of(std::int64_t{-5})}}, {}, someHead(), {false, true});
    const QJsonArray row = read(QStringLiteral("csv"))[QStringLiteral("rows")].toArray().at(0).toArray();
    QCOMPARE(row.at(0).toString(), guarded ? u'\'' + given : given);
    QCOMPARE(row.at(1).toString(), QStringLiteral("-5"));
}

void ReportFormatsTest::csvMarksItsEncodingWhenAsked()
{
    write(QStringLiteral("csv"), std::vector{column("a", ColumnType::Text)}, {{Value::ofText("x")}}, {}, someHead(), {true, false});
    QCOMPARE(bytes(QStringLiteral("csv")), QByteArray("\xEF\xBB\xBF"
                                                      "a\r\nx\r\n"));
}

void ReportFormatsTest::htmlIsOneSafePage()
{
    ReportHead head = someHead();
    head.header.left = "</style><script>x\u202E\"\\\n{page}";
    head.facts.emplace_back("Filter", "</title><img src=x onerror=y>");
    const std::string hostile = "<img src=http://example.org/x onerror=alert(1)><style>*{}</style>\" onclick=\"x";
    ReportColumn named = column("a", ColumnType::Text);
    named.caption = hostile;
    write(QStringLiteral("html"), std::vector{named}, {{Value::ofText(hostile)}}, {}, head);
    const QJsonObject page = read(QStringLiteral("html"));
    QVERIFY(page[QStringLiteral("doctype")].toBool());
    QVERIFY(page[QStringLiteral("policyFits")].toBool());
    QVERIFY(page[QStringLiteral("policy")].toString().startsWith(QStringLiteral("default-src 'none'; ")));
    QCOMPARE(page[QStringLiteral("language")].toString(), QStringLiteral("en"));
    QCOMPARE(page[QStringLiteral("title")].toString(), QStringLiteral("Logons <b>& more</b>"));
    QCOMPARE(page[QStringLiteral("header")].toArray().at(0).toString(), text(hostile));
    QVERIFY(page[QStringLiteral("errors")].toArray().isEmpty());
    QVERIFY(page[QStringLiteral("open")].toArray().isEmpty());
    QCOMPARE(page[QStringLiteral("facts")][QStringLiteral("Filter")].toString(), QStringLiteral("</title><img src=x onerror=y>"));
    const QJsonObject elements = page[QStringLiteral("elements")].toObject();
    for (const char *foreign : {"script", "img", "a", "b", "link"}) {
        QVERIFY2(!elements.contains(QLatin1String(foreign)), foreign);
    }
    QCOMPARE(elements[QStringLiteral("style")].toInt(), 1);
    for (const QJsonValue &attribute : page[QStringLiteral("attributes")].toArray()) {
        QVERIFY(!attribute.toString().contains(QStringLiteral(".on")) && !attribute.toString().endsWith(QStringLiteral(".style")));
    }
    QVERIFY(page[QStringLiteral("style")].toString().contains(QStringLiteral("counter(page)")));
}

void ReportFormatsTest::statedRowsAreCountedRows_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("stated");
    QTest::newRow("none") << 0 << 0 << QStringLiteral("0 rows");
    QTest::newRow("one") << 1 << 0 << QStringLiteral("1 row");
    QTest::newRow("many") << 12345 << 0 << QStringLiteral("12,345 rows");
    QTest::newRow("cut off") << 1000 << 1000 << QStringLiteral("Only the first 1,000 rows: the limit of 1,000 rows cut off the rest.");
}

void ReportFormatsTest::statedRowsAreCountedRows()
{
    QFETCH(int, rows);
    QFETCH(int, limit);
    QFETCH(QString, stated);
    const Rows all(static_cast<std::size_t>(rows), {Value::of(std::int64_t{7})});
    const std::vector columns{column("seven", ColumnType::Integer)};
    const ReportTail tail{rows, limit > 0, limit};
    write(QStringLiteral("html"), columns, all, tail);
    const QJsonObject page = read(QStringLiteral("html"));
    QCOMPARE(page[QStringLiteral("facts")][QStringLiteral("Rows")].toString(), stated);
    QCOMPARE(page[QStringLiteral("rows")].toArray().size(), rows);
    const QString words = page[QStringLiteral("text")].toString();
    QCOMPARE(words.contains(QStringLiteral("No rows")), rows == 0);
    QCOMPARE(words.contains(QStringLiteral("not complete")), limit > 0);

    write(QStringLiteral("xlsx"), columns, all, tail);
    const QJsonArray sheets = read(QStringLiteral("xlsx"))[QStringLiteral("sheets")].toArray();
    QCOMPARE(sheets.at(0)[QStringLiteral("rows")].toArray().size(), rows + 4);
    const QString summary = cellText(sheets.at(0)[QStringLiteral("rows")].toArray(), 2, 0);
    QVERIFY2(summary.contains(rows == 0 ? QStringLiteral("No rows")
                                        : stated.section(u':', 0, 0).replace(QStringLiteral("Only"), QStringLiteral("only"))),
             qPrintable(summary));
    const QString about = QString::fromUtf8(QJsonDocument(sheets.at(1)[QStringLiteral("rows")].toArray()).toJson());
    QVERIFY(about.contains(QStringLiteral("last week <&>")));
    QCOMPARE(about.contains(QStringLiteral("Not complete")), limit > 0);
}

void ReportFormatsTest::workbookCutsWhatACellCannotHold()
{
    const std::string fits(32767, 'a'), tooLong(34321, 'b');
    std::string faces, justFits;
    for (int i = 0; i < 17000; ++i) {
        faces += "\U0001F600"; // two units each
    }
    for (int i = 0; i < 16383; ++i) {
        justFits += "\U0001F600";
    }
    const std::string blob(20000, '\x5A');
    const QString cut =
        write(QStringLiteral("xlsx"), std::vector{column("text", ColumnType::Text)},
              {{Value::ofText(fits)}, {Value::ofText(tooLong)}, {Value::ofText(faces)}, {Value::ofText(justFits)}, {Value::ofBlob(blob)}});
    QCOMPARE(cut, QStringLiteral("3"));
    const QJsonObject book = read(QStringLiteral("xlsx"));
    const QJsonArray cells = book[QStringLiteral("sheets")].toArray().at(0)[QStringLiteral("rows")].toArray();
    QCOMPARE(cellText(cells, 4, 0), text(fits));
    QCOMPARE(cellText(cells, 5, 0).size(), 32767);
    QVERIFY(cellText(cells, 5, 0).endsWith(QStringLiteral("bbb\u2026 [cut: 34,321 characters in all]")));
    const QString cutFaces = cellText(cells, 6, 0);
    QVERIFY(cutFaces.size() <= 32767 && cutFaces.size() >= 32766);
    QVERIFY(cutFaces.endsWith(QStringLiteral("\U0001F600\u2026 [cut: 34,000 characters in all]")));
    QCOMPARE(cellText(cells, 7, 0), text(justFits));
    QVERIFY(cellText(cells, 8, 0).endsWith(QStringLiteral("5a\u2026 [cut: 20,000 bytes in all]")));
    QVERIFY(
        QJsonDocument(book[QStringLiteral("sheets")].toArray().at(1)[QStringLiteral("rows")].toArray()).toJson().contains("3 cells were"));
}

void ReportFormatsTest::workbookContinuesOnANewSheet()
{
    // One sheet holds 1,048,576 rows, four of them headings here.
    constexpr std::int64_t kRows = 1048572 + 2;
    {
        OutputFile file(path(QStringLiteral("xlsx")));
        const auto writer = makeXlsxWriter(file);
        writer->begin(someHead(), std::vector{column("n", ColumnType::Integer)});
        for (std::int64_t i = 1; i <= kRows; ++i) {
            writer->row(std::vector{Value::of(i)});
        }
        writer->end({kRows, false, 0});
        QCOMPARE(writer->notes().sheets, 2);
        file.commit();
    }
    QProcess count;
    count.start(m_python, {QStringLiteral("-c"),
                           QStringLiteral("import re,sys,zipfile\n"
                                          "z=zipfile.ZipFile(sys.argv[1])\n"
                                          "for n in (1,2):\n"
                                          " x=z.read(f'xl/worksheets/sheet{n}.xml').decode()\n"
                                          " v=re.findall('<c s=\"9\"><v>(\\\\d+)',x)\n"
                                          " print(x.count('</row>'),v[0],v[-1],re.search('autoFilter ref=\"([^\"]*)',x)[1])\n"
                                          "print(re.findall('sheet name=\"([^\"]*)',z.read('xl/workbook.xml').decode()))"),
                           path(QStringLiteral("xlsx"))});
    QVERIFY(count.waitForFinished(120000));
    QCOMPARE(count.readAllStandardOutput(),
             QByteArray("1048576 1 1048572 A4:A1048576\n6 1048573 1048574 A4:A6\n"
                        "['Logons &lt;b&gt;&amp; more&lt; b&gt;', 'Logons &lt;b&gt;&amp; more&lt; b&gt; (2)', 'About this report']\n"));
}

void ReportFormatsTest::workbookSheetNamesFollowTheRules_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << QStringLiteral("Failed logons") << QStringLiteral("Failed logons");
    QTest::newRow("forbidden") << QStringLiteral("a[b]c:d*e?f/g\\h") << QStringLiteral("a b c d e f g h");
    QTest::newRow("long") << QString(40, u'x') << QString(31, u'x');
    QTest::newRow("pair at the cut") << QString(30, u'x') + QStringLiteral("\U0001F600") << QString(30, u'x');
    QTest::newRow("apostrophes") << QStringLiteral("'It's'") << QStringLiteral("It's");
    QTest::newRow("reserved") << QStringLiteral("HISTORY") << QStringLiteral("HISTORY report");
    QTest::newRow("taken") << QStringLiteral("about THIS report") << QStringLiteral("about THIS report (2)");
    QTest::newRow("nothing left") << QStringLiteral("[]?") << QStringLiteral("Report");
    QTest::newRow("empty") << QString() << QStringLiteral("Report");
}

void ReportFormatsTest::workbookSheetNamesFollowTheRules()
{
    QFETCH(QString, title);
    QFETCH(QString, name);
    ReportHead head;
    head.title = title.toStdString();
    write(QStringLiteral("xlsx"), std::vector{column("a", ColumnType::Text)}, {{Value::ofText("x")}}, {}, head);
    const QJsonObject book = read(QStringLiteral("xlsx"));
    QCOMPARE(book[QStringLiteral("sheets")].toArray().at(0)[QStringLiteral("name")].toString(), name);
    QVERIFY(!book[QStringLiteral("properties")].toString().contains(QStringLiteral("creator")));
    QCOMPARE(book[QStringLiteral("title")].toString(), title);
}

QTEST_GUILESS_MAIN(ReportFormatsTest)
#include "report_formats_test.moc"
