#include "ScheduleHarness.h"

#include "scheduler/MissingFileNotice.h"
#include "scheduler/ScheduleTableView.h"

#include <QTextDocument>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

/// The schedule as the operator sees it: marks, notice and selection.
class ScheduleTableTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rows_whose_query_file_is_gone_are_marked_before_they_are_due()
    {
        ScheduleHarness h;
        h.addJob({u"entered"_s, h.makeQuery(u"R&D  &lt;b"_s), u"Daily"_s, QDate(2026, 11, 25), QTime(11, 0)});
        MissingFileNotice notice(*h.table);
        const QModelIndex cell = h.table->index(0, JobTable::QueryFile);
        QVERIFY(!cell.data(Qt::ForegroundRole).isValid());
        files::rename(h.query(u"R&D  &lt;b"_s), h.query(u"renamed"_s));
        h.table->refreshFileMarks();
        QVERIFY(cell.data(Qt::ForegroundRole).isValid());
        QTextDocument tip; // read as the tip reads it
        tip.setHtml(cell.data(Qt::ToolTipRole).toString());
        QCOMPARE(tip.toPlainText(), u"The query file of this job does not exist: "_s + h.query(u"R&D  &lt;b"_s));
        QCOMPARE(h.table->jobsWithoutFile(), QStringList{u"entered"_s});
        QTRY_COMPARE(notice.text(), u"Scheduled reports whose query file does not exist: entered"_s);
        QVERIFY(notice.isVisible());
        for (int id = 2; id <= 8; ++id)
            h.table->appendRow(ListedJob{{{2026, 11, 25}, 0}, 0, u"job %1"_s.arg(id), u"nowhere"_s, id, {}}.toRow());
        QTRY_VERIFY2(notice.text().endsWith(u": entered, job 2, job 3, job 4, job 5 and 3 more"_s), qPrintable(notice.text()));
        h.jobs->PopulateJobs();
        h.table->selectRow(0);
        h.modifySelected({{}, h.makeQuery(u"found"_s), {}, {}, {}}); // mended
        QTRY_VERIFY(!notice.isVisible());
        files::kill(h.query(u"found"_s));
        h.table->refreshFileMarks();
        QTRY_VERIFY(notice.isVisible());
        h.makeQuery(u"found"_s); // put back from outside; the operator comes back to the window
        QEvent activated(QEvent::WindowActivate);
        QCoreApplication::sendEvent(&notice, &activated);
        QTRY_VERIFY(!notice.isVisible());
        files::kill(h.query(u"found"_s)); // and taken away from outside
        QCoreApplication::sendEvent(&notice, &activated);
        QTRY_VERIFY(notice.isVisible());
    }

    void after_a_delete_the_neighbour_is_selected_in_table_and_view()
    {
        ScheduleHarness h;
        for (int id = 1; id <= 4; ++id)
            h.globals.gcolJobs->push_back(std::make_shared<ScheduledReportJob>(
                ScheduledReportJob{u"job %1"_s.arg(id), h.makeQuery(u"q%1"_s.arg(id)), {{2026, 11, 25}, id}, 0, id}));
        h.jobs->PopulateJobs();
        ScheduleTableView view(*h.table);
        QSignalSpy chosen(&view, &ScheduleTableView::RowChosen);
        const auto deleteSelected = [&] {
            h.prompts.answers.push_back(box::idYes);
            h.jobs->DeleteScheduledJob();
            const QModelIndexList rows = view.selectionModel()->selectedRows();
            return h.table->rows() == 0 ? QString()
                   : rows.size() == 1 && rows.first().row() == h.table->selectedRow() && view.currentIndex().row() == rows.first().row()
                       ? h.table->row(h.table->selectedRow()).description
                       : u"table and view differ"_s;
        };
        h.table->selectRow(1);
        QCOMPARE(deleteSelected(), u"job 3"_s); // the one below
        QCOMPARE(deleteSelected(), u"job 4"_s);
        QCOMPARE(deleteSelected(), u"job 1"_s); // at the end the one above
        QCOMPARE(deleteSelected(), QString());
        QCOMPARE(h.table->selectedRow(), -1);
        QCOMPARE(h.emptied, 1);

        // A row above the selected one goes; rows that only show no longer what they showed are nobody's choice.
        for (int id = 1; id <= 3; ++id)
            h.table->appendRow(ListedJob{{{2026, 11, 25}, 0}, 0, u"job %1"_s.arg(id), {}, id, {}}.toRow());
        h.table->selectRow(2);
        h.table->removeRowAt(0);
        QCOMPARE(h.table->selectedRow(), 1);
        QCOMPARE(view.currentIndex().row(), 1);
        h.jobs->PopulateJobs();
        QCOMPARE(chosen.size(), 0);
    }
};

QTEST_MAIN(ScheduleTableTest)
#include "schedule_table_test.moc"
