#include "reporting/engine/ReportEngine.h"

#include "reporting/engine/QueryHome.h"
#include "reporting/engine/ReportRun.h"

namespace qm {

ReportEngine::ReportEngine(EngineServices services) : m_services(std::move(services)) {}

ReportEngine::~ReportEngine() = default;

RunResult ReportEngine::run(const QString &queryFile, const RunOptions &options)
{
    return ReportRun(m_services, queryFile, options).execute();
}

std::shared_ptr<Query> ReportEngine::readQuery(const QString &queryFile)
{
    return readQueryFile(queryFile);
}

} // namespace qm
