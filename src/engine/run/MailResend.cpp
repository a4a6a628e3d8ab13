/// \file
/// Sending a kept message again.
#include "core/Failure.h"
#include "engine/outputs/MailDelivery.h"
#include "engine/rows/CancelFlag.h"
#include "engine/run/ReportEngine.h"
#include "engine/run/RunLedger.h"
#include "engine/sql/Period.h"
#include "framework/ConfigReaders.h"
#include "platform/ApplicationLog.h"
#include "platform/FileRights.h"
#include "platform/Files.h"

#include <QLockFile>

namespace qm {

namespace {

/// The recipients of \p run that are not known to have the message.
MailEnvelope leftOver(const LedgerEntry &run, const QString &messageFile)
{
    MailEnvelope envelope;
    envelope.messageFile = messageFile;
    for (const LedgerDelivery &delivery : run.deliveries) {
        if (delivery.state == recipientStateWord(RecipientState::Delivered))
            continue;
        envelope.from = delivery.sender.toUtf8();
        envelope.recipients.push_back(delivery.target.toUtf8());
    }
    return envelope;
}

/// \throws RuntimeError reportFailed when nothing of \p run is left to send.
void requireLeftOver(const LedgerEntry &run, const MailEnvelope &envelope)
{
    if (run.outputType != outputTypeWord(static_cast<int>(OutputKind::Email)))
        failReport(QStringLiteral("Run %1 sent no e-mail%2.")
                       .arg(run.id)
                       .arg(run.outputType.isEmpty() ? QString() : QStringLiteral(": its output was \"%1\"").arg(run.outputType)));
    if (envelope.recipients.empty())
        failReport(QStringLiteral("The e-mail of run %1 has reached all its recipients.").arg(run.id));
    if (!files::fileExists(envelope.messageFile))
        failReport(QStringLiteral("The message of run %1 was not kept (there is no %2). Generate the report again.")
                       .arg(run.id)
                       .arg(envelope.messageFile));
}

} // namespace

QString ReportEngine::resend(std::int64_t id, const std::shared_ptr<CancelFlag> &cancel)
{
    RunLedger ledger(m_services.installPath);
    LedgerEntry run = ledger.entry(id);
    MailEnvelope envelope = leftOver(run, outboxFile(m_services.installPath, id));
    requireLeftOver(run, envelope);
    const SmtpServer server = smtpServerOf(
        *TomlEmailConfigReader().ReadEmailSettings(m_services.installPath + QStringLiteral("Config") + kSep + QStringLiteral("Email.cfg")));
    if (!server.problem.isEmpty())
        failReport(server.problem);
    const QString lockFile = envelope.messageFile + QStringLiteral(".lock");
    if (files::isPipeOrDevice(lockFile))
        failReport(QStringLiteral("%1 is no file. Remove it, then send the e-mail of run %2 again.").arg(lockFile).arg(id));
    QLockFile alone(lockFile);
    alone.setStaleLockTime(0); // sending may take long; only a dead process loses its lock
    if (!alone.tryLock())
        failReport(QStringLiteral("The e-mail of run %1 is being sent again by another process.").arg(id));
    // Another process may have sent it before the lock was ours.
    run = ledger.entry(id);
    envelope = leftOver(run, envelope.messageFile);
    requireLeftOver(run, envelope);
    ledger.recordDeliveries(id, pendingDeliveries(envelope, utcText(m_services.clock.now())));
    const RunLimits limits(cancel, std::chrono::seconds(0));
    const MailOutcome outcome = sendMail(server, envelope, [&limits] { return limits.reached(); });
    const QString now = utcText(m_services.clock.now());
    ledger.recordDeliveries(id, ledgerDeliveries(outcome.recipients, envelope.from, now));
    const QString undelivered = undeliveredText(outcome.recipients);
    run.note += (run.note.isEmpty() ? QString() : QStringLiteral(" ")) + QStringLiteral("Sent again %1 UTC.").arg(now);
    run.status = undelivered.isEmpty() ? RunStatus::Done : RunStatus::Failed;
    run.error = undelivered;
    ledger.finish(run);
    const QString about = QStringLiteral("Run %1 sent again: ").arg(id);
    if (undelivered.isEmpty()) {
        files::kill(envelope.messageFile);
        m_services.log.info(about + deliveredText(outcome.recipients));
        return deliveredText(outcome.recipients);
    }
    m_services.log.error(about + undelivered);
    limits.check();
    failReport(undelivered);
}

} // namespace qm
