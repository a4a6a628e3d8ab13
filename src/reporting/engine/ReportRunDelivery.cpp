/// \file
/// The part of a run that hands the report to people and printers.
#include "platform/Files.h"
#include "reporting/delivery/PrintQueue.h"
#include "reporting/engine/Failure.h"
#include "reporting/engine/OutputNaming.h"
#include "reporting/engine/ReportRun.h"

#include <QTemporaryDir>

#include <algorithm>

namespace qm {

namespace {

constexpr char kDefaultName[] = "{description} {date}.{format}";

/// A folder that only this user can look into, and that goes with the run.
class PrivateFolder final
{
public:
    PrivateFolder()
    {
        if (!m_folder.isValid())
            failReport(QStringLiteral("No temporary folder could be made for the report: %1.").arg(m_folder.errorString()));
    }
    [[nodiscard]] QString path() const { return m_folder.path() + kSep; }

private:
    QTemporaryDir m_folder;
};

QDateTime localTime(const Clock &clock)
{
    return QDateTime::fromSecsSinceEpoch(std::chrono::system_clock::to_time_t(clock.now()));
}

bool mayHaveReachedSomebody(const MailOutcome &outcome)
{
    return std::any_of(outcome.recipients.begin(), outcome.recipients.end(), [](const RecipientResult &result) {
        return result.state == RecipientState::Delivered || result.state == RecipientState::Unknown;
    });
}

} // namespace

void ReportRun::checkDelivery()
{
    if (m_target == Target::Mail)
        m_mail.emplace(m_services.installPath, *m_query, m_facts);
    if (m_target != Target::Printer)
        return;
    if (const QString why = whyNotPrintable(m_query->OutputSettings.printer.name); !why.isEmpty())
        failReport(why);
}

void ReportRun::tellStage(RunStage stage) const
{
    if (m_options.stage)
        m_options.stage(stage);
}

void ReportRun::mail(RowSource &source, const RowSample &sample, const ReportPlan &plan)
{
    const PrivateFolder folder;
    OutputSettings settings = m_query->OutputSettings;
    settings.csvGuardFormulas = true; // who opens it has not made it
    const QString pattern = settings.file.isEmpty() ? QString::fromLatin1(kDefaultName) : files::lastPart(settings.file);
    FileDelivery report(outputName(pattern, fieldValues(m_facts), m_format, folder.path()), m_format, settings, m_services.fontFolder);
    const auto made = makeFile(report, source, sample, plan);
    QStringList attached{made.path};
    if (files::fileExists(made.path + QStringLiteral(".txt")))
        attached << made.path + QStringLiteral(".txt");
    tellStage(RunStage::Sending);
    m_mail->write(attached, plan.head, m_tail, localTime(m_services.clock));
    m_limits.check();
    m_ledger.recordDeliveries(m_entry.id, pendingDeliveries(m_mail->envelope(), utcText(m_services.clock.now())));
    endMail(m_mail->send(m_limits));
}

void ReportRun::endMail(const MailOutcome &outcome)
{
    m_ledger.recordDeliveries(m_entry.id, ledgerDeliveries(outcome.recipients, m_mail->envelope().from, utcText(m_services.clock.now())));
    if (!outcome.wasEncrypted && !m_mail->server().isThisMachine)
        addNote(QStringLiteral("Sent without TLS: the mail server %1 offers none.").arg(m_mail->server().host));
    const QString undelivered = undeliveredText(outcome.recipients);
    if (undelivered.isEmpty()) {
        m_result.delivered = deliveredText(outcome.recipients);
        return;
    }
    // Stopped before anybody got it, the run is an ordinary cancelled one; else who cancelled is told who has it already.
    if (m_limits.isCancelled() && !mayHaveReachedSomebody(outcome))
        m_limits.check();
    const QString notKept = keepForResending(m_mail->envelope().messageFile, m_services.installPath, m_entry.id);
    if (!mayHaveReachedSomebody(outcome))
        m_limits.check();
    failReport(undelivered +
               (notKept.isEmpty()
                    ? QStringLiteral(" The message is kept: quillmark-report --resend %1 sends it to those who lack it.").arg(m_entry.id)
                    : QStringLiteral(" The message could not be kept for sending it again: %1.").arg(notKept)));
}

void ReportRun::print(RowSource &source, const RowSample &sample, const ReportPlan &plan)
{
    const PrivateFolder folder;
    const PrinterOutput &printer = m_query->OutputSettings.printer;
    FileDelivery report(folder.path() + QStringLiteral("report.pdf"), m_format, m_query->OutputSettings, m_services.fontFolder);
    const auto made = makeFile(report, source, sample, plan);
    tellStage(RunStage::Printing);
    const PrintOutcome outcome = printDocument({.queue = printer.name,
                                                .file = made.path,
                                                .title = QString::fromStdString(plan.head.title),
                                                .copies = printer.copies,
                                                .pageWidthMm = plan.head.page.widthMm,
                                                .pageHeightMm = plan.head.page.heightMm},
                                               [this] { return m_limits.reached(); });
    const QString state = outcome.state == PrintOutcome::State::Printed ? QStringLiteral("printed")
                          : outcome.state == PrintOutcome::State::Taken ? QStringLiteral("taken")
                                                                        : QStringLiteral("failed");
    m_ledger.recordDeliveries(m_entry.id, {{outcome.queue, {}, state, outcome.words, utcText(m_services.clock.now())}});
    if (outcome.state == PrintOutcome::State::Failed) {
        m_limits.check();
        failReport(outcome.words);
    }
    m_result.delivered = outcome.words;
}

} // namespace qm
