// The same rows into CSV, HTML and XLSX, and out again through readers that are not ours.
#include "documents/ReadBack.h"
#include "documents/Writers.h"
#include "documents/pdf/FontFolder.h"
#include "support/FileBytes.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>

#include <clocale>
#include <cmath>
#include <limits>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

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
    constexpr char replaced[] = "a\uFFFDb\uFFFDc\uFFFDd\uFFFD\uFFFDe\uFFFD\uFFFD\uFFFDf\uFFFD\uFFFD\uFFFD\uFFFDg\uFFFD";
    return {
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
        {"not characters", "\uFFFE\uFFFF", {}, {}, {}},
        {"invisible", "a\u200Bb\u00ADc\u2060d\uFEFFe\U000E0041f", {}, "a[U+200B]b[U+00AD]c[U+2060]d[U+FEFF]e[U+E0041]f", {}},
        {"separators", "a\u2028b\u2029c", {}, "a\nb\nc", {}},
        {"invalid UTF-8", "a\xFF"s + "b\xC3" + "c\xE2\x82" + "d\xC0\xAF" + "e\xED\xA0\x80" + "f\xF4\x90\x80\x80" + "g\xF0\x9F\x98",
         replaced, replaced, replaced},
        {"formula", "=HYPERLINK(\"http://example.org\")", {}, {}, {}},
        {"looks like a number", "0012", {}, {}, {}},
    };
}

/// Every length and every place of a stop within and across the blocks that are copied at once.
std::vector<std::string> runLengths()
{
    std::vector<std::string> texts;
    for (std::size_t size = 0; size <= 50; ++size) {
        std::string text(size, 'x');
        texts.push_back(text);
        for (std::size_t at = 0; at < size; at += 3)
            text[at] = at % 2 == 0 ? '&' : '"';
        texts.push_back(text);
        texts.push_back(text + "\u00FC");
    }
    // Longer than a piece, with a character across its end.
    for (std::size_t before = 0; before < 3; ++before) {
        std::string text(before, 'x');
        for (int i = 0; i < 30000; ++i)
            text += "\u20AC";
        texts.push_back(text);
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
    head.facts = {{Fact::Kind::Package, "Package", "Server Operating System Logs"}, {Fact::Kind::Period, "Period", "last week <&>"}};
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
    void initTestCase()
    {
        m_python = pythonWithReaders();
        if (m_python.isEmpty())
            QSKIP("no Python with openpyxl here");
    }

    void init() { std::setlocale(LC_ALL, "C.UTF-8"); }

    /// Who adds a format writes its writer and its line in framework/ReportFormat.h; nothing else may know the formats by name.
    void eachFormatIsOneLine()
    {
        QSet<QString> labels;
        for (const ReportFormat format : reportFormats()) {
            const QString word = formatWord(format);
            QCOMPARE(formatOfWord(word.toUpper()), format);
            QCOMPARE(formatOfFile(u"/a.b/Logons."_s + word), format);
            QVERIFY(formatMediaType(format).contains('/'));
            labels << formatLabel(format);
            OutputFile file(path(word));
            const auto writer = makeWriter(format, file, {.fontFolder = shippedFontFolder()});
            writer->begin(someHead(), {.columns = {column("a", ColumnType::Text)}}, {});
            writer->end({});
            QVERIFY(file.commit().bytes > 0);
        }
        QCOMPARE(labels.size(), reportFormats().size());
        QCOMPARE(formatOfFile(u"report.HTM"_s), ReportFormat::Html);
        QVERIFY(!formatOfWord(u"") && !formatOfWord(u"doc") && !formatOfFile(u"report"_s));

        QStringList words = formatWords();
        words.removeOne(formatWord(ReportFormat::Csv)); // logs to import have that format, too
        const QRegularExpression list(u"\"(%1)\"|make\\w+Writer\\("_s.arg(words.join(u'|')));
        for (const QString &folder : {u"/src"_s, u"/tools"_s})
            for (QDirIterator it(qEnvironmentVariable("QM_SOURCE_DIR") + folder, {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                                 QDirIterator::Subdirectories);
                 it.hasNext();) {
                const QString file = it.next();
                if (QString::fromUtf8(bytesOf(file)).contains(list))
                    QVERIFY2(file.endsWith(u"/ReportFormat.h"_s) || file.endsWith(u"Writer.cpp"_s), qPrintable(file));
            }
    }

    void everyTextArrivesInEveryFormat_data()
    {
        QTest::addColumn<QString>("format");
        for (const char *format : {"csv", "html", "xlsx"})
            QTest::newRow(format) << QString::fromLatin1(format);
    }

    void everyTextArrivesInEveryFormat()
    {
        QFETCH(QString, format);
        const std::vector<Hostile> texts = hostileTexts();
        Rows rows;
        for (const Hostile &hostile : texts) {
            // Each text stands in two columns, so that one cell can be seen to end where the next begins.
            rows.push_back({Value::ofText(hostile.name), Value::ofText(hostile.text), Value::ofText(hostile.text)});
        }
        std::string lines;
        for (int i = 0; i < 800; ++i)
            lines += "line \"" + std::to_string(i) + "\" <of> a long message\n";
        rows.push_back({Value::ofText("long"), Value::ofText(lines), Value::ofText("\xFF\x00\x7F")});
        write(format, std::vector{column("name", ColumnType::Text), column("text", ColumnType::Text), column("again", ColumnType::Text)},
              rows);

        const QJsonArray found = rowsIn(format);
        QCOMPARE(found.size(), static_cast<qsizetype>(rows.size()));
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const std::string &special = format == u"xlsx"_s ? texts[i].xlsx : format == u"html"_s ? texts[i].html : texts[i].csv;
            const QString expected = text(special.empty() ? texts[i].text : special);
            const auto row = static_cast<qsizetype>(i);
            QVERIFY2(cellText(found, row, 0) == text(texts[i].name), texts[i].name);
            QVERIFY2(cellText(found, row, 1) == expected, qPrintable(text(texts[i].name) + u": "_s + cellText(found, row, 1)));
            QVERIFY2(cellText(found, row, 2) == expected, texts[i].name);
        }
        QCOMPARE(cellText(found, found.size() - 1, 1), text(lines));
    }

    void runsOfEveryLengthArrive()
    {
        const std::vector<std::string> texts = runLengths();
        Rows rows;
        for (const std::string &run : texts)
            rows.push_back({Value::ofText(run), Value::of(std::int64_t{1})});
        const std::vector columns{column("run", ColumnType::Text), column("one", ColumnType::Integer)};
        for (const QString &format : {u"csv"_s, u"html"_s, u"xlsx"_s}) {
            write(format, columns, rows);
            const QJsonArray found = rowsIn(format);
            QCOMPARE(found.size(), static_cast<qsizetype>(texts.size()));
            for (std::size_t i = 0; i < texts.size(); ++i)
                QCOMPARE(cellText(found, static_cast<qsizetype>(i), 0), text(texts[i]));
        }
    }

    void numbersAndDatesAreThoseOfTheirFormatUnderAnyLocale_data()
    {
        QTest::addColumn<bool>("german");
        QTest::newRow("C") << false;
        QTest::newRow("de_DE") << true;
    }

    void numbersAndDatesAreThoseOfTheirFormatUnderAnyLocale()
    {
        QFETCH(bool, german);
        if (german && !useGerman())
            QSKIP("the locale de_DE cannot be made here");
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
            {Value::of(std::int64_t{9007199254740993}), Value::of(0.1), Value::of(2.675), Value::ofText("1900-03-01"),
             Value::ofText("maybe"), Value::ofText("text")},
        };
        for (const char *format : {"csv", "html", "xlsx"})
            write(QString::fromLatin1(format), columns, rows);
        QCOMPARE(bytes(u"csv"_s), QByteArray("id,ratio,amount,time,flag,bytes\r\n"
                                             "9007199254740992,1.5,1234567.891,2026-03-05 14:05:37.250,1,00ff10\r\n"
                                             "-9223372036854775808,NaN,Infinity,1900-02-28 00:00:00,0,\"\"\r\n"
                                             ",-1e-300,-0.004,not a time,,\r\n"
                                             "9007199254740993,0.1,2.675,1900-03-01,maybe,text\r\n"));
        const QByteArray page = bytes(u"html"_s);
        QVERIFY(page.contains("<tr><td>9007199254740992</td><td>1.5</td><td>1,234,567.89</td><td>2026-03-05 "
                              "14:05:37</td><td>Yes</td><td>0x00ff10</td></tr>"));
        QVERIFY(page.contains(
            "<tr><td>\u22129223372036854775808</td><td>NaN</td><td>Infinity</td><td>1900-02-28 00:00:00</td><td>No</td><td>0x</td></tr>"));
        QVERIFY(page.contains(
            "<tr><td class=\"null\">\u2013</td><td>\u22121e\u2212300</td><td>0.00</td><td>not a time</td><td class=\"null\">\u2013</td>"));
        QVERIFY(page.contains("<td>2.68</td><td>1900-03-01</td><td>maybe</td><td>text</td></tr>"));

        const QJsonObject sheet = read(u"xlsx"_s)[u"sheets"_s].toArray().at(0).toObject();
        const QJsonArray cells = sheet[u"rows"_s].toArray();
        const QJsonObject time{{u"datetime"_s, u"2026-03-05 14:05:37.250"_s}};
        QCOMPARE(cells.at(4).toArray(), (QJsonArray{9007199254740992.0, 1.5, 1234567.891, time, true, u"0x00ff10"_s}));
        QCOMPARE(cells.at(5).toArray(),
                 (QJsonArray{u"-9223372036854775808"_s, u"NaN"_s, u"Infinity"_s, u"1900-02-28 00:00:00"_s, false, u"0x"_s}));
        QCOMPARE(cells.at(6).toArray(),
                 (QJsonArray{QJsonValue::Null, -1e-300, -0.004, u"not a time"_s, QJsonValue::Null, QJsonValue::Null}));
        const QJsonObject first{{u"datetime"_s, u"1900-03-01 00:00:00.000"_s}};
        QCOMPARE(cells.at(7).toArray(), (QJsonArray{u"9007199254740993"_s, 0.1, 2.675, first, u"maybe"_s, u"text"_s}));
        QCOMPARE(sheet[u"formats"_s].toArray().at(2).toString(), u"#,##0.00"_s);
        QCOMPARE(sheet[u"freeze"_s].toString(), u"A5"_s);
        QCOMPARE(sheet[u"filter"_s].toString(), u"A4:F8"_s);
        QCOMPARE(sheet[u"footer"_s].toString(), u"Page &P of &N && more"_s);
    }

    void csvTellsNullFromEmptyText()
    {
        write(u"csv"_s, std::vector{column("ID", ColumnType::Text), column("b", ColumnType::Text)},
              {{Value::ofNull(), Value::ofText("")}, {Value::ofText("\u00FC"), Value::ofNull()}});
        QCOMPARE(bytes(u"csv"_s), QByteArray("\"ID\",b\r\n,\"\"\r\n\u00FC,\r\n"));
        write(u"csv"_s, std::vector{column("a", ColumnType::Text)}, {{Value::ofText("x")}}, {}, someHead(), {true, false});
        QCOMPARE(bytes(u"csv"_s), QByteArray("\xEF\xBB\xBF"
                                             "a\r\nx\r\n"));
        // A lone NULL would be an empty line, which readers take for no row at all.
        write(u"csv"_s, std::vector{column("a", ColumnType::Text)}, {{Value::ofNull()}, {Value::ofText("x")}});
        QCOMPARE(bytes(u"csv"_s), QByteArray("a\r\n\"\"\r\nx\r\n"));
    }

    void csvGuardsFormulasButNotNumbers_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("expected"); ///< with an apostrophe where a formula would begin
        for (const char *formula : {"=1+1", "-5+cmd", "+A1", "@SUM(A1)", "\tx", "\rx", "  =1", "\u00A0=1", "\uFF1D1+1", "\uFEFF=1", "-",
                                    "-2-3", "--5", "=\"a,b\""})
            QTest::newRow(formula) << QString::fromUtf8(formula) << u'\'' + QString::fromUtf8(formula);
        for (const char *harmless : {"-5", "+49301234567", "-0.25", "a=b", "", " ", "x-1", "'=1", "12", "x,=1", "1;-5", "a;b=c", "a\nb"})
            QTest::newRow(harmless) << QString::fromUtf8(harmless) << QString::fromUtf8(harmless);
        // Where the list separator is not the comma, a cell begins inside.
        QTest::newRow("semicolon") << u"text;=cmd|' /C calc'!A0"_s << u"text;'=cmd|' /C calc'!A0"_s;
        QTest::newRow("tab") << u"text\t@SUM(A1)"_s << u"text\t'@SUM(A1)"_s;
        QTest::newRow("line break") << u"text\r\n+A1;2"_s << u"text\r\n'+A1;2"_s;
        QTest::newRow("blank and quote") << u"x; \"=1+1;y"_s << u"x;' \"=1+1;y"_s;
        QTest::newRow("several") << u"=1;-5;=2;-5-1"_s << u"'=1;-5;'=2;'-5-1"_s;
        QTest::newRow("full width") << u"x;\uFF1D1"_s << u"x;'\uFF1D1"_s;
    }

    void csvGuardsFormulasButNotNumbers()
    {
        QFETCH(QString, given);
        QFETCH(QString, expected);
        const std::string value = given.toStdString();
        write(u"csv"_s, std::vector{column("a", ColumnType::Text), column("b", ColumnType::Integer)},
              {{Value::ofText(value), Value::of(std::int64_t{-5})}}, {}, someHead(), {false, true});
        const QJsonArray row = read(u"csv"_s)[u"rows"_s].toArray().at(0).toArray();
        QCOMPARE(row.at(0).toString(), expected);
        QCOMPARE(row.at(1).toString(), u"-5"_s);
    }

    void htmlIsOneSafePage()
    {
        ReportHead head = someHead();
        head.header.left = "</style><script>x\u202E\"\\\n{page}";
        head.facts.push_back({Fact::Kind::Parameter, "Filter", "</title><img src=x onerror=y>"});
        const std::string hostile = "<img src=http://example.org/x onerror=alert(1)><style>*{}</style>\" onclick=\"x";
        ReportColumn named = column("a", ColumnType::Text);
        named.caption = hostile;
        write(u"html"_s, std::vector{named}, {{Value::ofText(hostile)}}, {}, head);
        const QJsonObject page = read(u"html"_s);
        QVERIFY(page[u"doctype"_s].toBool());
        QVERIFY(page[u"policyFits"_s].toBool());
        QVERIFY(page[u"policy"_s].toString().startsWith(u"default-src 'none'; "_s));
        QCOMPARE(page[u"language"_s].toString(), u"en"_s);
        QCOMPARE(page[u"title"_s].toString(), u"Logons <b>& more</b>"_s);
        QCOMPARE(page[u"header"_s].toArray().at(0).toString(), text(hostile));
        QVERIFY(page[u"errors"_s].toArray().isEmpty());
        QVERIFY(page[u"open"_s].toArray().isEmpty());
        QCOMPARE(page[u"facts"_s][u"Filter"_s].toString(), u"</title><img src=x onerror=y>"_s);
        const QJsonObject elements = page[u"elements"_s].toObject();
        for (const char *foreign : {"script", "img", "a", "b", "link"})
            QVERIFY2(!elements.contains(QLatin1String(foreign)), foreign);
        QCOMPARE(elements[u"style"_s].toInt(), 1);
        for (const QJsonValue &attribute : page[u"attributes"_s].toArray())
            QVERIFY(!attribute.toString().contains(u".on"_s) && !attribute.toString().endsWith(u".style"_s));
        QVERIFY(page[u"style"_s].toString().contains(u"counter(page)"_s));
    }

    void htmlStyleIsOfItsOwnColumnsAndPages()
    {
        std::vector columns{column("a", ColumnType::Text), column("b", ColumnType::Integer), column("c", ColumnType::Text)};
        columns[1].alignment = CellAlignment::Right;
        columns[2].alignment = CellAlignment::Centre;
        write(u"html"_s, columns, {});
        const QString style = read(u"html"_s)[u"style"_s].toString();
        QVERIFY(!style.contains(u"td:nth-child(1){text-align"_s));
        QVERIFY(style.contains(u"td:nth-child(2){text-align:right"_s) && style.contains(u"td:nth-child(3){text-align:center"_s));
        QVERIFY2(style.contains(u"@bottom-right{font-size:7pt;color:#4a5563;content:\"Page \" counter(page) \" of \" counter(pages) \" "_s),
                 qPrintable(style));
    }

    void workbookFiltersReachTheLastColumn()
    {
        for (const auto &[count, last] : {std::pair{26, u"Z"_s}, {27, u"AA"_s}, {52, u"AZ"_s}, {53, u"BA"_s}, {703, u"AAA"_s}}) {
            const std::vector columns(static_cast<std::size_t>(count), column("n", ColumnType::Integer));
            write(u"xlsx"_s, columns, {std::vector<Value>(columns.size(), Value::of(std::int64_t{1}))});
            QCOMPARE(read(u"xlsx"_s)[u"sheets"_s].toArray().at(0)[u"filter"_s].toString(), u"A4:"_s + last + u'5');
        }
    }

    void statedRowsAreCountedRows_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("stated");
        QTest::newRow("none") << 0 << 0 << u"0 rows"_s;
        QTest::newRow("one") << 1 << 0 << u"1 row"_s;
        QTest::newRow("many") << 12345 << 0 << u"12,345 rows"_s;
        QTest::newRow("cut off") << 1000 << 1000 << u"Only the first 1,000 rows: the limit of 1,000 rows cut off the rest."_s;
    }

    void statedRowsAreCountedRows()
    {
        QFETCH(int, rows);
        QFETCH(int, limit);
        QFETCH(QString, stated);
        const Rows all(static_cast<std::size_t>(rows), {Value::of(std::int64_t{7})});
        const std::vector columns{column("seven", ColumnType::Integer)};
        const ReportTail tail{rows, limit > 0, limit};
        ReportHead head = someHead();
        head.facts.push_back({Fact::Kind::Parameter, "Made", "in Ulm"});
        head.facts.push_back({Fact::Kind::Made, "Made", "now"});
        write(u"html"_s, columns, all, tail, head);
        const QJsonObject page = read(u"html"_s);
        QCOMPARE(page[u"facts"_s][u"Rows"_s].toString(), stated);
        QCOMPARE(page[u"rows"_s].toArray().size(), rows);
        const QString words = page[u"text"_s].toString();
        QCOMPARE(words.contains(u"No rows"_s), rows == 0);
        QCOMPARE(words.simplified().contains(u"; Made in Ulm ."_s), rows == 0); // what was asked for, whatever it is called
        QCOMPARE(words.contains(u"not complete"_s), limit > 0);

        write(u"xlsx"_s, columns, all, tail);
        const QJsonArray sheets = read(u"xlsx"_s)[u"sheets"_s].toArray();
        QCOMPARE(sheets.at(0)[u"rows"_s].toArray().size(), rows + 4);
        const QString summary = cellText(sheets.at(0)[u"rows"_s].toArray(), 2, 0);
        QVERIFY2(summary.contains(rows == 0 ? u"No rows"_s : stated), qPrintable(summary));
        const QString about = QString::fromUtf8(QJsonDocument(sheets.at(1)[u"rows"_s].toArray()).toJson());
        QVERIFY(about.contains(u"last week <&>"_s));
        QCOMPARE(about.contains(u"Not complete"_s), limit > 0);
    }

    void workbookCutsWhatACellCannotHold()
    {
        const std::string fits(32767, 'a'), tooLong(34321, 'b');
        std::string faces, justFits;
        for (int i = 0; i < 17000; ++i)
            faces += "\U0001F600"; // two units each
        for (int i = 0; i < 16383; ++i)
            justFits += "\U0001F600";
        const std::string blob(20000, '\x5A');
        const QString cut = write(
            u"xlsx"_s, std::vector{column("text", ColumnType::Text)},
            {{Value::ofText(fits)}, {Value::ofText(tooLong)}, {Value::ofText(faces)}, {Value::ofText(justFits)}, {Value::ofBlob(blob)}});
        QCOMPARE(cut, u"3"_s);
        const QJsonObject book = read(u"xlsx"_s);
        const QJsonArray cells = book[u"sheets"_s].toArray().at(0)[u"rows"_s].toArray();
        QCOMPARE(cellText(cells, 4, 0), text(fits));
        QCOMPARE(cellText(cells, 5, 0).size(), 32767);
        QVERIFY(cellText(cells, 5, 0).endsWith(u"bbb\u2026 [cut: 34,321 characters in all]"_s));
        const QString cutFaces = cellText(cells, 6, 0);
        QVERIFY(cutFaces.size() <= 32767 && cutFaces.size() >= 32766);
        QVERIFY(cutFaces.endsWith(u"\U0001F600\u2026 [cut: 34,000 characters in all]"_s));
        QCOMPARE(cellText(cells, 7, 0), text(justFits));
        QVERIFY(cellText(cells, 8, 0).endsWith(u"5a\u2026 [cut: 20,000 bytes in all]"_s));
        QVERIFY(QJsonDocument(book[u"sheets"_s].toArray().at(1)[u"rows"_s].toArray()).toJson().contains("3 cells were"));
    }

    void workbookContinuesOnANewSheet()
    {
        // One sheet holds 1,048,576 rows, four of them headings here.
        constexpr std::int64_t kRows = 1048572 + 2;
        {
            OutputFile file(path(u"xlsx"_s));
            const auto writer = makeXlsxWriter(file, {});
            writer->begin(someHead(), {.columns = {column("n", ColumnType::Integer)}}, {});
            for (std::int64_t i = 1; i <= kRows; ++i)
                writer->row(std::vector{Value::of(i)});
            writer->end({kRows, false, 0});
            QCOMPARE(writer->notes().sheets, 2);
            file.commit();
        }
        QCOMPARE(outputOf(m_python, {u"-c"_s,
                                     u"import re,sys,zipfile\n"
                                     "z=zipfile.ZipFile(sys.argv[1])\n"
                                     "for n in (1,2):\n"
                                     " x=z.read(f'xl/worksheets/sheet{n}.xml').decode()\n"
                                     " v=re.findall('<c s=\"[0-9]+\"><v>(\\\\d+)',x)\n"
                                     " print(x.count('</row>'),v[0],v[-1],re.search('autoFilter ref=\"([^\"]*)',x)[1])\n"
                                     "print(re.findall('sheet name=\"([^\"]*)',z.read('xl/workbook.xml').decode()))"_s,
                                     path(u"xlsx"_s)}),
                 QByteArray("1048576 1 1048572 A4:A1048576\n6 1048573 1048574 A4:A6\n"
                            "['Logons &lt;b&gt;&amp; more&lt; b&gt;', 'Logons &lt;b&gt;&amp; more&lt; b&gt; (2)', 'About this report']\n"));
    }

    void workbookSheetNamesFollowTheRules_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << u"Failed logons"_s << u"Failed logons"_s;
        QTest::newRow("forbidden") << u"a[b]c:d*e?f/g\\h"_s << u"a b c d e f g h"_s;
        QTest::newRow("long") << QString(40, u'x') << QString(31, u'x');
        QTest::newRow("pair at the cut") << QString(30, u'x') + u"\U0001F600"_s << QString(30, u'x');
        QTest::newRow("apostrophes") << u"'It's'"_s << u"It's"_s;
        QTest::newRow("reference") << u"O'Brien & Ann's"_s << u"O'Brien & Ann's"_s;
        QTest::newRow("reserved") << u"HISTORY"_s << u"HISTORY report"_s;
        QTest::newRow("taken") << u"about THIS report"_s << u"about THIS report (2)"_s;
        QTest::newRow("nothing left") << u"[]?"_s << u"Report"_s;
    }

    void workbookSheetNamesFollowTheRules()
    {
        QFETCH(QString, title);
        QFETCH(QString, name);
        ReportHead head;
        head.title = title.toStdString();
        write(u"xlsx"_s, std::vector{column("a", ColumnType::Text)}, {{Value::ofText("x")}}, {}, head);
        const QJsonObject book = read(u"xlsx"_s);
        QCOMPARE(book[u"sheets"_s].toArray().at(0)[u"name"_s].toString(), name);
        // A name in a reference stands in apostrophes, its own ones doubled.
        QVERIFY(book[u"names"_s].toArray().contains(u'\'' + QString(name).replace(u"'"_s, u"''"_s) + u"'!$3:$3"_s));
        QVERIFY(!book[u"properties"_s].toString().contains(u"creator"_s));
        QCOMPARE(book[u"title"_s].toString(), title);
    }

private:
    using Rows = std::vector<std::vector<Value>>;
    QString write(const QString &format, std::span<const ReportColumn> columns, const Rows &rows, ReportTail tail = {},
                  const ReportHead &head = someHead(), const CsvOptions &options = {}) const
    {
        OutputFile file(path(format));
        const auto writer = makeWriter(formatOfWord(format).value(), file, {.csv = options});
        writer->begin(head, {.columns = {columns.begin(), columns.end()}}, {});
        for (const std::vector<Value> &row : rows)
            writer->row(row);
        tail.rows = tail.rows == 0 ? static_cast<std::int64_t>(rows.size()) : tail.rows;
        writer->end(tail);
        file.commit();
        return QString::number(writer->notes().cellsCut);
    }

    QString path(const QString &format) const { return m_folder.filePath(u"report."_s + format); }
    QByteArray bytes(const QString &format) const { return bytesOf(path(format)); }

    /// The rows below the headings.
    QJsonArray rowsIn(const QString &format) const
    {
        const QJsonObject report = read(format);
        if (format != u"xlsx"_s)
            return report[u"rows"_s].toArray();
        QJsonArray found = report[u"sheets"_s].toArray().at(0)[u"rows"_s].toArray();
        for (int heading = 4; heading > 0; --heading)
            found.removeFirst();
        return found;
    }
    QJsonObject read(const QString &format) const { return readBack(m_python, format, path(format)); }
    [[nodiscard]] bool useGerman()
    {
        // The locale is made here, so that the test does not depend on what the machine has.
        const QString made = m_folder.filePath(u"de_DE.UTF-8"_s);
        (void)outputOf(u"localedef"_s, {u"-i"_s, u"de_DE"_s, u"-f"_s, u"UTF-8"_s, made});
        qputenv("LOCPATH", m_folder.path().toLocal8Bit());
        return std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr && std::string(std::localeconv()->decimal_point) == ",";
    }

    QTemporaryDir m_folder;
    QString m_python;
};

QTEST_GUILESS_MAIN(ReportFormatsTest)
#include "report_formats_test.moc"
