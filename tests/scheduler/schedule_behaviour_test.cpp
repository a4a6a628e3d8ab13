#include "ScheduleHarness.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

const QString kSingle = u"Single"_s;
const QString kDaily = u"Daily"_s;

std::shared_ptr<ScheduledReportJob> job(int id, const QString &file, const WallTime &when, int frequencyCode)
{
    return std::make_shared<ScheduledReportJob>(ScheduledReportJob{u"job %1"_s.arg(id), file, when, frequencyCode, id});
}

DialogEntry entry(const QString &file, const QString &frequencyText, QDate date, QTime time)
{
    return {u"entered"_s, file, frequencyText, date, time};
}

} // namespace

/// The schedule where it goes wrong: missing files, standstill, re-entry, failing saves, odd ids, strange times.
class ScheduleBehaviourTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void the_first_missing_query_file_is_told_and_idles_the_schedule_later_ones_pass_in_silence()
    {
        ScheduleHarness h;
        const QString good = h.makeQuery(u"good"_s);
        h.globals.gcolJobs->push_back(job(1, h.query(u"gone"_s), {{2026, 11, 20}, 0}, 1));
        h.globals.gcolJobs->push_back(job(2, good, {{2026, 11, 25}, 0}, 0));
        h.jobs->PopulateJobs();
        h.start();
        QCOMPARE(h.prompts.shown.size(), std::size_t{1});
        QCOMPARE(h.prompts.shown[0].text, u"The query file for the scheduled Report Job is either missing or corrupt."_s);
        QCOMPARE(h.prompts.shown[0].style, box::ok | box::exclamation);
        QVERIFY(!h.due);
        QCOMPARE(h.table->row(0).date, u"Nov 20,2026"_s); // the table keeps the old date, the file has the new one
        QCOMPARE(TomlJobConfigReader().LoadJobs(h.jobFile())->front()->DateTime.date, QDate(2026, 11, 22));

        h.makeQuery(u"gone"_s);
        h.clock.set({{2026, 11, 23}, 0});
        files::kill(h.query(u"gone"_s));
        h.timer->SetTimer(true); // second time: moved to tomorrow, in silence, then comes up again and again
        QCOMPARE(h.prompts.shown.size(), std::size_t{2});
        QVERIFY(h.prompts.shown[1].text.contains(u"Error No:  28"_s));
        QVERIFY(h.prompts.shown[1].text.startsWith(u"Error occured while rescheduling Report Job"_s));

        h.table->selectRow(0);
        h.prompts.answers.push_back(box::idYes);
        h.jobs->DeleteScheduledJob(); // the schedule goes on once the broken job has left
        QVERIFY(h.due.has_value());
        QVERIFY(h.journal.lines.join(u'\n').contains(u"query file missing"_s));
    }

    void a_job_that_never_moves_runs_a_few_times_and_ends_with_one_error()
    {
        ScheduleHarness h;
        h.globals.gcolJobs->push_back(job(1, h.makeQuery(u"q"_s), {{2026, 11, 20}, 0}, 7));
        h.jobs->PopulateJobs();
        h.start();
        QVERIFY(!h.runs.isEmpty() && h.runs.size() <= 3);
        QCOMPARE(h.prompts.shown.size(), std::size_t{1});
        QVERIFY(h.prompts.shown[0].text.contains(u"Error No:  28"_s));
        QCOMPARE(h.globals.gcolJobs->front()->Frequency, 7);
    }

    void hundreds_of_overdue_jobs_all_run_once()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        for (int id = 1; id <= 600; ++id)
            h.globals.gcolJobs->push_back(job(id, file, {{2026, 11, 14}, id}, id % 2));
        h.jobs->PopulateJobs();
        h.start();
        QCOMPARE(h.runs.size(), 600);
        QCOMPARE(h.globals.gcolJobs->size(), std::size_t{300});
        QVERIFY(h.prompts.shown.empty());
        QVERIFY(h.due.has_value());
        QVERIFY(h.journal.lines.contains(u"skipped 7: job 1"_s));
    }

    void a_wake_up_during_a_report_waits_and_runs_once_afterwards()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {11, 0}));
        h.producingRows = true;
        h.mature();
        QVERIFY(h.runs.isEmpty());
        h.producingRows = false;
        h.timer->deliverWaitingMature();
        h.timer->deliverWaitingMature();
        QCOMPARE(h.runs.size(), 1);

        // A wake-up that waits is dropped when the component is armed anew.
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {12, 0}));
        h.producingRows = true;
        h.mature();
        h.clock.set({{2026, 11, 21}, 36'000});
        h.timer->SetTimer(false);
        h.producingRows = false;
        h.timer->deliverWaitingMature();
        QCOMPARE(h.runs.size(), 1);
    }

    void behind_an_open_box_the_schedule_goes_on_and_the_right_job_is_deleted()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {11, 0}));
        h.addJob(entry(file, kDaily, {2026, 11, 22}, {9, 0}));
        h.addJob(entry(file, kDaily, {2026, 11, 23}, {9, 0}));
        h.table->selectRow(1);
        h.prompts.answers.push_back(box::idYes);
        h.prompts.beforeAnswer = [&] {
            h.prompts.beforeAnswer = nullptr;
            h.mature(); // the Single in row 0 runs and leaves
        };
        h.jobs->DeleteScheduledJob();
        QCOMPARE(h.globals.gcolJobs->size(), std::size_t{1});
        QCOMPARE(h.globals.gcolJobs->front()->JobId, 3);

        // A job that leaves while its own dialog is open cannot be changed any more.
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {12, 0}));
        h.table->selectRow(1);
        h.whileDialogIsOpen = [&] {
            h.whileDialogIsOpen = nullptr;
            h.mature();
        };
        QVERIFY_THROWS_EXCEPTION(RuntimeError, h.modifySelected({}));
        QCOMPARE(h.runs.size(), 2);
    }

    void escape_cancels_but_the_close_box_keeps_the_last_answer()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        h.addJob(entry(file, kSingle, {2026, 11, 25}, {11, 0}));
        QTimer::singleShot(0, h.dialog.get(), [&] { QTest::keyClick(h.dialog.get(), Qt::Key_Escape); });
        h.jobs->AddNewScheduledJob({}, {}, false);
        QCOMPARE(h.globals.gcolJobs->size(), std::size_t{1});

        h.addJob(entry(file, kSingle, {2026, 11, 26}, {11, 0}));
        DialogEntry closed;
        closed.close = nullptr;
        h.addJob(closed); // the answer of the last OK stands; the values are those the dialog was filled with
        QCOMPARE(h.globals.gcolJobs->size(), std::size_t{2});
        QCOMPARE(h.runs.size(), 1); // "today, now" is due at once
    }

    void the_dialog_refuses_no_file_and_a_missing_file()
    {
        ScheduleHarness h;
        DialogEntry empty;
        empty.file = QString();
        h.addJob(empty);
        QCOMPARE(h.prompts.shown.at(0).text, u"Please choose a Report Query File."_s);
        DialogEntry missing;
        missing.file = h.installPath(); // a folder is no query file
        h.addJob(missing);
        QCOMPARE(h.prompts.shown.at(1).text, u"Cannot find report query file "_s + h.installPath());
        QVERIFY(h.globals.gcolJobs->empty());
    }

    void jobs_that_were_never_read_are_not_overwritten()
    {
        ScheduleHarness h;
        h.addJob(entry(h.makeQuery(u"q"_s), kDaily, {2026, 11, 25}, {11, 0}));
        const QByteArray before = files::readAll(h.jobFile());
        h.globals.gcolJobs.reset();
        h.jobs->AddNewScheduledJob({}, {}, false); // no dialog opens
        QCOMPARE(h.prompts.shown.size(), std::size_t{1});
        QVERIFY(h.prompts.shown[0].text.contains(u"Error No:  91"_s));
        QVERIFY(h.prompts.shown[0].text.contains(u"Jobs.cfg"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, h.jobs->DeleteScheduledJob());
        QCOMPARE(files::readAll(h.jobFile()), before);
    }

    void a_job_file_that_cannot_be_saved_keeps_the_move_in_memory_and_is_told_in_the_journal()
    {
        ScheduleHarness h;
        h.addJob(entry(h.makeQuery(u"q"_s), kDaily, {2026, 11, 21}, {11, 0}));
        const QString config = h.folder.filePath(u"Config"_s);
        files::rename(config, config + u" away"_s);
        files::saveAtomically(config, QByteArrayLiteral("a file where the folder was"));
        h.mature();
        QVERIFY(h.runs.isEmpty());
        QCOMPARE(h.globals.gcolJobs->front()->DateTime.date, QDate(2026, 11, 22));
        QVERIFY(h.prompts.shown.at(0).text.startsWith(u"Error occured while rescheduling Report Job"_s));
        QVERIFY(h.journal.lines.contains(u"not run: entered: job file could not be saved"_s));

        files::kill(config);
        files::rename(config + u" away"_s, config);
        h.table->selectRow(0);
        h.modifySelected({});
        QCOMPARE(TomlJobConfigReader().LoadJobs(h.jobFile())->size(), std::size_t{1}); // the next save brings the whole collection
    }

    void times_that_no_clock_shows_and_times_far_away_are_armed_like_any_other()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        h.clock.set({{2026, 3, 28}, 3600});
        h.addJob(entry(file, kDaily, {2099, 1, 1}, {0, 0}));
        h.addJob(entry(file, kDaily, {9999, 12, 31}, {23, 59}));
        h.addJob(entry(file, kDaily, {2026, 3, 28}, {2, 30}));
        h.mature(); // moves to 2026-03-29 02:30, which the local clock skips
        QVERIFY(h.prompts.shown.empty());
        QCOMPARE(h.runs.size(), 1);
        QVERIFY(h.due == (WallTime{{2026, 3, 29}, 9000}));
        h.restart();
        h.start();
        QVERIFY(h.due == (WallTime{{2026, 3, 29}, 9000}));
        QCOMPARE(h.runs.size(), 1);
    }

    void three_forms_of_a_date_in_one_table_compare_by_what_they_mean()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        h.globals.gcolJobs->push_back(job(1, file, {{2026, 12, 2}, 0}, 1));
        h.jobs->PopulateJobs(); // "Dec 02,2026"
        h.addJob(entry(file, kDaily, {2026, 12, 1}, {8, 0}));
        QCOMPARE(h.table->row(1).date, u"Dec 01, 2026"_s);
        QCOMPARE(h.table->row(1).nextRun, u"12/1/2026 08:00:00 AM"_s);
        h.table->selectRow(0);
        h.modifySelected(entry(file, kDaily, {2026, 12, 3}, {20, 5}));
        QCOMPARE(h.table->row(0).nextRun, u"Dec 03, 2026 08:05:00 PM"_s);
        QVERIFY(h.due == (WallTime{{2026, 12, 1}, 28'800}));
        QCOMPARE(h.table->row(1).interfaceId, u"QuillmarkReports.Server"_s);
    }

    void job_numbers_continue_after_the_largest_and_odd_numbers_follow_their_own_rules()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        const WallTime later{{2026, 12, 1}, 0};
        for (const int id : {3, 7, 7, -5})
            h.globals.gcolJobs->push_back(job(id, file, later, 1));
        h.jobs->PopulateJobs();
        h.addJob(entry(file, kDaily, {2026, 12, 2}, {8, 0}));
        QCOMPARE(h.globals.gcolJobs->back()->JobId, 8);
        h.table->selectRow(1);
        DialogEntry renamed;
        renamed.description = u"changed"_s;
        h.modifySelected(renamed); // the last job with the number 7 changes
        QCOMPARE(h.globals.gcolJobs->at(2)->JobDescription, u"changed"_s);
        h.table->selectRow(1);
        h.prompts.answers.push_back(box::idYes);
        h.jobs->DeleteScheduledJob(); // the first one goes
        QCOMPARE(h.globals.gcolJobs->at(1)->JobDescription, u"changed"_s);

        h.globals.gcolJobs->push_back(job(std::numeric_limits<std::int32_t>::max(), file, later, 1));
        h.addJob(entry(file, kDaily, {2026, 12, 2}, {8, 0}));
        QVERIFY(h.prompts.shown.back().text.contains(u"Error No:  6\r\n"_s));
        QCOMPARE(h.globals.gcolJobs->size(), std::size_t{5});
    }

    void the_countdown_counts_truncates_and_goes_negative()
    {
        ScheduleHarness h;
        QSignalSpy texts(h.timer.get(), &ScheduleTimer::countdownChanged);
        const auto next = [&] {
            texts.clear();
            return texts.wait(10'000) ? texts.at(0).at(0).toString() : QString();
        };
        QCOMPARE(next(), u"No Reports Scheduled"_s);
        DialogEntry wanted = entry(h.makeQuery(u"q"_s), kSingle, {2026, 11, 22}, {11, 1});
        wanted.description = u"<b>100%1</b>"_s;
        h.clock.set({{2026, 11, 21}, 35'999});
        h.addJob(wanted);
        QCOMPARE(next(), u"Next Report: '<b>100%1</b>' is scheduled to run in 1 Days 1 Hours 1 Minutes 1 Seconds."_s);
        h.clock.set({{2026, 11, 22}, 11 * 3600 + 60 + 61});
        QVERIFY(next().endsWith(u"in 0 Days 0 Hours -1 Minutes -1 Seconds."_s));
    }

    void a_stale_wake_up_on_an_empty_schedule_is_one_error_box()
    {
        ScheduleHarness h;
        h.addJob(entry(h.makeQuery(u"q"_s), kSingle, {2026, 11, 25}, {11, 0}));
        h.prompts.answers.push_back(box::idYes);
        h.jobs->DeleteScheduledJob();
        QCOMPARE(h.emptied, 1);
        h.fireAnyway();
        QCOMPARE(h.prompts.shown.size(), std::size_t{2});
        QVERIFY(h.prompts.shown[1].text.contains(u"Error No:  9\r\n"_s));
    }

    void rows_whose_query_file_is_gone_are_marked_before_they_are_due()
    {
        ScheduleHarness h;
        h.addJob(entry(h.makeQuery(u"q"_s), kDaily, {2026, 11, 25}, {11, 0}));
        const QModelIndex cell = h.table->index(0, JobTable::QueryFile);
        QVERIFY(!cell.data(Qt::ForegroundRole).isValid());
        files::rename(h.query(u"q"_s), h.query(u"renamed"_s));
        h.table->refreshFileMarks();
        QVERIFY(cell.data(Qt::ForegroundRole).isValid());
        QCOMPARE(h.table->jobsWithoutFile(), QStringList{u"entered"_s});
    }
};

QTEST_MAIN(ScheduleBehaviourTest)
#include "schedule_behaviour_test.moc"
