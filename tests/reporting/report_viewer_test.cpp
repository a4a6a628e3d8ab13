#include "ReportingFixture.h"
#include "reporting/common/VisibleText.h"
#include "reporting/viewer/SpoolModel.h"
#include "reporting/viewer/TextCollation.h"
#include "reporting/viewer/frmReportViewer.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QTableView>
#include <QTextBrowser>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace qm::test {

const QString kHostile = u"<b>bold</b>\u202Egpj.exe\u202C\r\nDROP\t\u0001 \U0001F600 \u4E2D=cmd()"_s;

class report_viewer_test : public QObject
{
    Q_OBJECT

    std::unique_ptr<ReportingFixture> f;

    static ReportColumn column(const char *field, ColumnType type, const char *format = "")
    {
        ReportColumn made;
        made.field = made.caption = field;
        made.type = type;
        made.format = format;
        made.alignment = type == ColumnType::Integer ? CellAlignment::Right : CellAlignment::Left;
        return made;
    }

    /// A report of the given rows (name, number); null numbers are NULL.
    static SpooledReport report(const std::vector<std::pair<QByteArray, std::optional<std::int64_t>>> &rows)
    {
        SpoolWriter writer;
        ReportHead head;
        head.title = "Sample";
        head.facts = {{qm::Fact::Kind::Period, "Period", "last week"},
                      {qm::Fact::Kind::Source, "Source", "EventLog.db"},
                      {qm::Fact::Kind::Parameter, "Made", "in Ulm"},
                      {qm::Fact::Kind::Made, "Made", "now"}};
        const std::vector<ReportColumn> columns{column("name", ColumnType::Text), column("number", ColumnType::Integer, "#,##0")};
        writer.begin(head, {.columns = columns}, {});
        for (const auto &[name, number] : rows)
            writer.row(std::vector<Value>{Value::ofText({name.constData(), static_cast<std::size_t>(name.size())}),
                                          number ? Value::of(*number) : Value::ofNull()});
        writer.end({static_cast<std::int64_t>(rows.size()), false, 0});
        return writer.take();
    }

    std::unique_ptr<frmReportViewer> viewer(SpooledReport rows) const
    {
        auto made = std::make_unique<frmReportViewer>(f->services, std::move(rows), u"/q.rqn"_s, QString());
        made->setAttribute(Qt::WA_DeleteOnClose, false);
        made->show();
        return made;
    }

    static QStringList names(const frmReportViewer &viewer)
    {
        QStringList list;
        for (int row = 0; row < viewer.model().rowCount(); ++row)
            list << viewer.model().index(row, 0).data().toString();
        return list;
    }

    template <class Action>
    static void settle(frmReportViewer &viewer, Action &&action)
    {
        QSignalSpy settled(&viewer.rows(), &ViewerRows::settled);
        action();
        QTRY_VERIFY_WITH_TIMEOUT(!settled.isEmpty() && viewer.rows().work() == ViewerRows::Work::None, 20000);
    }

private Q_SLOTS:
    void init() { f = std::make_unique<ReportingFixture>(); }
    void cleanup()
    {
        ReportingFixture::deleteWindows();
        f.reset();
    }

    void headersSortByValueWithEmptyCellsFirstAndTiesInOrder()
    {
        auto window = viewer(report({{"server10", 5}, {"Server9", 1200}, {"\xC3\xA4pfel", {}}, {"alpha", 5}, {"server09", -3}}));
        QAbstractItemModelTester tester(&window->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        settle(*window, [&] { window->rows().sortBy(0, false); });
        QCOMPARE(names(*window), QStringList({u"alpha"_s, u"Server9"_s, u"server09"_s, u"server10"_s, u"äpfel"_s}));
        settle(*window, [&] { window->rows().sortBy(1, false); });
        QCOMPARE(names(*window), QStringList({u"äpfel"_s, u"server09"_s, u"server10"_s, u"alpha"_s, u"Server9"_s}));
        settle(*window, [&] { window->rows().sortBy(1, true); });
        QCOMPARE(names(*window).first(), u"Server9"_s);
        QCOMPARE(names(*window).mid(1, 2), QStringList({u"server10"_s, u"alpha"_s}));
        settle(*window, [&] { window->rows().sortBy(-1, false); });
        QCOMPARE(names(*window).first(), u"server10"_s);
    }

    void factsStandInTheirPlacesWhateverParametersAreCalled()
    {
        auto window = viewer(report({{"one", 1}}));
        QCOMPARE(window->findChild<QLabel *>(u"reportFacts"_s)->text(), u"Period: last week  ·  Made: in Ulm"_s);
        QStringList status;
        for (const QLabel *label : window->statusBar()->findChildren<QLabel *>())
            status << label->text();
        QVERIFY(status.contains(u"Made: now"_s) && status.contains(u"Source: EventLog.db"_s) && !status.contains(u"Made: in Ulm"_s));
    }

    void textOrderIsConsistent()
    {
        const std::vector<std::string_view> texts{
            "",  "a",   "A",  "a1", "a01",          "a2", "a10", "\xC3\xA9",     "\xC3\x89",        "e", "z", "\xFF", "\xC3", "10",
            "9", "009", "9a", "9 ", "\xE4\xB8\xAD", "k",  "K",   "\xE2\x84\xAA", "\xF0\x9F\x98\x80"};
        for (const auto a : texts)
            for (const auto b : texts) {
                QCOMPARE(compareTexts(a, b), -compareTexts(b, a));
                QCOMPARE(compareTexts(a, b) == 0, a == b);
                for (const auto c : texts)
                    if (compareTexts(a, b) < 0 && compareTexts(b, c) < 0)
                        QVERIFY(compareTexts(a, c) < 0);
            }
    }

    void searchCountsStepsAndReduces()
    {
        auto window = viewer(report({{"logon", 1234}, {"Logoff", 2}, {"other", 3}, {"LOGON again", 4}}));
        auto text = window->findChild<QLineEdit *>(u"findText"_s);
        auto table = window->findChild<QTableView *>(u"reportRows"_s);
        auto count = window->findChild<QLabel *>(u"findCount"_s);
        auto only = window->findChild<QToolButton *>(u"onlyMatches"_s);
        settle(*window, [&] { text->setText(u"LOGO"_s); });
        QCOMPARE(count->text(), u"1 of 3 rows"_s);
        QTest::mouseClick(window->findChild<QToolButton *>(u"findNext"_s), Qt::LeftButton);
        QCOMPARE(table->currentIndex().row(), 1);
        QTest::mouseClick(window->findChild<QToolButton *>(u"findNext"_s), Qt::LeftButton);
        QCOMPARE(table->currentIndex().row(), 3);
        QTest::mouseClick(window->findChild<QToolButton *>(u"findNext"_s), Qt::LeftButton);
        QCOMPARE(table->currentIndex().row(), 0);
        settle(*window, [&] { only->click(); });
        QCOMPARE(names(*window), QStringList({u"logon"_s, u"Logoff"_s, u"LOGON again"_s}));
        settle(*window, [&] { window->rows().sortBy(1, true); });
        QCOMPARE(names(*window), QStringList({u"logon"_s, u"LOGON again"_s, u"Logoff"_s}));
        settle(*window, [&] { window->findChild<QToolButton *>(u"matchCase"_s)->click(); });
        QCOMPARE(names(*window), QStringList({u"LOGON again"_s}));
        // Numbers are found as they are shown and as they are stored.
        settle(*window, [&] { text->setText(u"1,2"_s); });
        QCOMPARE(names(*window), QStringList({u"logon"_s}));
        settle(*window, [&] { text->setText(u"123"_s); });
        QCOMPARE(names(*window), QStringList({u"logon"_s}));
        settle(*window, [&] { text->setText(u"nowhere"_s); });
        QVERIFY(window->findChild<QLabel *>(u"emptyState"_s)->text().contains(u"nowhere"_s));
        settle(*window, [&] { text->clear(); });
        QCOMPARE(window->model().rowCount(), 4);
    }

    void hostileTextIsShownLiterally()
    {
        auto window = viewer(report({{kHostile.toUtf8(), 1},
                                     {QByteArray("bad\xFF"
                                                 "bytes"),
                                      2}}));
        const QString shown = window->model().index(0, 0).data().toString();
        QVERIFY(shown.startsWith(u"<b>bold</b>[U+202E]gpj.exe[U+202C]↵DROP"_s));
        QVERIFY(!shown.contains(QChar(0x202E)) && !shown.contains(u'\n') && !shown.contains(QChar(1)));
        auto details = window->findChild<QTextBrowser *>(u"detailPane"_s);
        QVERIFY(details->toPlainText().contains(u"<b>bold</b>[U+202E]gpj.exe[U+202C]\nDROP"_s));
        QCOMPARE(window->model().fullText(0, 0), kHostile);
        QVERIFY(window->model().fullText(1, 0).contains(QChar(0xFFFD)));
        QCOMPARE(visibleText(u"a\u0085b\u200B\u2066"_s), u"a[U+0085]b[U+200B][U+2066]"_s);
        QCOMPARE(visibleText(u"\u00AD\U000E0041\U0001F600\U000E0100\r\u2028"_s), u"[U+00AD][U+E0041]\U0001F600\U000E0100\u240D\u21B5"_s);
    }

    void selectionIsCopiedAsTabSeparatedText()
    {
        auto window = viewer(report({{"a\tb", 1}, {"plain", {}}, {"\"q\"", 3}}));
        auto table = window->findChild<QTableView *>(u"reportRows"_s);
        table->selectAll();
        window->findChild<QAction *>(u"copyWithCaptions"_s)->trigger();
        QCOMPARE(QApplication::clipboard()->text(), u"name\tnumber\n\"a\tb\"\t1\nplain\t\n\"\"\"q\"\"\"\t3\n"_s);
        table->clearSelection();
        table->setCurrentIndex(window->model().index(0, 0));
        window->findChild<QAction *>(u"copy"_s)->trigger();
        QCOMPARE(QApplication::clipboard()->text(), u"a\tb"_s);
    }

    void exportWritesWhatIsShown()
    {
        auto window = viewer(report({{"b", 2}, {"a,1", 1}, {"c", 3}}));
        settle(*window, [&] { window->rows().sortBy(0, false); });
        const QString path = f->installation.path() + u"out.csv"_s;
        settle(*window, [&] { window->exportTo(path, ReportFormat::Csv); });
        QCOMPARE(f->installation.read(path), QByteArray("name,number\r\n\"a,1\",1\r\nb,2\r\nc,3\r\n"));
        const QString html = f->installation.path() + u"out.html"_s;
        settle(*window, [&] { window->findChild<QLineEdit *>(u"findText"_s)->setText(u"c"_s); });
        settle(*window, [&] { window->findChild<QToolButton *>(u"onlyMatches"_s)->click(); });
        settle(*window, [&] { window->exportTo(html, ReportFormat::Html); });
        QVERIFY(f->installation.read(html).contains("only rows that contain"));
        QVERIFY(!f->installation.read(html).contains("a,1"));

        // Into a folder that is not there: said, and the window goes on.
        settle(*window, [&] { window->exportTo(f->installation.path() + u"no/out.csv"_s, ReportFormat::Csv); });
        QCOMPARE(f->prompts.shown.size(), std::size_t{1});
        QVERIFY(f->prompts.shown.front().text.contains(u"no"_s));
    }

    void exportFollowsTheQuerysSettings()
    {
        SpooledReport rows = report({{"=1+1", 2}});
        rows.csv = {.byteOrderMark = true, .guardFormulas = true};
        auto window = viewer(std::move(rows));
        for (const ReportFormat format : reportFormats()) {
            QVERIFY(window->findChild<QAction *>(u"export_"_s + formatWord(format)));
            const QString path = f->installation.path() + u"out."_s + formatWord(format);
            settle(*window, [&] { window->exportTo(path, format); });
            QVERIFY(!f->installation.read(path).isEmpty());
        }
        QCOMPARE(f->installation.read(f->installation.path() + u"out.csv"_s), QByteArray("\xEF\xBB\xBFname,number\r\n'=1+1,2\r\n"));
    }

    void columnsThatOnlyGroupsNeedAreKeptAndNotShown()
    {
        const QString layout =
            f->installation.write(f->installation.path() + u"grouped.rpt"_s,
                                  "format = 1\n[[column]]\nfield = \"computer\"\nvisible = false\n[[group]]\nfield = \"computer\"\n"
                                  "[[group.subtotal]]\nfield = \"attempts\"\n[[total]]\nfield = \"message\"\nfunction = \"minimum\"\n");
        const QString query =
            f->query(u"grouped"_s,
                     "SELECT * FROM (SELECT computer, id, attempts, message FROM events UNION ALL SELECT 'server10', 9, 1, 'z') "
                     "ORDER BY id",
                     "report_file = '" + layout.toUtf8() + "'\n[output]\ntype = \"screen\"\n");
        SpoolWriter rows;
        RunOptions options;
        options.screen = &rows;
        const RunResult result = f->engine.run(query, options);
        SpooledReport spooled = rows.take();
        spooled.sources = result.sources;
        QCOMPARE(spooled.shape.hidden, std::size_t{1});
        QCOMPARE(spooled.tail.totals.front().text(), std::string_view("plain"));
        auto window = viewer(std::move(spooled));
        // In the order of the hidden column: Server9, alpha, server10 (twice).
        QCOMPARE(names(*window), QStringList({u"2"_s, u"3"_s, u"1"_s, u"9"_s}));
        QCOMPARE(window->model().columnCount(), 3);
        settle(*window, [&] { window->findChild<QLineEdit *>(u"findText"_s)->setText(u"server10"_s); });
        QCOMPARE(window->rows().hitCount(), std::int64_t{0});
        const QString path = f->installation.path() + u"out.csv"_s;
        settle(*window, [&] { window->rows().sortBy(0, true); });
        settle(*window, [&] { window->exportTo(path, ReportFormat::Csv); });
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("id,attempts,message\r\n9,1,z\r\n3,7,\"two\nlines\"\r\n2,1200,\r\n1,5,plain\r\n"));
    }

    void aLargeReportIsWorkedInAndLeavesNoFile()
    {
        constexpr int rows = 200000;
        std::vector<std::pair<QByteArray, std::optional<std::int64_t>>> accounts;
        for (int i = 0; i < rows; ++i)
            accounts.emplace_back("account" + QByteArray::number((i * 7919) % rows), i);
        auto window = viewer(report(accounts));
        if (!onWindows()) // where a file that is open keeps its name
            QCOMPARE(f->spoolFiles(), 0);
        settle(*window, [&] { window->rows().sortBy(0, true); });
        QCOMPARE(window->model().index(0, 0).data().toString(), u"account199999"_s);
        QCOMPARE(window->model().index(rows - 1, 0).data().toString(), u"account0"_s);
        settle(*window, [&] { window->findChild<QLineEdit *>(u"findText"_s)->setText(u"account77777"_s); });
        QCOMPARE(window->model().index(window->findChild<QTableView *>(u"reportRows"_s)->currentIndex().row(), 0).data().toString(),
                 u"account77777"_s);
        // A new wish while one is being worked on replaces it.
        settle(*window, [&] {
            window->rows().sortBy(0, false);
            window->rows().sortBy(1, true);
        });
        QCOMPARE(window->model().index(0, 1).data().toString(), u"199,999"_s);
        window->rows().sortBy(0, false);
        window.reset(); // while it is working
        QTRY_COMPARE(f->spoolFiles(), 0);
    }

    void whatAKilledProgramLeftIsRemovedAndWhatIsInUseStays()
    {
        const auto make = [](const QString &name, int secondsAgo) {
            QFile file(spoolFolder() + u'/' + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-secondsAgo), QFileDevice::FileModificationTime));
        };
        make(u"left.spool"_s, 3600);
        make(u"being made.spool"_s, 1);
        SpoolWriter writer;
        const std::vector<ReportColumn> columns{column("name", ColumnType::Text)};
        writer.begin({}, {.columns = columns}, {});
        for (const QFileInfo &inUse : QDir(spoolFolder()).entryInfoList({u"????????????????????????????????.spool"_s}, QDir::Files)) {
            QFile file(inUse.filePath());
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-3600), QFileDevice::FileModificationTime));
        }
        removeLeftSpools();
        writer.row(std::vector<Value>{Value::ofText("kept")});
        writer.end({1, false, 0});
        QVERIFY(QFile::remove(spoolFolder() + u"/being made.spool"_s));
        QVERIFY(!QFile::exists(spoolFolder() + u"/left.spool"_s));
        const auto window = viewer(writer.take());
        QCOMPARE(window->model().index(0, 0).data().toString(), u"kept"_s);
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::report_viewer_test)
#include "report_viewer_test.moc"
