#include "delivery/SmtpTranscript.h"

#include <charconv>

namespace qm {

namespace {

constexpr std::size_t kCodeLength = 3;
constexpr qsizetype kLongestText = 1000;

std::string_view trimmedEnd(std::string_view line)
{
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n'))
        line.remove_suffix(1);
    return line;
}

/// Whether \p line begins with the word \p word (upper case), in any letter case.
bool beginsWith(std::string_view line, std::string_view word)
{
    const QByteArray first = QByteArray(line.data(), static_cast<qsizetype>(std::min(line.size(), word.size()))).toUpper();
    const bool ends = line.size() == word.size() || (line.size() > word.size() && (line[word.size()] == ' ' || line[word.size()] == ':'));
    return ends && first == QByteArray(word.data(), static_cast<qsizetype>(word.size()));
}

/// As text that people may see: whatever is no UTF-8 or a control is replaced.
QString shown(std::string_view bytes)
{
    QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    for (QChar &c : text)
        if (c.category() == QChar::Other_Control)
            c = u' ';
    return text.trimmed();
}

} // namespace

void SmtpTranscript::command(std::string_view line)
{
    line = trimmedEnd(line);
    m_reply = {};
    if (beginsWith(line, "EHLO") || beginsWith(line, "HELO")) {
        // After STARTTLS only what is announced anew counts.
        m_sizeLimit.reset();
        m_takesUtf8 = false;
        m_awaited = Awaited::Hello;
    } else if (beginsWith(line, "STARTTLS")) {
        m_awaited = Awaited::StartTls;
    } else if (beginsWith(line, "RCPT")) {
        m_recipients.emplace_back();
        m_awaited = Awaited::Recipient;
    } else if (beginsWith(line, "DATA")) {
        m_awaited = Awaited::Data;
    } else {
        m_awaited = Awaited::Other;
    }
}

void SmtpTranscript::capability(std::string_view text)
{
    if (beginsWith(text, "SMTPUTF8"))
        m_takesUtf8 = true;
    if (!beginsWith(text, "SIZE") || text.size() < 6)
        return;
    std::uint64_t limit = 0;
    const auto [end, error] = std::from_chars(text.data() + 5, text.data() + text.size(), limit);
    if (error == std::errc() && limit > 0) // zero: no fixed limit (RFC 1870)
        m_sizeLimit = limit;
}

void SmtpTranscript::replyLine(std::string_view line)
{
    line = trimmedEnd(line);
    m_hasGreeted = true;
    int code = 0;
    if (line.size() < kCodeLength || std::from_chars(line.data(), line.data() + kCodeLength, code).ptr != line.data() + kCodeLength)
        return;
    const bool goesOn = line.size() > kCodeLength && line[kCodeLength] == '-';
    const std::string_view text = line.size() > kCodeLength + 1 ? line.substr(kCodeLength + 1) : std::string_view();
    if (m_awaited == Awaited::Hello)
        capability(text);
    m_reply.code = code;
    if (m_reply.text.isEmpty())
        m_reply.text = QString::number(code);
    if (m_reply.text.size() < kLongestText)
        m_reply.text += u' ' + shown(text);
    if (!goesOn)
        finishReply();
}

void SmtpTranscript::finishReply()
{
    const Awaited awaited = std::exchange(m_awaited, Awaited::Other);
    const SmtpReply reply = std::exchange(m_reply, {});
    if (reply.code >= 400)
        m_refusal = reply;
    if (awaited == Awaited::StartTls && reply.code == 220)
        m_startedTls = true;
    else if (awaited == Awaited::Recipient)
        m_recipients.back() = reply;
    else if (awaited == Awaited::Message)
        m_message = reply;
    else if (awaited == Awaited::Data && reply.code == 354) {
        m_contentWasAsked = true;
        m_awaited = Awaited::Message; // the end of the content is no command line
    }
}

} // namespace qm
