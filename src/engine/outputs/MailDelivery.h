/// \file
/// The e-mail of one report: checked before the first row is read, sent when the report is whole.
#pragma once

#include "core/Records.h"
#include "delivery/MailMessage.h"
#include "delivery/SmtpClient.h"
#include "engine/outputs/ReportOutput.h"
#include "framework/Query.h"

namespace qm {

/// What one run e-mails, and to whom.
class MailDelivery final
{
public:
    /// Reads "Config\Email.cfg" of \p installPath (as it is now, whatever a window shows) and works addresses, subject and text of
    /// \p settings out. \throws RuntimeError reportFailed, before anything is sent: no mail server, no sender, an address that is none, an
    /// unknown {field}; and as the reader of "Email.cfg".
    MailDelivery(const QString &installPath, const OutputSettings &settings, const QMap<QString, QString> &fields);

    /// Writes the message with \p files, the report first, beside the report as the envelope's messageFile; an HTML report is shown in the
    /// message too. \throws RuntimeError as writeMailMessage.
    void write(const QStringList &files, const DocumentFacts &facts, const ReportTail &tail, const QDateTime &date);
    /// Sends what was written.
    [[nodiscard]] MailOutcome send(const RunLimits &limits) const;

    [[nodiscard]] const SmtpServer &server() const { return m_server; }
    [[nodiscard]] const MailEnvelope &envelope() const { return m_envelope; }

private:
    [[nodiscard]] EmailSettings readServer(const QString &installPath);
    void readAddresses(const EmailOutput &email, const EmailSettings &settings);
    void addRecipients(const QStringList &texts, const char *which, std::vector<MailAddress> *shown);
    [[nodiscard]] QString filled(const QString &text, const char *which) const;
    [[nodiscard]] QString text(const ReportHead &head, const ReportTail &tail) const;

    const OutputSettings &m_settings;
    QMap<QString, QString> m_fields;
    SmtpServer m_server;
    MailMessage m_message;
    MailEnvelope m_envelope;
};

/// The ledger's rows for \p results.
[[nodiscard]] std::vector<LedgerDelivery> ledgerDeliveries(const std::vector<RecipientResult> &results, const QByteArray &sender,
                                                           const QString &whenUtc);
/// What the ledger holds while a message is on its way: should the program die, nobody knows what became of it.
[[nodiscard]] std::vector<LedgerDelivery> pendingDeliveries(const MailEnvelope &envelope, const QString &whenUtc);
/// "sent to a@example.org, b@example.org".
[[nodiscard]] QString deliveredText(const std::vector<RecipientResult> &results);
/// Who has got the message, who not and why, in words; empty when all have.
[[nodiscard]] QString undeliveredText(const std::vector<RecipientResult> &results);

/// Where a message is kept that did not reach everybody, so that it can be sent again to the others: "Outbox/run-17.eml".
[[nodiscard]] QString outboxFile(const QString &installPath, std::int64_t run);
/// Keeps \p messageFile for run \p run; only its owner may read it. \returns why it could not be kept; empty when it is.
[[nodiscard]] QString keepForResending(const QString &messageFile, const QString &installPath, std::int64_t run);

} // namespace qm
