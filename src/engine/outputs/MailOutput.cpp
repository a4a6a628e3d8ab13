#include "engine/outputs/MailOutput.h"

#include "core/Failure.h"
#include "engine/sql/Period.h"

#include <algorithm>
#include <utility>

namespace qm {

namespace {

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

MailOutput::MailOutput(const OutputContext &context) : m_context(context) {}

void MailOutput::check(const QMap<QString, QString> &fields)
{
    m_mail.emplace(m_context.installPath, m_context.settings, fields);
    checkOutputName(OutputPattern::inFolder(m_context, {}).pattern, fields, m_context.format);
}

ReportWriter &MailOutput::open(const DocumentFacts &facts)
{
    m_facts = facts;
    m_document.reset();
    m_folder.emplace();
    m_document.emplace(m_context, OutputPattern::inFolder(m_context, m_folder->path()));
    m_document->guardFormulas(); // who opens it has not made it
    return m_document->open(facts);
}

void MailOutput::close(const ReportTail &tail)
{
    m_document->close(tail);
    m_result = m_document->result();
    QStringList attached{std::exchange(m_result.file, {})};
    if (!m_document->factsFile().isEmpty())
        attached << m_document->factsFile();
    m_context.host.enter(RunStage::Sending);
    m_mail->write(attached, m_facts, tail, localTime(m_context.clock));
    m_context.limits.check();
    m_context.host.record(pendingDeliveries(m_mail->envelope(), utcText(m_context.clock.now())));
    const MailOutcome outcome = m_mail->send(m_context.limits);
    recordOutcome(outcome);
    requireDelivered(outcome);
    m_result.delivered = deliveredText(outcome.recipients);
}

void MailOutput::recordOutcome(const MailOutcome &outcome)
{
    m_context.host.record(ledgerDeliveries(outcome.recipients, m_mail->envelope().from, utcText(m_context.clock.now())));
    if (!outcome.wasEncrypted && !m_mail->server().isThisMachine)
        m_result.notes << QStringLiteral("Sent without TLS: the mail server %1 offers none.").arg(m_mail->server().host);
}

void MailOutput::requireDelivered(const MailOutcome &outcome)
{
    const QString undelivered = undeliveredText(outcome.recipients);
    if (undelivered.isEmpty())
        return;
    const RunLimits &limits = m_context.limits;
    // Stopped before anybody got it, the run is an ordinary cancelled one; else who cancelled is told who has it already.
    if (limits.isCancelled() && !mayHaveReachedSomebody(outcome))
        limits.check();
    const std::int64_t run = m_context.host.run();
    const QString notKept = keepForResending(m_mail->envelope().messageFile, m_context.installPath, run);
    if (!mayHaveReachedSomebody(outcome))
        limits.check();
    failReport(undelivered +
               (notKept.isEmpty()
                    ? QStringLiteral(" The message is kept: quillmark-report --resend %1 sends it to those who lack it.").arg(run)
                    : QStringLiteral(" The message could not be kept for sending it again: %1.").arg(notKept)));
}

} // namespace qm
