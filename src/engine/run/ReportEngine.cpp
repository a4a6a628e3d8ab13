#include "engine/run/ReportEngine.h"

#include "engine/run/QueryHome.h"
#include "engine/run/ReportRun.h"

namespace qm {

ReportEngine::ReportEngine(EngineServices services) : m_services(std::move(services)) {}

ReportEngine::~ReportEngine() = default;

RunResult ReportEngine::run(const QString &queryFile, const RunOptions &options)
{
    return ReportRun(m_services, queryFile, options).execute();
}

std::shared_ptr<const Query> ReportEngine::readQuery(const QString &queryFile) const
{
    return readQueryFile(queryFile);
}

LocatedQuery ReportEngine::locate(const QString &queryFile) const
{
    return locateQuery(readQuery(queryFile), findQueryHome(queryFile, m_services.installPath), std::nullopt);
}

} // namespace qm
