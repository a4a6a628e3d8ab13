#include "framework/SystemComponents.h"

namespace qm {

std::unique_ptr<ReportInterface> systemReportInterface(const QString &)
{
    return nullptr;
}

std::unique_ptr<QueryAccess> systemQueryAccess(const QString &)
{
    return nullptr;
}

QString systemComponentsPlace()
{
    return {};
}

} // namespace qm
