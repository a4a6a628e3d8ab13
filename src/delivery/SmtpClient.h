/// \file
/// Hands a message to a mail server (SMTP, RFC 5321) and says for each recipient what became of it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

namespace qm {

struct EmailSettings;

/// The mail server and how it is spoken to.
struct SmtpServer
{
    QString host;
    int port = 0;
    bool implicitTls = false;             ///< TLS from the first byte; else STARTTLS
    bool isThisMachine = false;           ///< nothing that is said leaves it
    bool mustEncrypt = false;             ///< false: STARTTLS is used where the server offers it
    std::chrono::milliseconds timeout{0}; ///< longest connecting, and longest silence
    QString user, password;               ///< no user: no log-in
    std::chrono::milliseconds pauseBeforeRepeat{5000};
    std::chrono::milliseconds longestFarewell{2000}; ///< once the message is answered nothing is worth waiting for

    QString problem; ///< why the settings cannot be used; empty when they can
};

/// Works \p settings out: a port of 0 is 587 with a user and 25 without, a time-out of 0 is 60 seconds; TLS from the first byte on port 465
/// or where the server's name begins with "smtps://"; with a user name encryption is demanded of every server but this machine itself.
[[nodiscard]] SmtpServer smtpServerOf(const EmailSettings &settings);

enum class RecipientState {
    Delivered, ///< the server took the message for this recipient
    Refused,   ///< refused for good (5xx)
    Deferred,  ///< refused for now (4xx)
    Unknown,   ///< the connection was lost after the whole message was sent: the recipient may have it
    NotSent    ///< it never came to an answer
};
/// "delivered", "refused", "deferred", "unknown", "not sent".
[[nodiscard]] QString recipientStateWord(RecipientState state);

struct RecipientResult
{
    QString address;
    RecipientState state = RecipientState::NotSent;
    QString words; ///< the server's own, or what kept the message from being sent
};

struct MailEnvelope
{
    QByteArray from;                    ///< local@domain
    std::vector<QByteArray> recipients; ///< likewise, each once
    QString messageFile;
};

struct MailOutcome
{
    std::vector<RecipientResult> recipients; ///< in the envelope's order
    bool wasEncrypted = false;               ///< every transmission that got through was

    [[nodiscard]] bool isDelivered() const; ///< to all
};

/// Sends. A recipient that was refused for now is tried once more. Ends soon after \p stopped says so. Certificates are verified against
/// the system's authorities, or those of the file SSL_CERT_FILE and the folder SSL_CERT_DIR (environment) where they are named; that of
/// this machine's own relay is taken as it is unless TLS is demanded.
[[nodiscard]] MailOutcome sendMail(const SmtpServer &server, const MailEnvelope &envelope, const std::function<bool()> &stopped);

} // namespace qm
