#include "shell/ReportRunner.h"

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/Prompts.h"
#include "scheduler/ScheduleServices.h"

#include <QScopeGuard>

#include <QCoreApplication>

namespace qm {

namespace {
constexpr int kHourglass = 11, kDefaultPointer = 0;
} // namespace

/// A run that goes on while this object's caller does something else.
struct ReportRunner::Background
{
    std::unique_ptr<ReportInterface> owner;
    BackgroundReports *reports = nullptr; ///< the owner's other face
    std::function<void()> over;
    std::optional<RuntimeError> failure;
};

ReportRunner::ReportRunner(const Globals &globals, ComponentFactory &components, Prompts &prompts, ScheduleJournal &journal)
    : m_globals(globals), m_components(components), m_prompts(prompts), m_journal(journal)
{
}

ReportRunner::~ReportRunner() = default;

void ReportRunner::RunReport(const QString &interfaceId, bool interactive, std::function<void()> over) noexcept
{
    // This procedure has an ending of its own instead of the error reporter's box.
    bool goesOn = false;
    ++m_depth;
    try {
        goesOn = generate(interfaceId, interactive, over);
    } catch (...) {
        const RuntimeError error = currentError();
        trapSilently([&] { tellFailure(error); });
    }
    --m_depth;
    if (!goesOn)
        tellOver(interactive, over);
}

void ReportRunner::tellOver(bool interactive, const std::function<void()> &over)
{
    trapSilently([&] {
        if (!interactive)
            Q_EMIT scheduledRunOver();
        Q_EMIT runOver();
        if (over)
            over();
    });
}

bool ReportRunner::generate(const QString &interfaceId, bool interactive, std::function<void()> &over)
{
    // The query may be chosen anew while the report is made.
    const QString queryFile = m_globals.gstrCurrentQueryFile;
    if (queryFile.isEmpty()) {
        m_prompts.messageBox(QCoreApplication::translate("qm::ReportRunner", "Please select a Query on order to Generate a Report."),
                             box::ok | box::exclamation, QStringLiteral("Select First!!"));
        return false;
    }
    auto pointer = qScopeGuard([&] { m_prompts.pointer(kDefaultPointer); });
    std::unique_ptr<ReportInterface> reportInterface;
    BackgroundReports *reports = nullptr;
    try {
        reportInterface = m_components.createReportInterface(interfaceId);
        m_prompts.pointer(kHourglass);
        reports = interactive || m_background ? nullptr : dynamic_cast<BackgroundReports *>(reportInterface.get());
        if (reports)
            reports->beginReport(queryFile, [this](std::optional<RuntimeError> failure) {
                m_background->failure = std::move(failure);
                // Not within this call: the interface is released when its run is over.
                QMetaObject::invokeMethod(this, &ReportRunner::backgroundEnded, Qt::QueuedConnection);
            });
    } catch (...) {
        m_journal.refused(queryFile, interactive, currentError().description());
        throw;
    }
    if (!reports) {
        if (!interactive)
            Q_EMIT scheduledRunBegan(queryFile);
        reportInterface->GenerateReport(queryFile, 0, interactive, false);
        return false;
    }
    auto background = std::make_unique<Background>();
    background->owner = std::move(reportInterface);
    background->reports = reports;
    background->over = std::move(over);
    m_background = std::move(background);
    pointer.dismiss();
    trapSilently([&] { Q_EMIT scheduledRunBegan(queryFile); });
    return true;
}

void ReportRunner::backgroundEnded()
{
    trapSilently([&] {
        const std::unique_ptr<Background> ended = std::move(m_background);
        ended->owner.reset();
        if (m_depth == 0)
            m_prompts.pointer(kDefaultPointer);
        if (ended->failure) {
            const UnattendedScope unattended(m_prompts);
            trapSilently([&] { tellFailure(*ended->failure); });
        }
        tellOver(false, ended->over);
    });
}

std::optional<ReportProgress> ReportRunner::progress() const
{
    return m_background ? std::optional(m_background->reports->progress()) : std::nullopt;
}

void ReportRunner::cancel()
{
    if (m_background)
        m_background->reports->cancelReport();
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
