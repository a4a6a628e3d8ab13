#include "delivery/PrintQueue.h"
#include "documents/OutputFile.h"
#include "documents/PdfReadBack.h"
#include "documents/Writers.h"
#include "support/PrintServer.h"

using namespace qm;
using namespace qm::test;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// Through a real print server.
class PrintQueueTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrintServer> m_server;
    QTemporaryDir m_folder;

    /// A document of \p rows numbered rows on A4 pages.
    [[nodiscard]] PrintRequest request(const QString &queue, bool landscape, int rows)
    {
        const QString path = m_folder.filePath(u"report.pdf"_s);
        OutputFile file(path);
        const auto writer = makePdfWriter(file, {.fontFolder = QCoreApplication::applicationDirPath() + u"/fonts"_s});
        ReportHead head;
        head.title = "Failed logons";
        head.header = head.footer = {"left", "", "right"};
        head.page = landscape ? PageSetup{297, 210, 12} : PageSetup{210, 297, 12};
        ReportColumn column;
        column.field = column.caption = "number";
        writer->begin(head, {.columns = {column}}, {});
        for (int i = 0; i < rows; ++i) {
            const std::string text = "row-" + std::to_string(i);
            const Value cell = Value::ofText(text);
            writer->row(std::span(&cell, 1));
        }
        writer->end({rows, false, 0});
        file.commit();
        return {queue, path, u"Fehlgeschlagene Anmeldungen – März"_s, 1, head.page.widthMm, head.page.heightMm, 20s};
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_server = std::make_unique<PrintServer>();
        if (!m_server->problem().isEmpty())
            QSKIP(qPrintable(m_server->problem()));
    }

    void a_report_is_printed_as_it_was_laid_out_data()
    {
        QTest::addColumn<bool>("landscape");
        QTest::addColumn<int>("copies");
        QTest::newRow("upright") << false << 1;
        QTest::newRow("landscape, two copies") << true << 2;
    }
    void a_report_is_printed_as_it_was_laid_out()
    {
        QFETCH(bool, landscape);
        QFETCH(int, copies);
        m_server->clear();
        PrintRequest job = request(u"good"_s, landscape, 100);
        job.copies = copies;
        const PrintOutcome outcome = printDocument(job, {});
        QVERIFY2(outcome.state == PrintOutcome::State::Printed, qPrintable(outcome.words));
        QVERIFY(outcome.job > 0);
        QCOMPARE(outcome.queue, u"good"_s);
        const QString text = textOf(m_server->printedFile());
        for (int row : {0, 50, 99})
            QCOMPARE(text.count(QRegularExpression(u"row-%1\\b"_s.arg(row))), copies);
        if (copies > 1) // the whole report, and then the whole report
            QVERIFY2(text.indexOf(u"row-99"_s) < text.lastIndexOf(QRegularExpression(u"row-0\\b"_s)), qPrintable(text));
        const QString log = m_server->pageLog();
        const QString line = log.section(u'\n', -2);
        QVERIFY2(line.startsWith(u"good "_s) && line.contains(u"Fehlgeschlagene Anmeldungen – März"_s), qPrintable(log));
        QVERIFY2(line.contains(u"iso_a4_210x297mm"_s), qPrintable(line));
        // The sheet stands as the report's page lies: nothing is cut off or shrunk into a corner.
        double right = 0, bottom = 0;
        for (const Word &word : words(m_server->printedFile())) {
            right = std::max(right, word.right);
            bottom = std::max(bottom, word.bottom);
        }
        QVERIFY2(right > 500 && right <= 595 && bottom > 750 && bottom <= 842, qPrintable(u"%1 %2"_s.arg(right).arg(bottom)));
    }

    void a_queue_that_does_not_print_is_told_before_and_gets_no_job_data()
    {
        QTest::addColumn<QString>("queue");
        QTest::addColumn<QString>("said");
        QTest::newRow("disabled") << u"disabled"_s << u"The printer \"disabled\" is disabled (out of paper)"_s;
        QTest::newRow("rejecting") << u"rejecting"_s << u"The printer \"rejecting\" accepts no jobs (closed today)"_s;
        QTest::newRow("missing") << u"nowhere"_s << u"There is no printer \"nowhere\""_s;
        QTest::newRow("strange name") << u"a/b c\"ü?x=1"_s << u"There is no printer"_s;
    }
    void a_queue_that_does_not_print_is_told_before_and_gets_no_job()
    {
        QFETCH(QString, queue);
        QFETCH(QString, said);
        QVERIFY2(whyNotPrintable(queue).contains(said), qPrintable(whyNotPrintable(queue)));
        const PrintOutcome outcome = printDocument(request(queue, false, 1), {});
        QVERIFY(outcome.state == PrintOutcome::State::Failed);
        QVERIFY2(outcome.words.contains(said), qPrintable(outcome.words));
        QCOMPARE(outcome.job, 0);
        QCOMPARE(m_server->command(u"lpstat"_s, {u"-o"_s}), QString());
    }

    /// A queue that is stopped while the job is on its way, and an operator who cancels: nothing stays behind that would be printed later.
    void a_job_that_cannot_go_on_is_taken_back()
    {
        m_server->command(u"lpadmin"_s, {u"-p"_s, u"good"_s, u"-o"_s, u"job-hold-until-default=indefinite"_s});
        PrintOutcome outcome = printDocument(request(u"good"_s, false, 1), {});
        QVERIFY(outcome.state == PrintOutcome::State::Failed);
        QVERIFY2(outcome.words.contains(u"held"_s), qPrintable(outcome.words));
        QCOMPARE(m_server->command(u"lpstat"_s, {u"-o"_s}), QString());
        m_server->command(u"lpadmin"_s, {u"-p"_s, u"good"_s, u"-o"_s, u"job-hold-until-default=no-hold"_s});
        outcome = printDocument(request(u"good"_s, false, 2000), [] { return true; });
        QVERIFY(outcome.state == PrintOutcome::State::Failed);
        QVERIFY2(outcome.words.contains(u"taken back"_s), qPrintable(outcome.words));
        QTRY_COMPARE(m_server->command(u"lpstat"_s, {u"-o"_s}), QString());
    }

    void a_long_job_is_taken_and_not_waited_for()
    {
        m_server->clear();
        PrintRequest job = request(u"good"_s, false, 5000);
        job.patience = 0ms;
        const PrintOutcome outcome = printDocument(job, {});
        QVERIFY2(outcome.state == PrintOutcome::State::Taken, qPrintable(outcome.words));
        QVERIFY2(outcome.words.startsWith(u"waiting or printing as job "_s), qPrintable(outcome.words));
        QTRY_COMPARE_WITH_TIMEOUT(m_server->command(u"lpstat"_s, {u"-o"_s}), QString(), 20'000);
        QTRY_VERIFY(QFileInfo(m_server->printedFile()).size() > 10'000);
    }

    void no_printing_system_is_told_as_such()
    {
        const QByteArray server = qgetenv("CUPS_SERVER");
        m_server.reset();
        qputenv("CUPS_SERVER", server);
        QElapsedTimer watch;
        watch.start();
        // libcups keeps a server's name for the life of a thread; it is the one that has just gone.
        QVERIFY2(whyNotPrintable(u"good"_s).contains(u"does not answer"_s), qPrintable(whyNotPrintable(u"good"_s)));
        QVERIFY(!printQueues().problem.isEmpty());
        QVERIFY(watch.elapsed() < 25'000);
        qunsetenv("CUPS_SERVER");
    }
};

QTEST_GUILESS_MAIN(PrintQueueTest)
#include "print_queue_test.moc"
