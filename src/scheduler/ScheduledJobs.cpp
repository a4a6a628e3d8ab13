#include "scheduler/ScheduledJobs.h"

#include "core/Clock.h"
#include "core/ErrorReporter.h"
#include "core/Prompts.h"
#include "scheduler/JobTable.h"
#include "scheduler/NextRun.h"
#include "scheduler/ScheduleTimer.h"
#include "scheduler/frmScheduledReport.h"

#include <algorithm>
#include <limits>

namespace qm {

namespace {

constexpr Procedure kPopulateJobs{"PopulateJobs",
                                  QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while populating the scheduled report jobs.")};
constexpr Procedure kAddNewScheduledJob{
    "AddNewScheduledJob", QT_TRANSLATE_NOOP("qm::Procedure", "Error occured while trying to add a new report schedule job"), "frmMain.frm"};

/// 1 + the largest number in use, 1 when there is none. \throws RuntimeError 6 when the numbers are used up.
std::int32_t nextJobId(const JobCollection &jobs)
{
    std::int32_t largest = 0;
    for (const auto &job : jobs)
        largest = std::max(largest, job->JobId);
    if (largest == std::numeric_limits<std::int32_t>::max())
        raise(err::overflow, ScheduledJobs::tr("the largest job number is already in use; delete that job first"));
    return largest + 1;
}

ListedJob listed(const ScheduledReportJob &job, const PackageInterfaces &interfaces)
{
    return {job.DateTime, job.Frequency, job.JobDescription, job.QueryFileName, job.JobId, interfaces.of(job.QueryFileName)};
}

/// The date and time cells as one text, the date in its default form.
QString joinedNextRun(const JobRow &row)
{
    return shortDateText(parseDate(row.date)) + u' ' + row.time;
}

} // namespace

ScheduledJobs::ScheduledJobs(const ScheduleServices &services, JobTable &table, frmScheduledReport &dialog, ScheduleTimer &timer)
    : m_services(services), m_table(table), m_dialog(dialog), m_timer(timer)
{
}

void ScheduledJobs::PopulateJobs()
{
    trap(m_services.errors, kPopulateJobs, [&] {
        m_table.setJobs({});
        const JobCollection &jobs = requireJobs(m_services.globals);
        const PackageInterfaces interfaces(m_services.globals);
        std::vector<ListedJob> rows;
        rows.reserve(jobs.size());
        for (const auto &job : jobs)
            rows.push_back(listed(*job, interfaces));
        m_table.setJobs(std::move(rows));
        m_table.selectRow(0);
    });
}

void ScheduledJobs::AddNewScheduledJob(const QString &queryFile, const QString &interfaceId, bool prefillQuery)
{
    trap(m_services.errors, kAddNewScheduledJob, [&] {
        static_cast<void>(requireJobs(m_services.globals));
        const WallTime now = m_services.clock.wallNow();
        m_dialog.FrequencyString = frequencyText(Frequency::Single);
        m_dialog.StartDateString = shortDateText(now.date);
        m_dialog.StartTimeString = time24Text(now.secondOfDay);
        if (prefillQuery)
            m_dialog.QueryFileNameString = queryFile;
        m_dialog.JobDescriptionString = tr("New Scheduled Report");
        m_dialog.showModal();
        if (m_dialog.IsOK())
            addFromDialog(interfaceId);
    });
}

void ScheduledJobs::addFromDialog(const QString &interfaceId)
{
    const auto job = std::make_shared<ScheduledReportJob>();
    job->DateTime = {parseDate(m_dialog.StartDateString), parseTime(m_dialog.StartTimeString)};
    job->JobDescription = m_dialog.JobDescriptionString;
    job->Frequency = frequencyCode(m_dialog.FrequencyString).value_or(job->Frequency);
    job->QueryFileName = m_dialog.QueryFileNameString;
    JobCollection &jobs = requireJobs(m_services.globals);
    job->JobId = nextJobId(jobs);
    jobs.push_back(job);
    saveJobs(m_services);

    JobRow row = listed(*job, PackageInterfaces(m_services.globals)).toRow();
    row.date = m_dialog.StartDateString; // as the dialog gave it, not in the table's own form
    row.frequency = m_dialog.FrequencyString;
    row.nextRun = joinedNextRun(row);
    if (!interfaceId.isEmpty())
        row.interfaceId = interfaceId;
    m_table.appendRow(std::move(row));
    m_table.selectRow(0);
    m_timer.SetTimer(false);
}

void ScheduledJobs::ModifyScheduledJob()
{
    static_cast<void>(requireJobs(m_services.globals));
    JobTable &table = m_table;
    const JobRow before = table.row(table.selectedRow());
    m_dialog.StartDateString = before.date;
    m_dialog.StartTimeString = before.time;
    m_dialog.FrequencyString = before.frequency;
    m_dialog.JobDescriptionString = before.description;
    m_dialog.QueryFileNameString = before.queryFile;
    m_dialog.showModal();
    if (!m_dialog.IsOK())
        return;

    // The schedule goes on behind the dialog: the job may have moved to another row, or have gone.
    const std::optional<int> index = table.rowOfJob(before.jobId);
    if (!index)
        raise(err::subscriptOutOfRange, tr("the job '%1' ran and left the schedule while its dialog was open").arg(before.description));
    JobRow row = table.row(*index);
    row.date = m_dialog.StartDateString;
    row.time = time12Text(parseTime(m_dialog.StartTimeString));
    row.frequency = m_dialog.FrequencyString;
    row.description = m_dialog.JobDescriptionString;
    row.queryFile = m_dialog.QueryFileNameString;
    row.nextRun = row.date + u' ' + row.time;
    table.setRow(*index, row);

    JobCollection &jobs = requireJobs(m_services.globals);
    const auto last = std::find_if(jobs.rbegin(), jobs.rend(), [&](const auto &job) { return job->JobId == row.jobId; });
    if (last != jobs.rend()) {
        ScheduledReportJob &job = **last;
        job.DateTime = parseWallTime(row.nextRun);
        job.JobDescription = row.description;
        job.Frequency = frequencyCode(row.frequency).value_or(job.Frequency);
        job.QueryFileName = row.queryFile;
    }
    saveJobs(m_services);
    m_timer.SetTimer(false);
}

void ScheduledJobs::DeleteScheduledJob()
{
    static_cast<void>(requireJobs(m_services.globals));
    JobTable &table = m_table;
    const std::int32_t id = table.row(table.selectedRow()).jobId;
    const int answer = m_services.prompts.messageBox(tr("Are you sure you want to delete this scheduled job?"), box::yesNo | box::question,
                                                     QString::fromLatin1(kApplicationTitle));
    // The schedule goes on behind the question: delete the job that was asked about, wherever its row is by now.
    if (const std::optional<int> index = table.rowOfJob(id); answer == box::idYes && index) {
        JobCollection &jobs = requireJobs(m_services.globals);
        const auto first = std::find_if(jobs.begin(), jobs.end(), [&](const auto &job) { return job->JobId == id; });
        if (first != jobs.end())
            jobs.erase(first);
        saveJobs(m_services);
        table.removeRowAt(*index);
    }
    m_timer.SetTimer(false);
    if (table.rows() == 0)
        Q_EMIT tableEmptied();
}

} // namespace qm
