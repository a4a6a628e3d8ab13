#include "scheduler/ScheduleWatch.h"

#include "core/Clock.h"
#include "core/ErrorReporter.h"
#include "scheduler/ScheduleTimer.h"

namespace qm {

ScheduleWatch::ScheduleWatch(const ScheduleServices &services, std::chrono::milliseconds interval) : m_services(services), m_reader(*this)
{
    m_look.setInterval(interval);
    connect(&m_look, &QTimer::timeout, this, &ScheduleWatch::look);
}

void ScheduleWatch::watch(ScheduleTimer &timer)
{
    m_timer = &timer;
    connect(&timer, &ScheduleTimer::standsStill, this, [this](const QString &why) { setStill(why); });
    connect(&timer, &ScheduleTimer::goesOn, this, [this] { setStill(std::nullopt); });
}

std::shared_ptr<JobCollection> ScheduleWatch::WatchedReader::LoadJobs(const QString &path)
{
    return m_watch.m_services.reader.LoadJobs(path);
}

void ScheduleWatch::WatchedReader::SaveJobs(std::shared_ptr<JobCollection> &jobs, const QString &path)
{
    try {
        m_watch.m_services.reader.SaveJobs(jobs, path);
    } catch (...) {
        m_watch.saveFailed(currentError().description());
        throw;
    }
    m_watch.saved();
}

void ScheduleWatch::saveFailed(const QString &why)
{
    if (!m_whyUnsaved)
        m_services.journal.note(QStringLiteral("the job file could not be saved: %1; it is tried again every minute").arg(why));
    m_whyUnsaved = why;
    update();
}

void ScheduleWatch::saved()
{
    if (!m_whyUnsaved)
        return;
    m_whyUnsaved.reset();
    m_services.journal.note(QStringLiteral("the job file could be saved again"));
    update();
    // Whoever saved may have more to do first. Rows of jobs that were added in vain appear then, too.
    if (m_timer)
        QMetaObject::invokeMethod(
            m_timer, [timer = m_timer] { timer->SetTimer(true); }, Qt::QueuedConnection);
}

void ScheduleWatch::setStill(const std::optional<QString> &why)
{
    m_whyStill = why;
    if (why)
        noteDueJobs();
    update();
}

void ScheduleWatch::look()
{
    trapSilently([&] {
        noteDueJobs();
        static_cast<void>(saveUnsaved());
    });
}

std::optional<QString> ScheduleWatch::saveUnsaved()
{
    if (m_whyUnsaved)
        trapSilently([&] { saveJobs(watched(m_services)); });
    return m_whyUnsaved;
}

void ScheduleWatch::noteDueJobs()
{
    if (!m_whyStill || !m_services.globals.gcolJobs)
        return;
    const WallTime now = m_services.clock.wallNow();
    for (const auto &job : *m_services.globals.gcolJobs) {
        if (now < job->DateTime)
            continue;
        const auto [noted, isNew] = m_noted.try_emplace(job->JobId, job->DateTime);
        if (!isNew && noted->second == job->DateTime)
            continue;
        noted->second = job->DateTime;
        m_services.journal.notRun(
            *job, QStringLiteral("due %1 %2, but the schedule stands still: %3")
                      .arg(shortDateText(job->DateTime.date), time24Text(job->DateTime.secondOfDay), m_whyUnsaved.value_or(*m_whyStill)));
    }
}

void ScheduleWatch::update()
{
    QString notice;
    if (m_whyUnsaved && m_whyStill)
        notice = tr("The schedule stands still because it cannot be saved; it is tried again every minute: %1").arg(*m_whyUnsaved);
    else if (m_whyUnsaved)
        notice = tr("The schedule cannot be saved; it is tried again every minute: %1").arg(*m_whyUnsaved);
    else if (m_whyStill)
        notice = tr("The schedule stands still: %1").arg(*m_whyStill);
    if (m_whyUnsaved || m_whyStill) {
        if (!m_look.isActive())
            m_look.start();
    } else {
        m_look.stop();
    }
    if (notice == m_notice)
        return;
    m_notice = notice;
    Q_EMIT noticeChanged(notice);
}

} // namespace qm
