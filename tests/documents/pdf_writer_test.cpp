// Reports as PDF, read back by programs that are not ours: pdftotext and pdfinfo (Poppler), qpdf.
#include "documents/PdfReadBack.h"
#include "documents/Writers.h"
#include "support/ErrorOf.h"
#include "support/FileBytes.h"
#include "support/System.h"

#include <QDir>
#include <QTemporaryDir>

#include <map>
#include <set>

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

ReportColumn column(const char *caption, double widthMm, CellAlignment alignment = CellAlignment::Left)
{
    ReportColumn made;
    made.caption = caption;
    made.widthMm = widthMm;
    made.alignment = alignment;
    return made;
}

/// What pdftotext gives back of right-to-left text: the words of a line from left to right, but each word in reading order.
constexpr char kEachWord[] = "each word by itself";

QString shippedFonts()
{
    return qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s;
}

} // namespace

class PdfWriterTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    WriterNotes m_notes;

    QString write(Report &report, const QString &name = u"report.pdf"_qs, const QString &fonts = shippedFonts())
    {
        const QString path = m_folder.filePath(name);
        OutputFile file(path);
        const auto writer = makePdfWriter(file, {.fontFolder = fonts});
        writer->begin(report.head, {.columns = report.columns}, {});
        std::vector<Value> values;
        for (const Cells &row : report.rows) {
            values.clear();
            for (const std::string &cell : row)
                values.push_back(cell == "NULL" ? Value::ofNull() : Value::ofText(cell));
            writer->row(values);
        }
        report.tail.rows = static_cast<std::int64_t>(report.rows.size());
        writer->end(report.tail);
        m_notes = writer->notes();
        file.commit();
        return path;
    }

    static Report numbered(int rows)
    {
        Report report;
        report.head.title = "Numbered rows";
        report.head.facts = {{Fact::Kind::Package, "Package", "Server"}, {Fact::Kind::Period, "Period", "last week"}};
        report.head.header = {"Numbered rows", "", "last week"};
        report.head.footer = {"Server", "", "Page {page} of {pages}"};
        report.columns = {column("Record", 20, CellAlignment::Right), column("Message", 100), column("User", 30)};
        for (int i = 1; i <= rows; ++i)
            report.rows.push_back({std::to_string(i) + "#", "An account failed to log on.", "user" + std::to_string(i % 7)});
        return report;
    }

    /// Writes a configuration of the system's fonts. \returns its path.
    QByteArray fontConfiguration(const QString &name, const QByteArray &folders) const
    {
        const QString path = m_folder.filePath(name);
        writeBytes(path, "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig>" + folders + "</fontconfig>");
        return QFile::encodeName(path);
    }

    static void checkStructure(const QString &path)
    {
        const HostResult checked = runHost(u"qpdf"_qs, {u"--check"_qs, path});
        QVERIFY2(checked.code == 0, (checked.out + checked.err).constData());
        // qpdf does not read the pages' operators; pdftotext complains of bad ones.
        const HostResult text = runHost(u"pdftotext"_qs, {path, u"/dev/null"_qs});
        QVERIFY2(text.err.isEmpty(), text.err.constData());
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &tool : {u"pdftotext"_qs, u"pdfinfo"_qs, u"qpdf"_qs})
            if (!hostHas(tool))
                QSKIP("needs pdftotext, pdfinfo and qpdf (packages poppler-utils and qpdf)");
        // The fonts of the machine must not decide what the tests see.
        qputenv("FONTCONFIG_FILE", fontConfiguration(u"empty.conf"_qs, {}));
    }

    void aFirstRowTooTallForTheFirstPageGoesToTheNext()
    {
        std::int64_t most = 0;
        for (int sentences = 100; sentences <= 400; sentences += 25) {
            Report report = numbered(2);
            report.rows[0][1] = QByteArray("An account failed to log on. ").repeated(sentences).toStdString();
            checkStructure(write(report));
            most = std::max(most, m_notes.pages);
        }
        QVERIFY(most > 1);
    }

    void a_cell_is_read_back_as_it_was_data()
    {
        QTest::addColumn<std::string>("cell");
        QTest::addColumn<std::string>("expected"); ///< empty: the cell itself
        QTest::addColumn<int>("missing");
        const auto add = [](const char *name, const std::string &cell, const std::string &expected = {}, int missing = 0) {
            QTest::newRow(name) << cell << expected << missing;
        };
        std::string manyLetters;
        for (char32_t c = 0x100; c < 0x250; ++c) // more than one font of one-byte codes holds
            manyLetters += QString::fromUcs4(&c, 1).toStdString();
        std::string wholeAscii;
        for (char c = '!'; c <= '~'; ++c)
            wholeAscii += c;
        add("ASCII", wholeAscii + " " + wholeAscii);
        add("string syntax", "<script>alert(1)</script> (((\\)) \\n \\\\ << /Name >> [x] % {pages}");
        add("European scripts", "Größenänderung Çà Ωμέγα Привет мир Žluťoučký");
        add("336 letters", manyLetters);
        add("ligatures stay letters", "configured office fluffy fjord");
        add("Chinese over lines", QString(u"系统日志：用户登录失败，请检查帐户名称和密码。"_qs).repeated(12).toStdString());
        add("combining marks", "Z\u0351\u0353 x\u0338");
        add("emoji", "ok 😀 ✔ done");
        add("sequence without a font", "a 👨‍👩‍👧 b", {}, 3);
        add("private character", "a\uE123\uE124b", {}, 2);
        add("line breaks and tabs", "Subject:\r\n\tAccount Name:\t\tJohn\r\n\r\nLogon Type:\t3\r\n");
        add("controls", std::string("\x02 a\0b\x01\x1b[31mred\x7f\u0085end", 20), "[STX] a[NUL]b[SOH][ESC][31mred[DEL][U+0085]end");
        add("direction controls", "invoice\u202Egpj.exe \u2066x\u2069", "invoice[U+202E]gpj.exe [U+2066]x[U+2069]");
        add("hidden separators", "zero\u200Bwidth\uFEFF", "zero[U+200B]width[U+FEFF]");
        add("invalid UTF-8", "bad \xFF bytes \xC3( \xED\xA0\x80 end", "bad \uFFFD bytes \uFFFD( \uFFFD\uFFFD\uFFFD end");
        add("word wider than the column", std::string(900, 'W') + " end");
        add("Arabic ligatures", "ليملأ الأسطر لا إله", kEachWord);
        add("Hebrew with points", "שלום שָׁלוֹם עולם", kEachWord);
        add("mixed directions", "User محمد logged on at 10:30 from שרת", kEachWord);
        add("34,000 characters", QString(u"Der Dienst wurde beendet; "_qs).repeated(1307).toStdString());
    }

    void a_cell_is_read_back_as_it_was()
    {
        QFETCH(std::string, cell);
        QFETCH(std::string, expected);
        QFETCH(int, missing);
        Report report;
        report.columns = {column("Text", 100)};
        report.columns[0].caption.clear();
        report.rows = {{cell}};
        const QString path = write(report);
        checkStructure(path);
        QString text = textOf(path);
        static const QRegularExpression kOwnWords(
            u"\\(continued (on|from) the (next|previous) page\\)|Rows|1, all shown|on \\d+ pages?|, notice on page \\d+|Page \\d+ of \\d+"_qs);
        text.remove(kOwnWords);
        text = squeezed(text.normalized(QString::NormalizationForm_C));
        const QString wanted =
            QString::fromUtf8(expected.empty() || expected == kEachWord ? cell : expected).normalized(QString::NormalizationForm_C);
        for (const QString &part : expected == kEachWord ? wanted.split(u' ') : QStringList(wanted))
            QVERIFY2(text.contains(squeezed(part)), qPrintable(part + u" in "_qs + text));
        QCOMPARE(m_notes.missingGlyphs, missing);
    }

    void right_to_left_text_stands_on_the_right_in_visual_order()
    {
        Report report;
        report.columns = {column("", 100), column("", 100)};
        report.rows = {{"first שלום עולם last", ""}, {QString(u"שלום "_qs).repeated(60).toStdString(), ""}, {"שלום, report.txt", ""}};
        const std::vector<Word> all = words(write(report));
        const auto at = [&](const QString &text) {
            const auto found = std::find_if(all.begin(), all.end(), [&](const Word &word) { return word.text == text; });
            return found == all.end() ? Word{} : *found;
        };
        // Here pdftotext gives the letters from left to right, as they stand: Hebrew words read backwards.
        const QString peace = u"םולש"_qs, world = u"םלוע"_qs;
        // In a left-to-right sentence the second Hebrew word stands left of the first.
        QVERIFY(at(u"first"_qs).left > 0);
        QVERIFY(at(u"first"_qs).right < at(world).left);
        QVERIFY(at(world).right < at(peace).left);
        QVERIFY(at(peace).right < at(u"last"_qs).left);
        // In a right-to-left one the Latin word comes last: leftmost.
        const Word latin = at(u"report.txt"_qs);
        QVERIFY(latin.left > 300);
        QVERIFY(latin.right < at(u","_qs + peace).left);
        // Its lines all end at the right edge of the cell, where the next column begins.
        std::map<double, double> ends;
        for (const Word &word : all)
            if (word.text.endsWith(peace) && word.top > at(u"first"_qs).top)
                ends[word.top] = std::max(ends[word.top], word.right);
        QVERIFY(ends.size() >= 4);
        for (const auto &[top, right] : ends)
            QVERIFY(qAbs(right - (421 - 6)) < 0.3);
    }

    void rows_and_pages_are_stated_as_they_are_data()
    {
        QTest::addColumn<int>("rows");
        for (const int rows : {0, 1, 45, 10000})
            QTest::addRow("%d", rows) << rows;
    }

    void rows_and_pages_are_stated_as_they_are()
    {
        QFETCH(int, rows);
        Report report = numbered(rows);
        const QString path = write(report);
        checkStructure(path);
        const int pages = information(path, u"Pages"_qs).toInt();
        QCOMPARE(m_notes.pages, pages);
        const QLocale english(QLocale::English);
        const QString stated = english.toString(rows) + (rows == 0 ? QString() : u", all shown"_qs) + u"\non "_qs +
                               english.toString(pages) + (pages == 1 ? u" page\n"_qs : u" pages\n"_qs);
        QVERIFY2(textOf(path, 1, 1).contains(stated), qPrintable(stated));

        const QString text = textOf(path);
        QCOMPARE(text.count(u"Record Message User"_qs), rows == 0 ? 0 : pages);
        for (int page = 1; page <= pages; ++page)
            QVERIFY(text.contains(u"Page %1 of %2\n"_qs.arg(page).arg(pages)));
        // However many digits the number of pages turned out to have, it ends at the right margin.
        int placed = 0;
        for (const Word &word : words(path))
            placed += word.top > 550 && word.text == QString::number(pages) && qAbs(word.right - (841.9 - 34)) < 0.3;
        QCOMPARE(placed, pages);
        QCOMPARE(text.contains(u"No rows\nThe query found nothing for this report. It was asked for:\nPeriod: last week\n"_qs), rows == 0);
        int next = 1;
        static const QRegularExpression kNumber(u"(\\d+)# An account failed to log on. user(\\d)"_qs);
        for (auto it = kNumber.globalMatch(text); it.hasNext(); ++next)
            QCOMPARE(it.next().captured(1).toInt(), next);
        QCOMPARE(next - 1, rows);
    }

    void a_row_limit_is_stated_on_the_first_and_the_last_page()
    {
        Report report = numbered(300);
        report.tail.truncated = true;
        report.tail.rowLimit = 300;
        const QString path = write(report);
        const QString notice = u"Only the first 300 rows: the limit of 300 rows cut off the rest."_qs;
        const int pages = information(path, u"Pages"_qs).toInt();
        QVERIFY(pages > 2);
        QVERIFY(textOf(path, 1, 1).contains(notice));
        QVERIFY(!textOf(path, 2, pages - 1).contains(notice));
        QVERIFY(textOf(path, pages, pages).contains(notice));
    }

    void notices_stay_above_the_footer()
    {
        static const QRegularExpression kNotice(u"^(limit|continued|\\(continued)$"_qs);
        int seen = 0;
        for (int rows = 1; rows <= 46; ++rows) {
            Report report = numbered(rows);
            report.tail.truncated = true;
            report.tail.rowLimit = rows;
            report.rows.push_back(report.rows.back());
            report.rows.back()[1] = QString(u"taller than a page\n"_qs).repeated(rows % 2 == 0 ? 70 : 1).toStdString();
            for (const Word &word : words(write(report))) {
                if (!kNotice.match(word.text).hasMatch())
                    continue;
                ++seen;
                QVERIFY2(word.bottom < 595.3 - 34 - 14, qPrintable(u"%1 rows: \"%2\" at %3"_qs.arg(rows).arg(word.text).arg(word.bottom)));
            }
        }
        QVERIFY(seen > 46);
    }

    void a_cut_heading_says_so()
    {
        const std::string endless = QString(u"endless heading "_qs).repeated(200).toStdString();
        Report report = numbered(1);
        report.head.title = report.head.subtitle = report.columns[1].caption = endless;
        report.head.facts = {{Fact::Kind::Package, "Package", endless}};
        QCOMPARE(textOf(write(report)).count(u'…'), 4);
    }

    void line_breaks_in_a_cell_break_it_once()
    {
        for (const char *const word : {"second", "\u05E9\u05DC\u05D5\u05DD"}) { // plain text and what needs shaping
            Report report = numbered(1);
            report.rows[0][1] = std::string("first\r\n") + word + "\nthird\rfourth\nfifth";
            std::map<QString, double> top;
            for (const Word &each : words(write(report)))
                top.emplace(each.text, each.top);
            const double line = (top[u"fifth"_qs] - top[u"first"_qs]) / 4;
            QVERIFY2(line > 8 && line < 11, qPrintable(QString::number(line)));
            QVERIFY(qAbs(top[u"third"_qs] - top[u"first"_qs] - 2 * line) < 0.5);
        }
    }

    void a_row_taller_than_a_page_goes_on_with_marks()
    {
        Report report = numbered(3);
        for (int i = 0; i < 400; ++i)
            report.rows[1][1] += " line" + std::to_string(i) + "x of an endless message that fills the width of its column quite well";
        const QString path = write(report);
        checkStructure(path);
        const int pages = information(path, u"Pages"_qs).toInt();
        QVERIFY(pages >= 3);
        int next = 0;
        const QString text = textOf(path);
        static const QRegularExpression kLine(u"line(\\d+)x"_qs);
        for (auto it = kLine.globalMatch(text); it.hasNext(); ++next)
            QCOMPARE(it.next().captured(1).toInt(), next);
        QCOMPARE(next, 400);
        QCOMPARE(text.count(u"(continued on the next page)"_qs), pages - 1);
        QCOMPARE(text.count(u"(continued from the previous page)"_qs), pages - 1);
        for (const Word &word : words(path))
            QVERIFY2(word.top > 14 && word.bottom < 595 - 14, qPrintable(word.text));
    }

    void a_row_that_fits_a_page_is_never_split()
    {
        Report report = numbered(200);
        for (std::size_t i = 0; i < report.rows.size(); ++i)
            for (std::size_t line = 0; line < i % 23; ++line)
                report.rows[i][1] += "\nrow" + std::to_string(i + 1) + "#";
        const QString path = write(report);
        std::map<QString, int> pageOf;
        static const QRegularExpression kRow(u"^(?:row)?(\\d+)#$"_qs);
        int seen = 0;
        for (const Word &word : words(path)) {
            const QString row = kRow.match(word.text).captured(1);
            if (row.isEmpty())
                continue;
            ++seen;
            QCOMPARE(pageOf.emplace(row, word.page).first->second, word.page);
            QVERIFY(word.bottom < 595.3 - 34 - 14); // above the footer
        }
        QCOMPARE(pageOf.size(), report.rows.size());
        QVERIFY(seen > 2000);
    }

    void columns_hold_their_places()
    {
        Report report = numbered(60);
        for (std::size_t i = 0; i < report.rows.size(); ++i) {
            report.rows[i][0] = std::string(1 + i % 6, static_cast<char>('1' + i % 9));
            report.rows[i][1] = QString(u"message words that wrap "_qs).repeated(1 + static_cast<int>(i) % 9).toStdString();
            report.rows[i][2] = i % 3 == 0 ? "NULL" : "user";
        }
        report.columns.push_back(column("Short", 20));
        report.columns[3].wrap = false;
        for (Cells &row : report.rows)
            row.push_back("one\r\ntwo three four five six");
        report.rows[7][1] = std::string(400, 'i'); // and one that breaks anywhere
        std::set<int> rightEdges, messageLefts, userLefts, footerEdges;
        double messageRight = 0, shortRight = 0;
        static const QRegularExpression kDigits(u"^\\d+$"_qs), kMessage(u"^(message|words|that|wrap|i+)$"_qs);
        for (const Word &word : words(write(report))) {
            const bool inBody = word.top > 120 && word.bottom < 550;
            if (inBody && kDigits.match(word.text).hasMatch() && word.left < 150)
                rightEdges.insert(qRound(word.right));
            if (inBody && kMessage.match(word.text).hasMatch())
                messageRight = std::max(messageRight, word.right);
            if (inBody && word.text == u"message"_qs && word.left < 140)
                messageLefts.insert(qRound(word.left));
            if (inBody && word.text == u"user"_qs)
                userLefts.insert(qRound(word.left));
            if (inBody && word.text.endsWith(u'…'))
                shortRight = std::max(shortRight, word.right);
            QVERIFY(word.text != u"NULL"_qs);
        }
        QCOMPARE(rightEdges.size(), std::size_t{1});
        QCOMPARE(userLefts.size(), std::size_t{1});
        QCOMPARE(messageLefts.size(), std::size_t{1});
        QVERIFY(*rightEdges.begin() < *messageLefts.begin());
        QVERIFY(messageRight < *userLefts.begin() - 12 + 0.6); // the gap between two columns is 12 points
        QVERIFY(shortRight > 700 && shortRight <= 842 - 34);
    }

    void what_is_drawn_is_the_letter()
    {
        struct Letter
        {
            const char *text;
            double leastWidth, mostWidth, leastHeight, mostHeight; // of the ink, in letter sizes
        };
        // One-byte codes as ASCII and beyond, two-byte codes of a fallback font, shaped glyphs.
        const Letter letters[] = {{"_", .4, .6, 0, .15},     {"|", 0, .2, .8, 1.2},         {".", 0, .25, 0, .25},
                                  {"W", .8, 1.0, .65, .85},  {"\u0174", .8, 1.0, .88, 1.2}, {"\u2014", .8, 1.0, 0, .15},
                                  {"一", .7, 1.1, 0, .25},   {"丨", 0, .3, .7, 1.1},        {"\u0627", 0, .3, .6, .95},
                                  {"\u05D5", 0, .35, .4, .7}};
        Report report;
        report.columns = {column("", 50)};
        for (const Letter &letter : letters)
            report.rows.push_back({letter.text});
        const QString path = write(report);
        const PageImage page(path);
        QVERIFY(page.width > 1000);
        const std::vector<Word> all = words(path);
        for (const Letter &letter : letters) {
            const auto found =
                std::find_if(all.begin(), all.end(), [&](const Word &word) { return word.text == QString::fromUtf8(letter.text); });
            QVERIFY2(found != all.end(), letter.text);
            const QSizeF ink = page.inkOf(*found) / 7.5;
            const QByteArray seen =
                letter.text + QByteArray(" is ") + QByteArray::number(ink.width()) + " x " + QByteArray::number(ink.height());
            QVERIFY2(ink.width() >= letter.leastWidth && ink.width() <= letter.mostWidth, seen.constData());
            QVERIFY2(ink.height() >= letter.leastHeight && ink.height() <= letter.mostHeight, seen.constData());
        }
    }

    void band_texts_never_meet()
    {
        Report report = numbered(1);
        report.head.header = {std::string(300, 'x'), "", "last week"};
        report.head.footer = {std::string(300, 'y'), std::string(300, 'z'), "Page {page} of {pages}"};
        const std::vector<Word> all = words(write(report));
        double leftEnds = 0, rightBegins = 1000, footLeftEnds = 0, centreBegins = 1000, centreEnds = 0, pageBegins = 1000;
        for (const Word &word : all)
            if (word.text.startsWith(u"xx"_qs))
                leftEnds = std::max(leftEnds, word.right);
            else if (word.text == u"last"_qs && word.top < 45)
                rightBegins = word.left;
            else if (word.text.startsWith(u"yy"_qs))
                footLeftEnds = word.right;
            else if (word.text.startsWith(u"zz"_qs))
                std::tie(centreBegins, centreEnds) = std::pair(word.left, word.right);
            else if (word.text == u"Page"_qs)
                pageBegins = word.left;
        QVERIFY(leftEnds > 600 && leftEnds < rightBegins);
        QVERIFY(footLeftEnds > 100 && footLeftEnds < centreBegins);
        QVERIFY(centreEnds > 400 && centreEnds < pageBegins);
    }

    void many_columns_stay_on_the_page()
    {
        Report report;
        report.head.page = {148, 105, 8};
        report.rows.resize(2);
        for (int i = 0; i < 40; ++i) {
            report.columns.push_back(column("Caption", 30));
            report.rows[0].push_back("wide text");
            report.rows[1].push_back(std::to_string(i));
        }
        const QString path = write(report);
        checkStructure(path);
        for (const Word &word : words(path))
            QVERIFY2(word.left > 20 && word.right < 420 - 15, qPrintable(word.text));
    }

    void the_document_says_what_it_is()
    {
        Report report = numbered(1);
        report.head.title = "Größe (Übersicht) \\ 日志";
        const QString path = write(report);
        QCOMPARE(information(path, u"Title"_qs), u"Größe (Übersicht) \\ 日志"_qs);
        const QString fonts = QString::fromUtf8(outputOf(u"pdffonts"_qs, {path}));
        QVERIFY(!fonts.contains(u" no "_qs)); // each embedded, a subset, with a way back to Unicode
        QVERIFY(fonts.contains(u"DroidSansFallback"_qs));
    }

    void the_same_report_gives_the_same_bytes_without_system_fonts()
    {
        Report report = numbered(100);
        report.rows[5][1] = "مرحبا 系统 😀";
        const QByteArray with = qgetenv("FONTCONFIG_FILE");
        qunsetenv("FONTCONFIG_FILE");
        const QByteArray first = bytesOf(write(report));
        qputenv("FONTCONFIG_FILE", with);
        const QByteArray second = bytesOf(write(report));
        QVERIFY(first.size() > 10000);
        QVERIFY(first == second);
    }

    void system_fonts_help_where_the_shipped_ones_end()
    {
        if (onWindows())
            QSKIP("Windows has its fonts registered for the whole computer; the test brings its own by a variable");
        // A system that has the CJK font, and a program folder that lacks it.
        const QDir program(m_folder.filePath(u"program"_qs)), system(m_folder.filePath(u"system"_qs));
        QVERIFY(program.mkpath(u"."_qs) && system.mkpath(u"."_qs));
        for (const QString &name : {u"DejaVuSansCondensed.ttf"_qs, u"DejaVuSansCondensed-Bold.ttf"_qs})
            QVERIFY(QFile::copy(shippedFonts() + u'/' + name, program.filePath(name)));
        QVERIFY(QFile::copy(shippedFonts() + u"/DroidSansFallbackFull.ttf"_qs, system.filePath(u"cjk.ttf"_qs)));
        const QByteArray configuration =
            fontConfiguration(u"system.conf"_qs, "<dir>" + QFile::encodeName(system.path()) + "</dir><cachedir>" +
                                                     QFile::encodeName(m_folder.path()) + "/cache</cachedir>");
        Report report = numbered(1);
        report.rows[0][1] = "系统日志";
        write(report, u"none.pdf"_qs, program.path());
        QCOMPARE(m_notes.missingGlyphs, 4);
        QVERIFY(textOf(m_folder.filePath(u"none.pdf"_qs)).contains(u"系统日志"_qs));
        const QByteArray before = qgetenv("FONTCONFIG_FILE");
        qputenv("FONTCONFIG_FILE", configuration);
        write(report, u"found.pdf"_qs, program.path());
        qputenv("FONTCONFIG_FILE", before);
        QCOMPARE(m_notes.missingGlyphs, 0);
        QVERIFY(textOf(m_folder.filePath(u"found.pdf"_qs)).contains(u"系统日志"_qs));
    }

    void failures_say_what_and_where()
    {
        Report report = numbered(2);
        const RuntimeError error = errorOf([&] { write(report, u"x.pdf"_qs, m_folder.filePath(u"nowhere"_qs)); });
        QCOMPARE(error.number(), err::fileNotFound);
        QVERIFY(error.description().contains(u"nowhere/DejaVuSansCondensed.ttf"_qs));
        QVERIFY(!QFile::exists(m_folder.filePath(u"x.pdf"_qs)));
    }
};

QTEST_GUILESS_MAIN(PdfWriterTest)
#include "pdf_writer_test.moc"
