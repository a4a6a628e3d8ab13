/// \file
/// Has a package's report interface generate the report of the current query.
#pragma once

#include "core/RuntimeError.h"
#include "framework/Components.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

class Prompts;
class ScheduleJournal;
struct Globals;

/// How far the scheduled report is that is being made in the background; nothing without one.
class ScheduledProgress
{
public:
    [[nodiscard]] virtual std::optional<ReportProgress> progress() const = 0;

protected:
    ScheduledProgress() = default;
    ScheduledProgress(const ScheduledProgress &) = default;
    ScheduledProgress &operator=(const ScheduledProgress &) = default;
    ~ScheduledProgress() = default;
};

/// Runs the report of `gstrCurrentQueryFile`, for the operator (interactive) or for the schedule.
///
/// A scheduled report is made in the background when its interface can do that: the window stays usable. Nothing but cancel() and the end
/// of this object cancels it.
class ReportRunner final : public QObject, public ScheduledProgress
{
    Q_OBJECT
public:
    ReportRunner(const Globals &globals, ComponentFactory &components, Prompts &prompts, ScheduleJournal &journal);
    ~ReportRunner() override;

    /// Creates the object named by \p interfaceId for this run and has it generate the report. A failure is told in one box that points to
    /// the application log; a run that was cancelled, or ended on purpose without output, is told to nobody.
    /// \p over is called when all that is done: before this returns or, in the background, later.
    void RunReport(const QString &interfaceId, bool interactive, std::function<void()> over = {}) noexcept;

    /// Whether a run has begun and is not over.
    [[nodiscard]] bool isRunning() const { return m_depth > 0 || m_background; }
    [[nodiscard]] std::optional<ReportProgress> progress() const override;
    /// Cancels the scheduled report that is being made in the background.
    void cancel();

Q_SIGNALS:
    /// A report is being made for the schedule, in the background or not.
    void scheduledRunBegan(const QString &queryFile);
    void scheduledRunOver();
    /// A run is over, whoever began it.
    void runOver();

private:
    struct Background;

    /// \returns whether the run goes on in the background.
    bool generate(const QString &interfaceId, bool interactive, std::function<void()> &over);
    void backgroundEnded();
    void tellOver(bool interactive, const std::function<void()> &over);
    void tellFailure(const RuntimeError &error);

    const Globals &m_globals;
    ComponentFactory &m_components;
    Prompts &m_prompts;
    ScheduleJournal &m_journal;
    std::unique_ptr<Background> m_background;
    int m_depth = 0;
};

} // namespace qm
