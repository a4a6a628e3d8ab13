#include "engine/outputs/MailDelivery.h"

#include "core/Failure.h"
#include "documents/ReportWords.h"
#include "engine/outputs/OutputNaming.h"
#include "engine/rows/CancelFlag.h"
#include "framework/ConfigReaders.h"
#include "framework/ReportFormat.h"
#include "platform/Files.h"
#include "platform/InstallationFolder.h"

#include <QFileInfo>
#include <QUuid>

#include <algorithm>

namespace qm {

namespace {

constexpr char kDefaultSubject[] = "{description}, {period}";
/// A page that a mail reader shows without effort; larger reports come as attachment only.
constexpr qint64 kLargestShownHtml = 1 << 20;

QString sentence(const Fact &fact)
{
    return QString::fromStdString(fact.label) + QStringLiteral(": ") + QString::fromStdString(fact.value) + u'\n';
}

/// Removes what an empty field leaves at the end: "Logons, " without a period is "Logons".
QString withoutLooseEnd(QString text)
{
    text = text.simplified();
    while (text.endsWith(u',') || text.endsWith(u' '))
        text.chop(1);
    return text;
}

} // namespace

MailDelivery::MailDelivery(const QString &installPath, const OutputSettings &settings, const QMap<QString, QString> &fields)
    : m_settings(settings), m_fields(fields)
{
    m_fields.insert(QStringLiteral("rows"), QStringLiteral("0"));
    readAddresses(settings.email, readServer(installPath));
    // Wrong fields are told now, not after a long run.
    static_cast<void>(filled(settings.email.subject, "subject"));
    static_cast<void>(filled(settings.email.body, "text"));
}

EmailSettings MailDelivery::readServer(const QString &installPath)
{
    if (installPath.isEmpty())
        failReport(QStringLiteral("The query file lies outside any installation, so there are no e-mail settings. Name an output file "
                                  "(--output FILE)."));
    const EmailSettings settings =
        *TomlEmailConfigReader().ReadEmailSettings(installPath + QStringLiteral("Config") + kSep + QStringLiteral("Email.cfg"));
    m_server = smtpServerOf(settings);
    if (!m_server.problem.isEmpty())
        failReport(m_server.problem);
    return settings;
}

void MailDelivery::readAddresses(const EmailOutput &email, const EmailSettings &settings)
{
    QString from = filled(email.from, "sender");
    if (from.trimmed().isEmpty()) {
        if (!settings.SmtpUser.contains(u'@'))
            failReport(QStringLiteral("The e-mail has no sender: the query's output settings name none, and the user name of the e-mail "
                                      "settings is no address. Fill in \"From\" in the query's output settings."));
        from = settings.SmtpUser;
    }
    m_message.from = parseMailAddress(from);
    if (!m_message.from.isValid())
        failReport(
            QStringLiteral("The e-mail's sender cannot be used: %1. Mend it in the query's output settings.").arg(m_message.from.problem));
    m_envelope.from = m_message.from.spec;
    addRecipients(email.to, "To", &m_message.to);
    addRecipients(email.cc, "Cc", &m_message.cc);
    addRecipients(email.bcc, "Bcc", nullptr);
    if (m_envelope.recipients.empty())
        failReport(QStringLiteral("The e-mail has no recipients. Fill in \"To\" in the query's output settings."));
    m_message.messageId =
        QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + m_message.from.spec.mid(m_message.from.spec.lastIndexOf('@'));
}

void MailDelivery::addRecipients(const QStringList &texts, const char *which, std::vector<MailAddress> *shown)
{
    for (const QString &text : texts) {
        const MailAddress address = parseMailAddress(filled(text, which));
        if (!address.isValid())
            failReport(QStringLiteral("A recipient of the e-mail (%1) cannot be used: %2. Mend it in the query's output settings.")
                           .arg(QLatin1String(which), address.problem));
        if (shown)
            shown->push_back(address);
        // The same mailbox twice would get two copies, or none: some servers refuse the second.
        const auto same = [&](const QByteArray &other) { return other.compare(address.spec, Qt::CaseInsensitive) == 0; };
        if (std::none_of(m_envelope.recipients.begin(), m_envelope.recipients.end(), same))
            m_envelope.recipients.push_back(address.spec);
    }
}

QString MailDelivery::filled(const QString &text, const char *which) const
{
    return fillFields(text, m_fields, QStringLiteral("The e-mail's %1").arg(QLatin1String(which)));
}

QString MailDelivery::text(const ReportHead &head, const ReportTail &tail) const
{
    QString facts = QStringLiteral("Rows: %1\n").arg(tail.rows);
    if (tail.truncated)
        facts += QString::fromStdString(cutNotice(tail)) + u'\n';
    for (const Fact &fact : head.facts)
        facts += sentence(fact);
    const QString own = filled(m_settings.email.body, "text");
    if (own.trimmed().isEmpty())
        return QStringLiteral("%1\n\n%2").arg(QString::fromStdString(head.title), facts);
    const auto format = formatOfWord(m_fields.value(QStringLiteral("format")));
    const bool statesFacts = !format || formatStatesFacts(*format);
    return own + QStringLiteral("\n") + (statesFacts ? QString() : QStringLiteral("\n") + facts);
}

void MailDelivery::write(const QStringList &files, const DocumentFacts &facts, const ReportTail &tail, const QDateTime &date)
{
    m_fields = facts.fields;
    m_fields.insert(QStringLiteral("rows"), QString::number(tail.rows));
    const QString subject = withoutLooseEnd(filled(m_settings.email.subject, "subject"));
    m_message.subject = subject.isEmpty() ? withoutLooseEnd(filled(QString::fromLatin1(kDefaultSubject), "subject")) : subject;
    m_message.text = text(facts.head, tail);
    m_message.attachments.clear();
    m_message.date = date;
    for (const QString &file : files)
        m_message.attachments.push_back({file, files::lastPart(file)});
    const QString &report = files.front();
    if (mediaTypeOf(report).startsWith("text/html") && QFileInfo(report).size() <= kLargestShownHtml)
        m_message.htmlFile = report;
    m_envelope.messageFile = QFileInfo(report).absolutePath() + QStringLiteral("/message.eml");
    writeMailMessage(m_message, m_envelope.messageFile);
}

MailOutcome MailDelivery::send(const RunLimits &limits) const
{
    return sendMail(m_server, m_envelope, [&limits] { return limits.reached(); });
}

std::vector<LedgerDelivery> pendingDeliveries(const MailEnvelope &envelope, const QString &whenUtc)
{
    std::vector<RecipientResult> results;
    for (const QByteArray &recipient : envelope.recipients)
        results.push_back({QString::fromUtf8(recipient), RecipientState::Unknown, QStringLiteral("It was being sent.")});
    return ledgerDeliveries(results, envelope.from, whenUtc);
}

std::vector<LedgerDelivery> ledgerDeliveries(const std::vector<RecipientResult> &results, const QByteArray &sender, const QString &whenUtc)
{
    std::vector<LedgerDelivery> rows;
    for (const RecipientResult &result : results)
        rows.push_back({result.address, QString::fromUtf8(sender), recipientStateWord(result.state), result.words, whenUtc});
    return rows;
}

QString deliveredText(const std::vector<RecipientResult> &results)
{
    QStringList addresses;
    for (const RecipientResult &result : results)
        addresses << result.address;
    return QStringLiteral("sent to ") + addresses.join(QStringLiteral(", "));
}

QString undeliveredText(const std::vector<RecipientResult> &results)
{
    std::vector<RecipientResult> left;
    for (const RecipientResult &result : results)
        if (result.state != RecipientState::Delivered)
            left.push_back(result);
    if (left.empty())
        return {};
    const bool alike = std::all_of(left.begin(), left.end(), [&](const RecipientResult &other) {
        return other.words == left.front().words && other.state == left.front().state;
    });
    const bool unknown = left.front().state == RecipientState::Unknown;
    if (left.size() == results.size() && alike)
        return unknown ? QStringLiteral("Nobody knows whether the e-mail arrived: the whole message was sent, and then %1")
                             .arg(left.front().words)
                       : QStringLiteral("The e-mail was not sent. %1").arg(left.front().words);
    QStringList told;
    for (const RecipientResult &result : left)
        told << QStringLiteral("%1 (%2): %3").arg(result.address, recipientStateWord(result.state), result.words);
    return QStringLiteral("The e-mail reached %1 of %2 recipients. Not known to have it: %3")
        .arg(results.size() - left.size())
        .arg(results.size())
        .arg(told.join(QStringLiteral("; ")));
}

QString outboxFile(const QString &installPath, std::int64_t run)
{
    return installPath + QStringLiteral("Outbox") + kSep + QStringLiteral("run-%1.eml").arg(run);
}

QString keepForResending(const QString &messageFile, const QString &installPath, std::int64_t run)
{
    if (run == 0)
        return QStringLiteral("the run ledger could not be written");
    if (!makeInstallationFolder(installPath, QStringLiteral("Outbox")))
        return QStringLiteral("the folder \"Outbox\" could not be made");
    // Only its owner may read it, from its first byte on.
    if (QFile source(messageFile); !source.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return source.errorString();
    try {
        files::copy(messageFile, outboxFile(installPath, run));
    } catch (const RuntimeError &error) {
        return error.description();
    }
    return {};
}

} // namespace qm
