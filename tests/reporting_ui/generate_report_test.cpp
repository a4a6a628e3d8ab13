#include "ReportingFixture.h"

#include "core/RuntimeError.h"
#include "reporting/ui/SpoolModel.h"
#include "reporting/ui/frmReportViewer.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>

namespace qm::test {

/// Runs far longer than any test waits.
constexpr char kEndless[] = "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n WHERE x < 0";

/// Counts the modal windows that open while it lives.
class ModalWatch final : public QObject
{
public:
    ModalWatch() { qApp->installEventFilter(this); }
    int opened = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType() && static_cast<QWidget *>(watched)->isModal())
            ++opened;
        return false;
    }
};

class generate_report_test : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { ReportingFixture::deleteWindows(); }

    void aScreenReportOpensAViewerWithItsRows()
    {
        ReportingFixture f;
        f.interface->GenerateReport(f.query(QStringLiteral("Rows"), "SELECT computer, attempts FROM events ORDER BY id"), 0, true, false);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        QCOMPARE(viewer->model().rowCount(), 3);
        QCOMPARE(viewer->model().index(1, 0).data().toString(), QStringLiteral("Server9"));
        QVERIFY(viewer->windowTitle().startsWith(QStringLiteral("Rows")));
        QVERIFY(!f.desk.isProducingRows());
        viewer->close();
        QTRY_COMPARE(f.desk.viewerCount(), 0);
    }

    void anEmptyReportSaysSo()
    {
        ReportingFixture f;
        f.interface->GenerateReport(f.query(QStringLiteral("None"),
                                            "SELECT computer FROM events WHERE time_generated >= :date_from "
                                            "AND time_generated < :date_to AND 1=0",
                                            "[period]\nrange = \"last week\"\n[output]\ntype = \"screen\"\n"),
                                    0, true, false);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        auto empty = viewer->findChild<QLabel *>(QStringLiteral("emptyState"));
        QVERIFY(empty->isVisible());
        QVERIFY(empty->text().startsWith(QStringLiteral("No rows for this period")));
    }

    void onlyTheLastTwentyViewersStay()
    {
        ReportingFixture f;
        const QString query = f.query(QStringLiteral("Many"), "SELECT 1 AS one");
        for (int run = 0; run < 23; ++run)
            f.interface->GenerateReport(query, 0, false, false);
        QCOMPARE(f.desk.viewerCount(), 20);
        f.desk.closeViewers();
        QTRY_VERIFY(!f.window<frmReportViewer>("frmReportViewer"));
    }

    void aScheduledRunOpensNothingModalAndUsesDefaults()
    {
        ReportingFixture f;
        ModalWatch watch;
        const QString query = f.query(QStringLiteral("Slow"),
                                      "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n WHERE x < 3000000) "
                                      "SELECT count(*) AS n, :who AS who FROM n",
                                      "[[parameter]]\nname = \"who\"\ndefault = \"nobody\"\n[output]\ntype = \"screen\"\n");
        f.interface->GenerateReport(query, 0, false, false);
        QCOMPARE(watch.opened, 0);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        QCOMPARE(viewer->model().index(0, 1).data().toString(), QStringLiteral("nobody"));

        // Without a default it fails instead of asking.
        const QString asking =
            f.query(QStringLiteral("Asking"), "SELECT :who AS who", "[[parameter]]\nname = \"who\"\n[output]\ntype = \"screen\"\n");
        const auto error = errorOf([&] { f.interface->GenerateReport(asking, 0, false, false); });
        QVERIFY2(error.description().contains(QStringLiteral("who")), error.what());
        QCOMPARE(watch.opened, 0);
        QVERIFY(f.prompts.shown.empty());
    }

    void anInteractiveRunAsksAndRemembers()
    {
        ReportingFixture f;
        const QString query = f.query(QStringLiteral("Ask"), "SELECT :least AS least",
                                      "[[parameter]]\nname = \"least\"\ntype = \"integer\"\n[output]\ntype = \"screen\"\n");
        QString before;
        const auto answer = [&before](const QStringList &values) {
            QTimer::singleShot(0, qApp, [&before, values] {
                auto dialog = ReportingFixture::window<QDialog>("frmReportParameters");
                QVERIFY(dialog);
                auto field = dialog->findChild<QLineEdit *>(QStringLiteral("parameter_least"));
                before = field->text();
                for (const QString &value : values) {
                    field->setText(value);
                    QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("cmdGenerate")), Qt::LeftButton);
                }
            });
        };
        answer({QStringLiteral("many"), QStringLiteral("42")}); // the first is refused in place
        f.interface->GenerateReport(query, 0, true, false);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        QCOMPARE(viewer->model().index(0, 0).data().toString(), QStringLiteral("42"));
        answer({QStringLiteral("7")});
        f.interface->GenerateReport(query, 0, true, false);
        QCOMPARE(before, QStringLiteral("42"));

        QTimer::singleShot(0, qApp, [] { ReportingFixture::window<QDialog>("frmReportParameters")->reject(); });
        const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, true, false); });
        QCOMPARE(error.number(), err::cancelledByOperator);
    }

    void cancelEndsWithTheQuietNumberAndLeavesNoSpool()
    {
        ReportingFixture f;
        const QString query = f.query(QStringLiteral("Endless"), kEndless);
        bool producing = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            if (auto progress = f.window<QDialog>("frmReportProgress")) {
                producing = f.desk.isProducingRows();
                timer.stop();
                QTest::mouseClick(progress->findChild<QPushButton *>(QStringLiteral("cmdCancel")), Qt::LeftButton);
            }
        });
        timer.start(50);
        const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, true, false); });
        QCOMPARE(error.number(), err::cancelledByOperator);
        QVERIFY(producing);
        QVERIFY(!f.desk.isProducingRows());
        QVERIFY(!f.window<frmReportViewer>("frmReportViewer"));
        QCOMPARE(f.spoolFiles(), 0);
    }

    void failuresCrossTheThreadWithNumberAndWords()
    {
        ReportingFixture f;
        const auto wrong = errorOf(
            [&] { f.interface->GenerateReport(f.query(QStringLiteral("Bad"), "SELECT\nmissing_one FROM events"), 0, false, false); });
        QCOMPARE(wrong.number(), err::reportFailed);
        QVERIFY2(wrong.description().contains(QStringLiteral("no such column: missing_one")), wrong.what());
        QVERIFY2(wrong.description().contains(QStringLiteral("line 2")), wrong.what());
        const auto missing = errorOf([&] { f.interface->GenerateReport(f.group + QStringLiteral("No.rqn"), 0, true, false); });
        QCOMPARE(missing.number(), err::fileNotFound);
    }

    void inputDuringARunIsDiscardedAndCloseHappensOnceAfterwards()
    {
        ReportingFixture f;
        const QString query = f.query(QStringLiteral("Endless"), kEndless);
        QWidget main;
        QLineEdit edit(&main);
        main.show();
        edit.setFocus();
        QVERIFY(QTest::qWaitForWindowExposed(&main));
        int nested = 0;
        QTimer::singleShot(100, &main, [&] {
            QTest::keyClicks(&edit, QStringLiteral("x"));
            const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, true, false); });
            nested = error.number();
            QTest::keyClick(&edit, Qt::Key_Delete);
            main.close();
            QVERIFY(main.isVisible());
        });
        const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, false, false); });
        QCOMPARE(error.number(), err::cancelledByOperator);
        QCOMPARE(nested, err::reportFailed);
        QVERIFY(main.isVisible());
        QTRY_VERIFY(!main.isVisible());
        QCOMPARE(edit.text(), QString());
    }

    void aFileReportTellsWhereItIs()
    {
        ReportingFixture f;
        const QString query =
            f.query(QStringLiteral("File"), "SELECT computer FROM events", "[output]\ntype = \"file\"\nformat = \"csv\"\n");
        f.interface->GenerateReport(query, 0, false, false);
        QVERIFY(!f.window<QWidget>("frmReportDone"));
        f.interface->GenerateReport(query, 0, true, false);
        auto done = f.window<QWidget>("frmReportDone");
        QVERIFY(done);
        const QString path = done->findChild<QLabel *>(QStringLiteral("reportPath"))->text();
        QVERIFY(QFile::exists(path));
        QVERIFY(path.startsWith(f.installation.path()));
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::generate_report_test)
#include "generate_report_test.moc"
