#include "scheduler/ReportRunner.h"

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/Prompts.h"
#include "framework/Components.h"

#include <QScopeGuard>

#include <QCoreApplication>

namespace qm {

namespace {
constexpr int kHourglass = 11, kDefaultPointer = 0;
} // namespace

ReportRunner::ReportRunner(const Globals &globals, ComponentFactory &components, Prompts &prompts)
    : m_globals(globals), m_components(components), m_prompts(prompts)
{
}

void ReportRunner::RunReport(const QString &interfaceId, bool interactive) noexcept
{
    ++m_depth;
    // This procedure has an ending of its own instead of the error reporter's box.
    try {
        generate(interfaceId, interactive);
    } catch (...) {
        const RuntimeError error = currentError();
        trapSilently([&] { tellFailure(error); });
    }
    --m_depth;
    trapSilently([&] {
        if (m_finished)
            m_finished();
    });
}

void ReportRunner::generate(const QString &interfaceId, bool interactive)
{
    // The query may be chosen anew while the report is made.
    const QString queryFile = m_globals.gstrCurrentQueryFile;
    if (queryFile.isEmpty()) {
        m_prompts.messageBox(QCoreApplication::translate("qm::ReportRunner", "Please select a Query on order to Generate a Report."),
                             box::ok | box::exclamation, QStringLiteral("Select First!!"));
        return;
    }
    const auto pointer = qScopeGuard([&] { m_prompts.pointer(kDefaultPointer); });
    const std::unique_ptr<ReportInterface> reportInterface = m_components.createReportInterface(interfaceId);
    m_prompts.pointer(kHourglass);
    reportInterface->GenerateReport(queryFile, 0, interactive, false);
}

void ReportRunner::tellFailure(const RuntimeError &error)
{
    if (error.number() == err::noOutputByRule || error.number() == err::cancelledByOperator)
        return;
    m_prompts.messageBox(QCoreApplication::translate("qm::ReportRunner",
                                                     "An error occured while generating the report.\r\n"
                                                     "Please go to application log to view detail information about the error."),
                         box::ok | box::critical, QString::fromLatin1(kApplicationTitle));
}

} // namespace qm
