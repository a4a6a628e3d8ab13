#include "ReportingFixture.h"
#include "reporting/viewer/SpoolModel.h"
#include "reporting/viewer/frmReportViewer.h"

#include "core/InputDuringRun.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace qm::test {

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

    void anEmptyReportSaysSo()
    {
        ReportingFixture f;
        f.interface->GenerateReport(f.query(u"None"_s,
                                            "SELECT computer FROM events WHERE time_generated >= :date_from "
                                            "AND time_generated < :date_to AND 1=0",
                                            "[period]\nrange = \"last week\"\n[output]\ntype = \"screen\"\n"),
                                    0, true, false);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        auto empty = viewer->findChild<QLabel *>(u"emptyState"_s);
        QVERIFY(empty->isVisible());
        QVERIFY(empty->text().startsWith(u"No rows for this period"_s));
    }

    void onlyTheLastTwentyViewersStay()
    {
        ReportingFixture f;
        const QString query = f.query(u"Many"_s, "SELECT 1 AS one");
        for (int run = 0; run < 23; ++run)
            f.interface->GenerateReport(query, 0, false, false);
        QCOMPARE(f.desk.viewerCount(), 20);
        f.window<frmReportViewer>("frmReportViewer")->close();
        QTRY_COMPARE(f.desk.viewerCount(), 19);
        f.desk.closeViewers();
        QTRY_VERIFY(!f.window<frmReportViewer>("frmReportViewer"));
    }

    void aScheduledRunOpensNothingModalAndUsesDefaults()
    {
        ReportingFixture f;
        ModalWatch watch;
        const QString query = f.query(u"Slow"_s,
                                      "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n WHERE x < 3000000) "
                                      "SELECT count(*) AS n, :who AS who FROM n",
                                      "[[parameter]]\nname = \"who\"\ndefault = \"nobody\"\n[output]\ntype = \"screen\"\n");
        f.interface->GenerateReport(query, 0, false, false);
        QCOMPARE(watch.opened, 0);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        QCOMPARE(viewer->model().index(0, 1).data().toString(), u"nobody"_s);

        // Without a default it fails instead of asking.
        const QString asking = f.query(u"Asking"_s, "SELECT :who AS who", "[[parameter]]\nname = \"who\"\n[output]\ntype = \"screen\"\n");
        const auto error = errorOf([&] { f.interface->GenerateReport(asking, 0, false, false); });
        QVERIFY2(error.description().contains(u"who"_s), error.what());
        QCOMPARE(watch.opened, 0);
        QVERIFY(f.prompts.shown.empty());
    }

    void anInteractiveRunAsksAndRemembers()
    {
        ReportingFixture f;
        // The query's period has no effect: its SQL takes none.
        const QString query = f.query(u"Ask"_s, "SELECT :least AS least",
                                      "[period]\nrange = \"last week\"\n[[parameter]]\nname = \"least\"\ntype = \"integer\"\n"
                                      "[output]\ntype = \"screen\"\n");
        QString before;
        const auto answer = [&before](const QStringList &values) {
            QTimer::singleShot(0, qApp, [&before, values] {
                auto dialog = ReportingFixture::window<QDialog>("frmReportParameters");
                QVERIFY(dialog);
                QVERIFY(!dialog->findChild<QWidget *>(u"periodPicker"_s));
                auto field = dialog->findChild<QLineEdit *>(u"parameter_least"_s);
                before = field->text();
                for (const QString &value : values) {
                    field->setText(value);
                    QTest::mouseClick(dialog->findChild<QPushButton *>(u"cmdGenerate"_s), Qt::LeftButton);
                }
            });
        };
        answer({u"many"_s, u"42"_s}); // the first is refused in place
        f.interface->GenerateReport(query, 0, true, false);
        auto viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        QVERIFY(viewer->windowTitle().startsWith(u"Ask"_s));
        QCOMPARE(viewer->model().index(0, 0).data().toString(), u"42"_s);
        answer({u"7"_s});
        f.interface->GenerateReport(query, 0, true, false);
        QCOMPARE(before, u"42"_s);

        QTimer::singleShot(0, qApp, [] { ReportingFixture::window<QDialog>("frmReportParameters")->reject(); });
        const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, true, false); });
        QCOMPARE(error.number(), err::cancelledByOperator);

        // An SQL that takes a period gets one, though the query names none.
        f.desk.closeViewers();
        QTRY_VERIFY(!f.window<frmReportViewer>("frmReportViewer"));
        QTimer::singleShot(0, qApp, [] {
            auto dialog = ReportingFixture::window<QDialog>("frmReportParameters");
            dialog->findChild<QComboBox *>(u"periodChoice"_s)->setCurrentIndex(1);
            QTest::mouseClick(dialog->findChild<QPushButton *>(u"cmdGenerate"_s), Qt::LeftButton);
        });
        f.interface->GenerateReport(f.query(u"Since"_s, "SELECT :date_from AS since"), 0, true, false);
        viewer = f.window<frmReportViewer>("frmReportViewer");
        QVERIFY(viewer);
        QCOMPARE(viewer->model().index(0, 0).data().toString(), u"2026-11-18 23:00:00"_s);
    }

    void cancelEndsWithTheQuietNumberAndLeavesNoSpool()
    {
        ReportingFixture f;
        const QString query = f.query(u"Endless"_s, kEndless);
        bool producing = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            if (auto progress = f.window<QDialog>("frmReportProgress")) {
                producing = f.desk.isProducingRows();
                timer.stop();
                QTest::mouseClick(progress->findChild<QPushButton *>(u"cmdCancel"_s), Qt::LeftButton);
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
        const auto wrong =
            errorOf([&] { f.interface->GenerateReport(f.query(u"Bad"_s, "SELECT\nmissing_one FROM events"), 0, false, false); });
        QCOMPARE(wrong.number(), err::reportFailed);
        QVERIFY2(wrong.description().contains(u"no such column: missing_one"_s), wrong.what());
        QVERIFY2(wrong.description().contains(u"line 2"_s), wrong.what());
        const auto missing = errorOf([&] { f.interface->GenerateReport(f.group + u"No.rqn"_s, 0, true, false); });
        QCOMPARE(missing.number(), err::fileNotFound);
    }

    void inputDuringTheOperatorsRunIsDiscardedAndCloseHappensOnceAfterwards()
    {
        ReportingFixture f;
        const QStringList &refusals = f.host.refusals;
        const QString query = f.query(u"Endless"_s, kEndless);
        QWidget main, about;
        f.host.mainWindow = &main;
        QLineEdit edit(&main);
        main.show();
        about.show();
        edit.setFocus();
        QVERIFY(QTest::qWaitForWindowExposed(&main));
        int nested = 0;
        QTimer::singleShot(100, &main, [&] {
            QTest::keyClicks(&edit, u"x"_s);
            const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, true, false); });
            nested = error.number();
            QTest::keyClick(&edit, Qt::Key_Delete);
            about.close(); // which cancels nothing
        });
        bool lasted = false;
        QMessageBox failed(QMessageBox::Critical, {}, u"failed"_s, QMessageBox::Ok, &main); // of a scheduled run, over the run's own window
        failed.setProperty(kInputDuringRun, true);
        failed.setWindowModality(Qt::ApplicationModal);
        QTimer::singleShot(200, &failed, &QWidget::show);
        QTimer::singleShot(500, &main, [&] {
            QTest::mouseClick(failed.button(QMessageBox::Ok), Qt::LeftButton);
            lasted = f.desk.isProducingRows() && !failed.isVisible();
            main.close();
            QVERIFY(main.isVisible());
        });
        const auto error = errorOf([&] { f.interface->GenerateReport(query, 0, true, false); });
        QCOMPARE(error.number(), err::cancelledByOperator);
        QVERIFY(lasted);
        QCOMPARE(nested, err::reportFailed);
        QCOMPARE(refusals.size(), 1);
        QVERIFY2(refusals[0].contains(u"another report is being made"_s), qPrintable(refusals[0]));
        QVERIFY(main.isVisible());
        QTRY_VERIFY(!main.isVisible() && !about.isVisible());
        QCOMPARE(edit.text(), QString());
        static_cast<void>(errorOf([&] { f.interface->GenerateReport(f.group + u"gone.rqn"_s, 0, true, false); }));
        QCOMPARE(refusals.size(), 2);
    }

    void aScheduledRunLeavesTheWindowsAloneAndOnlyItsCancelEndsIt()
    {
        ReportingFixture f;
        auto *const reports = dynamic_cast<BackgroundReports *>(f.interface.get());
        QVERIFY(reports);
        QWidget main;
        QLineEdit edit(&main);
        main.show();
        edit.setFocus();
        QVERIFY(QTest::qWaitForWindowExposed(&main));
        std::optional<RuntimeError> failure;
        bool ended = false;
        const auto end = [&](std::optional<RuntimeError> why) {
            failure = std::move(why);
            ended = true;
        };
        reports->beginReport(f.query(u"Counting"_s, "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n",
                                     "[output]\ntype = \"file\"\nformat = \"csv\"\n"),
                             end);
        QTRY_VERIFY(reports->progress().state.contains(u"rows so far"_s));
        QCOMPARE(reports->progress().report, u"Counting"_s);
        QTest::keyClicks(&edit, u"typed"_s);
        QCOMPARE(edit.text(), u"typed"_s);
        main.close();
        QVERIFY(!main.isVisible());
        QTest::qWait(300);
        QVERIFY(!ended && !f.desk.isProducingRows());
        reports->cancelReport();
        QTRY_VERIFY(ended);
        QCOMPARE(failure.value_or(RuntimeError(0, {})).number(), err::cancelledByOperator);

        // One that is dropped ends without a word; one for the screen is shown when it is over.
        ended = false;
        auto other = makePackageReportInterface(f.services);
        dynamic_cast<BackgroundReports &>(*other).beginReport(f.query(u"Endless"_s, kEndless), end);
        other.reset();
        QVERIFY(!ended);
        reports->beginReport(f.query(u"Screen"_s, "SELECT 1 AS one"), end);
        QTRY_VERIFY(ended);
        QVERIFY(!failure && f.window<frmReportViewer>("frmReportViewer"));
    }

    void aFileReportTellsWhereItIs()
    {
        ReportingFixture f;
        const QString query = f.query(u"File"_s, "SELECT computer FROM events", "[output]\ntype = \"file\"\nformat = \"csv\"\n");
        f.interface->GenerateReport(query, 0, false, false);
        QVERIFY(!f.window<QWidget>("frmReportDone"));
        f.interface->GenerateReport(query, 0, true, false);
        auto done = f.window<QWidget>("frmReportDone");
        QVERIFY(done);
        QVERIFY(QTest::qWaitForWindowActive(done)); // the operator asked for it
        const QString path = done->findChild<QLabel *>(u"reportPath"_s)->text();
        QVERIFY(QFile::exists(path));
        QVERIFY(path.startsWith(f.installation.path()));
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::generate_report_test)
#include "generate_report_test.moc"
