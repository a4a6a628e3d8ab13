#include "delivery/SmtpClient.h"

#include "core/Records.h"
#include "delivery/SmtpTransmission.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <thread>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr int kPortTls = 465, kPortSubmission = 587, kPortRelay = 25;
constexpr auto kUsualTimeout = 60s;
/// Every server takes so many recipients at once (RFC 5321, section 4.5.3.1.8).
constexpr std::size_t kRecipientsAtOnce = 100;
constexpr auto kPauseStep = 100ms;

bool isThisMachine(const QString &host)
{
    static const QRegularExpression loopback(QStringLiteral("^127(\\.[0-9]{1,3}){3}$"));
    return host.compare(QStringLiteral("localhost"), Qt::CaseInsensitive) == 0 || loopback.match(host).hasMatch() ||
           host == QStringLiteral("::1");
}

/// Takes a scheme off \p host. \returns whether it demands TLS from the first byte.
bool takeScheme(QString &host)
{
    for (const auto &[scheme, implicit] : {std::pair{QStringLiteral("smtps://"), true}, {QStringLiteral("smtp://"), false}})
        if (host.startsWith(scheme, Qt::CaseInsensitive)) {
            host.remove(0, scheme.size());
            return implicit;
        }
    return false;
}

/// Waits, unless \p stopped ends it. \returns whether it waited to the end.
bool waitFor(std::chrono::milliseconds time, const std::function<bool()> &stopped)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        if (stopped && stopped())
            return false;
        std::this_thread::sleep_for(std::min<std::chrono::milliseconds>(time, kPauseStep));
    }
    return true;
}

} // namespace

SmtpServer smtpServerOf(const EmailSettings &settings)
{
    SmtpServer server;
    server.host = settings.SmtpServer.trimmed();
    server.implicitTls = takeScheme(server.host);
    server.user = settings.SmtpUser;
    server.password = settings.SmtpPassword;
    server.port = settings.SmtpPort;
    if (server.port == 0)
        server.port = server.implicitTls ? kPortTls : server.user.isEmpty() ? kPortRelay : kPortSubmission;
    server.implicitTls = server.implicitTls || server.port == kPortTls;
    server.isThisMachine = isThisMachine(server.host);
    server.mustEncrypt = server.implicitTls || (!server.user.isEmpty() && !server.isThisMachine);
    server.timeout = settings.Timeout == 0 ? std::chrono::milliseconds(kUsualTimeout) : std::chrono::milliseconds(settings.Timeout);
    QUrl url;
    url.setScheme(QStringLiteral("smtp"));
    url.setHost(server.host);
    const QString where = QStringLiteral("the e-mail settings (Options, E-mail Settings)");
    if (server.host.isEmpty())
        server.problem = QStringLiteral("No mail server is named in %1.").arg(where);
    else if (!url.isValid() || url.host().isEmpty())
        server.problem = QStringLiteral("\"%1\" in %2 is not the name of a mail server.").arg(server.host, where);
    else if (server.port < 0 || server.port > 65535)
        server.problem = QStringLiteral("The port %1 in %2 is none. The usual ones are 587, 465 and 25.").arg(server.port).arg(where);
    else if (settings.Timeout < 0)
        server.problem = QStringLiteral("The time-out in %1 is negative. Give it in milliseconds, or 0 for one minute.").arg(where);
    return server;
}

QString recipientStateWord(RecipientState state)
{
    switch (state) {
    case RecipientState::Delivered:
        return QStringLiteral("delivered");
    case RecipientState::Refused:
        return QStringLiteral("refused");
    case RecipientState::Deferred:
        return QStringLiteral("deferred");
    case RecipientState::Unknown:
        return QStringLiteral("unknown");
    case RecipientState::NotSent:
        break;
    }
    return QStringLiteral("not sent");
}

bool MailOutcome::isDelivered() const
{
    return std::all_of(recipients.begin(), recipients.end(),
                       [](const RecipientResult &result) { return result.state == RecipientState::Delivered; });
}

MailOutcome sendMail(const SmtpServer &server, const MailEnvelope &envelope, const std::function<bool()> &stopped)
{
    MailOutcome outcome{{}, true};
    const auto transmit = [&](std::span<const QByteArray> recipients) {
        std::vector<RecipientResult> found;
        for (std::size_t at = 0; at < recipients.size(); at += kRecipientsAtOnce) {
            SmtpTransmission transmission(server, envelope, recipients.subspan(at, std::min(kRecipientsAtOnce, recipients.size() - at)),
                                          stopped);
            const auto results = transmission.run();
            found.insert(found.end(), results.begin(), results.end());
            const bool gotThrough = std::any_of(results.begin(), results.end(), [](const RecipientResult &result) {
                return result.state == RecipientState::Delivered || result.state == RecipientState::Unknown;
            });
            outcome.wasEncrypted = outcome.wasEncrypted && (transmission.wasEncrypted() || !gotThrough);
        }
        return found;
    };
    outcome.recipients = transmit(envelope.recipients);
    std::vector<QByteArray> again;
    for (const RecipientResult &result : outcome.recipients)
        if (result.state == RecipientState::Deferred)
            again.push_back(result.address.toUtf8());
    if (again.empty() || !waitFor(server.pauseBeforeRepeat, stopped))
        return outcome;
    for (const RecipientResult &result : transmit(again))
        *std::find_if(outcome.recipients.begin(), outcome.recipients.end(),
                      [&](const RecipientResult &old) { return old.address == result.address; }) = result;
    return outcome;
}

} // namespace qm
