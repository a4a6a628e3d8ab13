/// \file
/// Has a package's report interface generate the report of the current query.
#pragma once

#include <QString>

#include <functional>

namespace qm {

class ComponentFactory;
class Prompts;
class RuntimeError;
struct Globals;

/// Runs the report of `gstrCurrentQueryFile`, for the operator (interactive) or for the schedule.
class ReportRunner final
{
public:
    ReportRunner(const Globals &globals, ComponentFactory &components, Prompts &prompts);

    /// Creates the object named by \p interfaceId for this run and has it generate the report; returns when that is done. A failure is told
    /// in one box that points to the application log; a run that was cancelled, or ended on purpose without output, is told to nobody.
    void RunReport(const QString &interfaceId, bool interactive) noexcept;

    /// Whether a run has begun and not yet returned.
    [[nodiscard]] bool isRunning() const { return m_depth > 0; }
    /// Called after each run.
    void setFinished(std::function<void()> finished) { m_finished = std::move(finished); }

private:
    void generate(const QString &interfaceId, bool interactive);
    void tellFailure(const RuntimeError &error);

    const Globals &m_globals;
    ComponentFactory &m_components;
    Prompts &m_prompts;
    std::function<void()> m_finished;
    int m_depth = 0;
};

} // namespace qm
