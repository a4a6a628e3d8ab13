/// \file
/// Keeps the schedule from standing still unseen.
#pragma once

#include "core/WallTime.h"
#include "framework/Readers.h"
#include "scheduler/ScheduleServices.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <map>
#include <optional>

namespace qm {

class ScheduleTimer;

/// Watches the saves of the job file and the schedule's timer.
///
/// After a save that failed it tries once a minute to save the jobs as they are in memory, and sets the timer as soon as that succeeds.
/// While the schedule stands still it has a line in the journal for each job that comes due. It changes no job.
class ScheduleWatch final : public QObject
{
    Q_OBJECT
public:
    explicit ScheduleWatch(const ScheduleServices &services, std::chrono::milliseconds interval = std::chrono::minutes(1));

    /// \p services with the reader of the job file whose saves are watched.
    [[nodiscard]] ScheduleServices watched(const ScheduleServices &services)
    {
        return {services.globals, m_reader, services.errors, services.prompts, services.clock, services.journal, services.work};
    }
    /// Watches \p timer, which is the one that is set when the job file can be saved again.
    void watch(ScheduleTimer &timer);
    /// Tries at once to save jobs that could not be saved. \returns why they still are not; nothing when all jobs are saved.
    [[nodiscard]] std::optional<QString> saveUnsaved();

Q_SIGNALS:
    /// What the operator should see for as long as it holds; empty when all is well.
    void noticeChanged(const QString &notice);

private:
    class WatchedReader final : public JobConfigReader
    {
    public:
        explicit WatchedReader(ScheduleWatch &watch) : m_watch(watch) {}
        [[nodiscard]] std::shared_ptr<JobCollection> LoadJobs(const QString &path) override;
        void SaveJobs(std::shared_ptr<JobCollection> &jobs, const QString &path) override;

    private:
        ScheduleWatch &m_watch;
    };

    void look();
    void noteDueJobs();
    void saveFailed(const QString &why);
    void saved();
    void setStill(const std::optional<QString> &why);
    void update();

    ScheduleServices m_services;
    WatchedReader m_reader;
    ScheduleTimer *m_timer = nullptr;
    QTimer m_look;
    std::optional<QString> m_whyUnsaved;      ///< the last save failed, and why
    std::optional<QString> m_whyStill;        ///< the schedule stands still, and why
    std::map<std::int32_t, WallTime> m_noted; ///< by job: the due time that the journal has a line for
    QString m_notice;
};

} // namespace qm
