#include "ReportingFixture.h"
#include "reporting/ui/SpoolModel.h"
#include "reporting/ui/frmReportViewer.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
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
        const QString query = f.query(u"Ask"_s, "SELECT :least AS least",
                                      "[[parameter]]\nname = \"least\"\ntype = \"integer\"\n[output]\ntype = \"screen\"\n");
        QString before;
        const auto answer = [&before](const QStringList &values) {
            QTimer::singleShot(0, qApp, [&before, values] {
                auto dialog = ReportingFixture::window<QDialog>("frmReportParameters");
                QVERIFY(dialog);
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

    void inputDuringARunIsDiscardedAndCloseHappensOnceAfterwards()
    {
        ReportingFixture f;
        const QString query = f.query(u"Endless"_s, kEndless);
        QWidget main;
        QLineEdit edit(&main);
        main.show();
        edit.setFocus();
        QVERIFY(QTest::qWaitForWindowExposed(&main));
        int nested = 0;
        QTimer::singleShot(100, &main, [&] {
            QTest::keyClicks(&edit, u"x"_s);
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
        const QString query = f.query(u"File"_s, "SELECT computer FROM events", "[output]\ntype = \"file\"\nformat = \"csv\"\n");
        f.interface->GenerateReport(query, 0, false, false);
        QVERIFY(!f.window<QWidget>("frmReportDone"));
        f.interface->GenerateReport(query, 0, true, false);
        auto done = f.window<QWidget>("frmReportDone");
        QVERIFY(done);
        const QString path = done->findChild<QLabel *>(u"reportPath"_s)->text();
        QVERIFY(QFile::exists(path));
        QVERIFY(path.startsWith(f.installation.path()));
    }
};

} // namespace qm::test

QTEST_MAIN(qm::test::generate_report_test)
#include "generate_report_test.moc"
