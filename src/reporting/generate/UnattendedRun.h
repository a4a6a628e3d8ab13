/// \file
/// One report made for the schedule while the windows stay usable.
#pragma once

#include "core/RuntimeError.h"
#include "engine/rows/Spool.h"
#include "engine/run/ReportEngine.h"
#include "framework/Components.h"
#include "reporting/common/BackgroundTask.h"
#include "reporting/generate/RunProgress.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

struct ReportingUiServices;

/// Begins with its construction. Destroyed before its end it is cancelled and waited for, and tells nobody.
class UnattendedRun final : public QObject
{
    Q_OBJECT
public:
    /// \p ended is called from the event loop, with the failure if there was one; a report for the screen is shown by then.
    UnattendedRun(ReportingUiServices &services, const QString &queryFile, std::function<void(std::optional<RuntimeError>)> ended);

    void cancel() { m_task.cancel(); }
    [[nodiscard]] ReportProgress progress() const { return {m_name, m_progress.text()}; }

private:
    void make();
    void end();

    ReportingUiServices &m_services;
    QString m_queryFile, m_name;
    std::shared_ptr<const Query> m_query; ///< null when it could not be read
    std::function<void(std::optional<RuntimeError>)> m_ended;
    SpoolWriter m_rows;
    RunProgress m_progress;
    RunResult m_result;
    std::shared_ptr<CancelFlag> m_cancel = std::make_shared<CancelFlag>();
    BackgroundTask m_task; ///< uses all above
};

} // namespace qm
