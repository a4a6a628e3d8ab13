// Reports of the trial installation as PDF on pages of all sizes: every number, date, time and heading word is there in one piece.
#include "documents/CellFormat.h"
#include "documents/PdfReadBack.h"
#include "engine/run/QueryHome.h"
#include "engine/run/ReportEngine.h"
#include "platform/ApplicationLog.h"
#include "support/Fakes.h"
#include "support/ToolRun.h"

#include <QDirIterator>
#include <QTemporaryDir>

#include <map>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(qm::PageSetup)

namespace {

/// Writes a report on a page of another size and notes what must be found on it.
class OnAnotherPage final : public ReportWriter
{
public:
    OnAnotherPage(const QString &path, const PageSetup &page)
        : m_file(path), m_pdf(makePdfWriter(m_file, {.fontFolder = qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s})), m_page(page)
    {
    }

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override
    {
        columns = shape.columns;
        columns.resize(columns.size() - shape.hidden);
        values.resize(columns.size());
        for (const ReportColumn &column : columns)
            m_formatters.emplace_back(column);
        ReportHead changed = head;
        changed.page = m_page;
        ReportShape plain; // what groups say once is not repeated in each row
        plain.columns = shape.columns;
        plain.hidden = shape.hidden;
        m_pdf->begin(changed, plain, sample);
    }
    void row(std::span<const Value> cells) override
    {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            std::string shown;
            m_formatters[i].append(cells[i], shown);
            values[i].append(cells[i].isNull() ? QString() : QString::fromStdString(shown));
        }
        m_pdf->row(cells);
    }
    void end(const ReportTail &tail) override
    {
        ReportTail plain;
        plain.rows = tail.rows;
        m_pdf->end(plain);
        m_file.commit();
        notes = m_pdf->notes();
    }

    std::vector<ReportColumn> columns;
    std::vector<QStringList> values; ///< as they are shown, by column; empty for NULL
    WriterNotes notes;

private:
    OutputFile m_file;
    std::unique_ptr<ReportWriter> m_pdf;
    PageSetup m_page;
    std::vector<CellFormatter> m_formatters;
};

bool neverBroken(ColumnType type)
{
    return type != ColumnType::Text && type != ColumnType::Blob;
}

} // namespace

class ReportColumnsTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    FakeClock m_clock{{QDate(2026, 11, 21), 12 * 3600}};

    /// What the finished file shows: its words, and words that follow each other on a line.
    struct Shown
    {
        std::map<QString, int> words, pairs;
        explicit Shown(const QString &path)
        {
            const std::vector<Word> all = test::words(path);
            for (std::size_t i = 0; i < all.size(); ++i) {
                const QString text = QString(all[i].text).replace(u'\u2212', u'-').replace(u"&lt;"_s, u"<"_s).replace(u"&amp;"_s, u"&"_s);
                ++words[text];
                if (i > 0 && all[i - 1].page == all[i].page && qAbs(all[i - 1].top - all[i].top) < 0.1)
                    ++pairs[all[i - 1].text + u' ' + text];
            }
        }
    };

    std::unique_ptr<OnAnotherPage> write(const QString &queryFile, const PageSetup &page, const QString &path)
    {
        ApplicationLog log(m_folder.path(), u"test"_s);
        auto writer = std::make_unique<OnAnotherPage>(path, page);
        RunOptions options;
        const auto query = std::make_shared<Query>(*readQueryFile(queryFile));
        query->OutputSettings.OutputType = static_cast<int>(OutputKind::Screen);
        options.query = query;
        options.screen = writer.get();
        options.allTime = true;
        ReportEngine({m_folder.path() + u'/', qEnvironmentVariable("QM_BIN_DIR") + u"/fonts"_s, m_clock, log}).run(queryFile, options);
        return writer;
    }

    static void check(const OnAnotherPage &report, const QString &path)
    {
        const Shown shown(path);
        const QString text = textOf(path);
        const bool cards = text.contains(u"Each block is a row."_s);
        std::map<QString, int> expected;
        for (std::size_t i = 0; i < report.columns.size(); ++i) {
            const QString caption = QString::fromStdString(report.columns[i].caption);
            QStringList values = report.values[i];
            values.removeAll(QString());
            const bool saidOnce = !values.isEmpty() && values.size() == report.values[i].size() &&
                                  values.count(values[0]) == values.size() &&
                                  squeezed(text).contains(squeezed(values[0] + u" in all rows"_s));
            if (saidOnce || (values.isEmpty() && text.contains(u"Columns left out"_s)))
                continue;
            for (const QString &word : caption.split(u' ', Qt::SkipEmptyParts)) {
                const int wanted = cards ? static_cast<int>(values.size()) : std::max(1, static_cast<int>(report.notes.pages) - 1);
                const auto found = shown.words.find(word);
                QVERIFY2(found != shown.words.end() && found->second >= wanted, qPrintable(u"heading word \"%1\""_s.arg(word)));
            }
            if (neverBroken(report.columns[i].type))
                for (const QString &value : values)
                    ++expected[value];
        }
        for (const auto &[value, times] : expected) {
            const auto &where = value.contains(u' ') ? shown.pairs : shown.words;
            const auto found = where.find(value);
            QVERIFY2(found != where.end() && found->second >= times, qPrintable(u"\"%1\" %2 times"_s.arg(value).arg(times)));
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!hostHas(u"pdftotext"_s))
            QSKIP("needs pdftotext (package poppler-utils)");
        const ToolResult made =
            runTool("quillmark-trial", {u"--to"_s, m_folder.path(), u"--samples"_s, qEnvironmentVariable("QM_SOURCE_DIR") + u"/samples"_s,
                                        u"--end"_s, u"2026-11-20"_s, u"--rows"_s, u"4000"_s});
        QVERIFY2(made.code == 0, qPrintable(made.err));
    }

    void nothing_is_broken_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<PageSetup>("page");
        const std::vector<std::pair<const char *, PageSetup>> pages{{"A5", {148, 210, 12}},
                                                                    {"A5 landscape", {210, 148, 12}},
                                                                    {"A4", {210, 297, 12}},
                                                                    {"A4 landscape", {297, 210, 12}},
                                                                    {"A3 landscape", {420, 297, 12}}};
        for (const QString &package : {u"Server"_s, u"Mail"_s, u"File"_s}) {
            const QString folder = m_folder.filePath(u"Packages/"_s + package);
            const QString all = m_folder.filePath(package + u".rqn"_s);
            QFile file(all);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("format = 1\ndescription = \"All\"\ndata_source = \"\"\nsql = \"SELECT * FROM " + package.toLower().toUtf8() +
                       "_events ORDER BY id LIMIT 300\"\n");
            file.close();
            const QString home = QDirIterator(folder + u"/Query Groups"_s, QDir::Dirs | QDir::NoDotAndDotDot).next();
            QVERIFY(QFile::rename(all, home + u"/All.rqn"_s));
            for (const auto &[name, page] : pages)
                QTest::addRow("all columns of %s on %s", qPrintable(package), name) << home + u"/All.rqn"_s << page;
            QDirIterator walk(folder + u"/Query Groups"_s, {u"*.rqn"_s}, QDir::Files, QDirIterator::Subdirectories);
            while (walk.hasNext()) {
                const QString query = walk.next();
                if (query.endsWith(u"/All.rqn"_s))
                    continue;
                for (const auto &[name, page] : {pages[0], pages[3], pages[4]})
                    QTest::addRow("%s on %s", qPrintable(QFileInfo(query).completeBaseName()), name) << query << page;
            }
        }
    }

    void nothing_is_broken()
    {
        QFETCH(QString, query);
        QFETCH(PageSetup, page);
        const QString path = m_folder.filePath(u"report.pdf"_s);
        const auto report = write(query, page, path);
        QVERIFY(!report->values.empty() && !report->values[0].isEmpty());
        check(*report, path);
        for (const Word &word : words(path))
            QVERIFY2(word.left > 33 && word.right < page.widthMm * 72 / 25.4 - 33, qPrintable(word.text));
    }

    void all_nineteen_columns_take_a_third_of_the_pages()
    {
        const QString home = QDirIterator(m_folder.filePath(u"Packages/Server/Query Groups"_s), QDir::Dirs | QDir::NoDotAndDotDot).next();
        const auto report = write(home + u"/All.rqn"_s, {297, 210, 12}, m_folder.filePath(u"all.pdf"_s));
        QCOMPARE(report->columns.size(), std::size_t{19});
        QCOMPARE(report->values[0].size(), 300);
        QVERIFY2(report->notes.pages <= 98 / 3, qPrintable(QString::number(report->notes.pages))); // 98 in columns of equal letters
    }
};

QTEST_GUILESS_MAIN(ReportColumnsTest)
#include "report_columns_test.moc"
