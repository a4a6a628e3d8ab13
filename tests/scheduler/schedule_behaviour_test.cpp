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
        QVERIFY2(h.notice.contains(u"stands still"_s) && h.notice.contains(u"gone.rqn"_s), qPrintable(h.notice));
        h.clock.set({{2026, 11, 25}, 0}); // nothing runs, but what comes due is written down
        QTRY_COMPARE(h.journal.lines.filter(u"stands still"_s).size(), 2);
        QVERIFY(h.runs.isEmpty() && !h.due);
        h.clock.set({{2026, 11, 21}, 36'000});
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
        QVERIFY(h.prompts.shown[0].text.contains(u"the job 'job 1' ("_s + h.query(u"q"_s)));
        QCOMPARE(h.globals.gcolJobs->front()->Frequency, 7);
        QCOMPARE(TomlJobConfigReader().LoadJobs(h.jobFile())->front()->Frequency, 7);
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
        h.work.producingRows = true;
        h.mature();
        QVERIFY(h.runs.isEmpty());
        h.work.producingRows = false;
        h.timer->deliverWaitingMature();
        h.timer->deliverWaitingMature();
        QVERIFY(h.runs.isEmpty()); // the run that it waited for has not returned yet
        QCoreApplication::processEvents();
        QCOMPARE(h.runs.size(), 1);

        // A wake-up that waits is dropped when the component is armed anew.
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {12, 0}));
        h.work.producingRows = true;
        h.mature();
        h.clock.set({{2026, 11, 21}, 36'000});
        h.timer->SetTimer(false);
        h.work.producingRows = false;
        h.timer->deliverWaitingMature();
        QCoreApplication::processEvents();
        QCOMPARE(h.runs.size(), 1);

        // A job that is found due waits as well, also when it comes up behind one that is made in the background.
        h.clock.set({{2026, 11, 21}, 43'200});
        h.addJob(entry(file, kDaily, {2026, 11, 21}, {12, 0}));
        QCOMPARE(h.runs.size(), 3);
        h.inBackground = true;
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {12, 0}));
        QCOMPARE(h.runs.size(), 4);
        h.work.producingRows = true;
        h.addJob(entry(file, kSingle, {2026, 11, 21}, {12, 0}));
        h.endRun();
        h.timer->SetTimer(true);
        QCoreApplication::processEvents();
        QCOMPARE(h.runs.size(), 4);
        h.work.producingRows = false;
        h.timer->deliverWaitingMature();
        QCoreApplication::processEvents();
        QCOMPARE(h.runs.size(), 5);
        h.endRun();
    }

    void a_report_in_the_background_holds_up_the_schedule_but_not_the_operator()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        for (int id = 1; id <= 3; ++id)
            h.globals.gcolJobs->push_back(job(id, file, {{2026, 11, 20}, id}, id == 1 ? 1 : 0));
        h.jobs->PopulateJobs();
        h.inBackground = true;
        QSignalSpy texts(h.timer.get(), &ScheduleTimer::countdownChanged);
        h.start();
        h.addJob(entry(file, kDaily, {2026, 11, 25}, {11, 0}));
        h.timer->SetTimer(true);
        h.fireAnyway();
        h.table->selectRow(3);
        QCOMPARE(h.table->row(0).date, u"Nov 22,2026"_s); // whoever changes it now does not move it back
        QTest::qWait(1100);
        QCOMPARE(h.runs.size(), 1);
        QVERIFY(texts.isEmpty()); // no counting below zero
        h.endRun();
        QCOMPARE(h.runs.size(), 2);
        h.inBackground = false;
        h.endRun(); // the last one, and the wake-up that waited finds nothing due
        QCOMPARE(h.runs.size(), 3);
        QCOMPARE(h.table->row(h.table->selectedRow()).jobId, 4); // as the operator left it
        QCOMPARE(texts.size(), 1);
        QVERIFY(texts[0][0].toString().startsWith(u"Next Report: 'job 1'"_s));
        QVERIFY(h.due == (WallTime{{2026, 11, 22}, 1}));
        QVERIFY(h.prompts.shown.empty());
    }

    void the_end_of_the_program_leaves_the_jobs_behind_the_one_at_hand_as_they_were()
    {
        ScheduleHarness h;
        for (int id = 1; id <= 3; ++id)
            h.globals.gcolJobs->push_back(job(id, h.makeQuery(u"q%1"_s.arg(id)), {{2026, 11, 20}, id}, 0));
        h.jobs->PopulateJobs();
        h.inBackground = true;
        h.start();
        h.timer->end();
        h.endRun();
        h.fireAnyway();
        h.timer->SetTimer(true);
        QCOMPARE(h.runs, QStringList{u"q1.rqn"_s});
        QCOMPARE(TomlJobConfigReader().LoadJobs(h.jobFile())->size(), std::size_t{2});
        h.inBackground = false;
        h.restart();
        h.start();
        QCOMPARE(h.runs, QStringList({u"q1.rqn"_s, u"q2.rqn"_s, u"q3.rqn"_s}));
    }

    void after_a_save_that_failed_the_schedule_goes_on_by_itself_and_has_left_its_trace()
    {
        ScheduleHarness h;
        for (int id = 1; id <= 3; ++id)
            h.globals.gcolJobs->push_back(job(id, h.makeQuery(u"q%1"_s.arg(id)), {{2026, 11, 21}, 39'600 + 300 * id}, 1));
        h.jobs->PopulateJobs();
        h.start();
        const QString config = h.folder.filePath(u"Config"_s);
        files::rename(config, config + u" away"_s);
        files::saveAtomically(config, QByteArrayLiteral("a file where the folder was"));
        h.mature();
        QCOMPARE(h.prompts.shown.size(), std::size_t{1});
        QVERIFY(h.prompts.shown[0].text.startsWith(u"Error occured while rescheduling Report Job"_s));
        QVERIFY(h.journal.lines.contains(u"not run: job 1: job file could not be saved"_s));
        QCOMPARE(h.globals.gcolJobs->front()->DateTime.date, QDate(2026, 11, 22));
        QVERIFY2(h.notice.startsWith(u"The schedule stands still because it cannot be saved"_s), qPrintable(h.notice));
        const auto noted = [&](int id) {
            return h.journal.lines.filter(u"not run: job %1: due 11/21/2026"_s.arg(id)).filter(u"stands still"_s).size();
        };
        h.clock.set({{2026, 11, 21}, 40'210}); // job 2 is due
        QTRY_COMPARE(noted(2), 1);
        QTest::qWait(50);
        QCOMPARE(noted(2), 1);
        QCOMPARE(noted(1) + noted(3), 0);
        QVERIFY(h.runs.isEmpty());

        h.inBackground = true;
        files::kill(config);
        files::rename(config + u" away"_s, config);
        QTRY_COMPARE(h.runs, QStringList{u"q2.rqn"_s}); // job 1 has moved on, job 3 is to come
        QCOMPARE(h.notice, QString());
        h.clock.set({{2026, 11, 21}, 40'500}); // while the report of job 2 is being made
        QTest::qWait(50);
        QCOMPARE(noted(2), 1);
        QCOMPARE(noted(3), 0);
        h.inBackground = false;
        h.endRun();
        QCOMPARE(h.runs, QStringList({u"q2.rqn"_s, u"q3.rqn"_s}));
        QVERIFY(h.due == (WallTime{{2026, 11, 22}, 39'900}));
        const auto inFile = TomlJobConfigReader().LoadJobs(h.jobFile());
        for (const auto &saved : *inFile)
            QCOMPARE(saved->DateTime.date, QDate(2026, 11, 22));
        QCOMPARE(h.prompts.shown.size(), std::size_t{1});
    }

    void a_job_that_could_not_be_saved_is_saved_and_listed_later()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        const QString config = h.folder.filePath(u"Config"_s);
        files::rename(config, config + u" away"_s);
        h.addJob(entry(file, kDaily, {2026, 11, 25}, {11, 0}));
        QVERIFY2(h.notice.startsWith(u"The schedule cannot be saved"_s), qPrintable(h.notice));
        QCOMPARE(h.table->rows(), 0);
        files::rename(config + u" away"_s, config);
        QTRY_COMPARE(h.table->rows(), 1);
        QVERIFY(h.due.has_value() && h.notice.isEmpty());
        QCOMPARE(TomlJobConfigReader().LoadJobs(h.jobFile())->size(), std::size_t{1});
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

    void among_equal_times_the_upper_row_is_armed_and_the_last_is_woken()
    {
        ScheduleHarness h;
        for (const auto &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
            h.globals.gcolJobs->push_back(job(static_cast<int>(h.globals.gcolJobs->size()) + 1, h.makeQuery(name),
                                              {{2026, 11, 21}, name == u"a"_s ? 50'000 : 40'000}, 1));
        h.jobs->PopulateJobs();
        QSignalSpy texts(h.timer.get(), &ScheduleTimer::countdownChanged);
        h.start();
        QVERIFY(texts.wait(10'000));
        QVERIFY2(texts.back().at(0).toString().startsWith(u"Next Report: 'job 2' "_s), qPrintable(texts.back().at(0).toString()));
        h.mature(); // the last of the three, then those that are due already, from the top
        QCOMPARE(h.runs, QStringList({u"d.rqn"_s, u"b.rqn"_s, u"c.rqn"_s}));
        h.fireAnyway(); // armed for row 0 alone
        QCOMPARE(h.runs.back(), u"a.rqn"_s);
    }

    void the_countdown_names_a_job_without_file_but_not_one_that_is_overdue()
    {
        ScheduleHarness h;
        h.globals.gcolJobs->push_back(job(1, h.makeQuery(u"later"_s), {{2026, 11, 22}, 0}, 1));
        h.globals.gcolJobs->push_back(job(2, h.query(u"gone"_s), {{2026, 11, 21}, 30'000}, 1));
        h.globals.gcolJobs->push_back(job(3, h.makeQuery(u"last"_s), {{2026, 11, 23}, 0}, 1));
        h.jobs->PopulateJobs();
        h.start();
        QSignalSpy texts(h.timer.get(), &ScheduleTimer::countdownChanged);
        QVERIFY(texts.wait(10'000));
        QVERIFY2(texts.back().at(0).toString().startsWith(u"Next Report: 'job 2' "_s), qPrintable(texts.back().at(0).toString()));
        h.makeQuery(u"gone"_s);
        h.fireAnyway(); // the job that the countdown names
        QCOMPARE(h.runs, QStringList(u"gone.rqn"_s));

        // Armed for "later"; an overdue job whose move cannot be saved leaves that as it is.
        const QString config = h.folder.filePath(u"Config"_s);
        files::rename(config, config + u" away"_s);
        h.globals.gcolJobs->push_back(job(4, h.makeQuery(u"overdue"_s), {{2026, 11, 20}, 0}, 1));
        h.jobs->PopulateJobs();
        h.start();
        QCOMPARE(h.runs.size(), 1);
        texts.clear();
        QVERIFY(texts.wait(10'000));
        QVERIFY2(texts.back().at(0).toString().startsWith(u"Next Report: 'job 1' "_s), qPrintable(texts.back().at(0).toString()));
        h.clock.set({{2026, 11, 22}, 0});
        files::rename(config + u" away"_s, config); // the wake-up comes before the watch sees it
        h.fireAnyway();
        QCOMPARE(h.runs.value(1), u"later.rqn"_s);
    }

    void the_package_of_a_query_is_the_first_whose_folder_its_path_holds_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("found");
        QTest::newRow("as it stands") << u"/inst/Server/Query Groups/a.rqn"_s << u"I.Server"_s;
        QTest::newRow("in other letter case") << u"/INST/server/query groups/a.rqn"_s << u"I.Server"_s;
        QTest::newRow("anywhere in the path") << u"/mnt/copy/inst/Server/a.rqn"_s << u"I.Server"_s;
        QTest::newRow("below two packages: the first") << u"/inst/Server/Inner/a.rqn"_s << u"I.Server"_s;
        QTest::newRow("the second package") << u"/inst/Mail/a.rqn"_s << u"I.Mail"_s;
        QTest::newRow("outside all") << u"/elsewhere/a.rqn"_s << QString();
    }
    void the_package_of_a_query_is_the_first_whose_folder_its_path_holds()
    {
        QFETCH(QString, file);
        Globals globals;
        for (const auto &[name, folder] :
             {std::pair{u"Server"_s, u"/inst/Server/"_s}, {u"Inner"_s, u"/inst/Server/Inner/"_s}, {u"Mail"_s, u"/inst/Mail/"_s}}) {
            const auto info = std::make_shared<PackageInfo>();
            info->Interface = u"I."_s + name;
            info->InstallPath = folder;
            const auto package = std::make_shared<QMKPackage>();
            package->setPackageInfo(info);
            globals.gdicPackages.Add(name, package);
        }
        QTEST(FindPackageInterface(globals, file), "found");
    }

    void a_new_job_begins_with_the_selected_query_today_now_to_the_second()
    {
        ScheduleHarness h;
        const QString file = h.makeQuery(u"q"_s);
        h.clock.set({{2026, 11, 21}, 36'037});
        QStringList shown;
        h.whileDialogIsOpen = [&] {
            for (const char *name : {"txtJobDesc", "txtQueryFile"})
                shown.append(h.dialog->findChild<QLineEdit *>(QLatin1StringView(name))->text());
            shown.append(h.dialog->findChild<QComboBox *>(u"cboFreq"_s)->currentText());
            shown.append(h.dialog->findChild<QDateEdit *>(u"txtStartDate"_s)->text());
            shown.append(h.dialog->findChild<QTimeEdit *>(u"txtStartTime"_s)->text());
            h.clock.set({{2026, 11, 20}, 0}); // so that it is not due at once
        };
        h.answerDialog({});
        h.jobs->AddNewScheduledJob(file, u"Own.Interface"_s, true);
        QCOMPARE(shown, QStringList({u"New Scheduled Report"_s, file, u"Single"_s, u"Nov 21, 2026"_s, u"10:00"_s}));
        QCOMPARE(h.table->row(0).interfaceId, u"Own.Interface"_s);
        QCOMPARE(h.globals.gcolJobs->back()->DateTime.secondOfDay, 36'037); // untouched, it keeps its seconds
        QCOMPARE(h.table->row(0).time, u"10:00:37 AM"_s);

        h.table->selectRow(0);
        shown.clear();
        h.modifySelected({}); // from the row, with the row's seconds
        QCOMPARE(shown, QStringList({u"New Scheduled Report"_s, file, u"Single"_s, u"Nov 21, 2026"_s, u"10:00"_s}));
        QCOMPARE(h.globals.gcolJobs->back()->DateTime.secondOfDay, 36'037);
        h.modifySelected({{}, {}, u"Monthly"_s, {}, QTime(10, 1)});
        QCOMPARE(h.globals.gcolJobs->back()->DateTime.secondOfDay, 36'060); // edited, it starts at the full minute
        QCOMPARE(h.globals.gcolJobs->back()->Frequency, 3);

        // Without a selected query the dialog keeps the file of its last showing.
        shown.clear();
        h.answerDialog({{}, {}, {}, {}, {}, "cmdDlgSchCancel"});
        h.jobs->AddNewScheduledJob(u"unused"_s, {}, false);
        QCOMPARE(shown.value(1), file);
    }
};

QTEST_MAIN(ScheduleBehaviourTest)
#include "schedule_behaviour_test.moc"
