/// \file
/// What a mail server answered, command by command.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qm {

/// One answer, its lines joined by blanks: "550 5.1.1 No such user here". Code 0: none came.
struct SmtpReply
{
    int code = 0;
    QString text; ///< with its code

    [[nodiscard]] bool isPositive() const { return code >= 200 && code < 300; } ///< 3xx asks for more and confirms nothing
    [[nodiscard]] bool isTemporary() const { return code >= 400 && code < 500; }
};

/// Follows one SMTP dialogue (RFC 5321) from its lines. What a command says beyond its first word is not looked at, so that no password
/// can stay here.
class SmtpTranscript final
{
public:
    void command(std::string_view line);
    void replyLine(std::string_view line);

    /// Answers to RCPT, in the order of the commands.
    [[nodiscard]] const std::vector<SmtpReply> &recipientReplies() const { return m_recipients; }
    /// Whether the server has asked for the message's content (354).
    [[nodiscard]] bool contentWasAsked() const { return m_contentWasAsked; }
    /// The answer to the whole message; code 0 when none came.
    [[nodiscard]] const SmtpReply &messageReply() const { return m_message; }
    /// The last answer of class 4 or 5; code 0 when there was none.
    [[nodiscard]] const SmtpReply &lastRefusal() const { return m_refusal; }
    /// Largest message that the server takes, in bytes, as it announced; nullopt: it did not say.
    [[nodiscard]] std::optional<std::uint64_t> sizeLimit() const { return m_sizeLimit; }
    [[nodiscard]] bool takesUtf8() const { return m_takesUtf8; }
    [[nodiscard]] bool startedTls() const { return m_startedTls; }
    /// Whether the server said anything at all.
    [[nodiscard]] bool hasGreeted() const { return m_hasGreeted; }

private:
    void capability(std::string_view text);
    void finishReply();

    enum class Awaited { Greeting, Hello, StartTls, Recipient, Data, Message, Other };
    Awaited m_awaited = Awaited::Greeting;
    SmtpReply m_reply;
    std::vector<SmtpReply> m_recipients;
    SmtpReply m_message, m_refusal;
    std::optional<std::uint64_t> m_sizeLimit;
    bool m_contentWasAsked = false, m_takesUtf8 = false, m_startedTls = false, m_hasGreeted = false;
};

} // namespace qm
