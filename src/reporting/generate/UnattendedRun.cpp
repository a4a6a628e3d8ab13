#include "reporting/generate/UnattendedRun.h"

#include "core/ErrorReporter.h"
#include "reporting/common/ReportingUiServices.h"
#include "reporting/generate/ShownReport.h"

#include <QFileInfo>

namespace qm {

UnattendedRun::UnattendedRun(ReportingUiServices &services, const QString &queryFile,
                             std::function<void(std::optional<RuntimeError>)> ended)
    : m_services(services), m_queryFile(queryFile), m_name(QFileInfo(queryFile).completeBaseName()), m_ended(std::move(ended)),
      m_task([this](CancelFlag &) { make(); }, m_cancel)
{
    // A query that cannot be read fails in the run, which writes that down.
    trapSilently([&] {
        m_query = m_services.engine.readQuery(queryFile);
        if (!m_query->Description.isEmpty())
            m_name = m_query->Description;
    });
    connect(&m_task, &BackgroundTask::finished, this, &UnattendedRun::end, Qt::QueuedConnection);
    m_task.start();
}

void UnattendedRun::make()
{
    RunOptions options;
    options.query = m_query;
    options.trigger = RunTrigger::Schedule;
    options.screen = &m_rows;
    options.cancel = m_cancel;
    m_progress.follow(options);
    m_result = m_services.engine.run(m_queryFile, options);
}

void UnattendedRun::end()
{
    m_task.wait();
    std::optional<RuntimeError> failure;
    if (m_task.failed())
        failure = m_task.failure();
    else if (m_rows.isComplete())
        failure = attempt([&] { showReport(m_services, m_rows, m_queryFile, m_result, false); });
    m_ended(std::move(failure));
}

} // namespace qm
