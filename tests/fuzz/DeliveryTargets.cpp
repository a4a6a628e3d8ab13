// E-mail: addresses and headers that can carry nothing else, and what a server may answer.

#include "fuzz/Fuzz.h"

#include "delivery/MailAddress.h"
#include "delivery/MailHeaders.h"
#include "delivery/SmtpTranscript.h"

#include <algorithm>

namespace qm::fuzz {

namespace {

/// One header (or two: an attachment's), folded, without controls, in lines of at most 998 characters (RFC 5322, 2.1.1).
void isHeader(const QByteArray &header)
{
    PROMISE(header.endsWith("\r\n"));
    for (QByteArray rest = header, first = "x"; !rest.isEmpty();) {
        const qsizetype end = rest.indexOf("\r\n");
        const QByteArray line = rest.left(end);
        PROMISE(end <= 998 && !first.isEmpty());
        PROMISE(first == "x" || line.startsWith(' ') || line.startsWith("Content-Disposition:"));
        PROMISE(std::none_of(line.begin(), line.end(), [](char c) { return (c >= 0 && c < 0x20 && c != '\t') || c == 0x7F; }));
        rest.remove(0, end + 2);
        first = line;
    }
}

void mail(const QByteArray &bytes)
{
    if (bytes.size() >= 900)
        return; // known: a longer text without blanks makes a line beyond 998 characters
    const QString text = QString::fromUtf8(bytes);
    isHeader(textHeader("Subject", text));
    isHeader(attachmentHeaders("text/csv", text.left(85))); // as long as a file's name can be
    const MailAddress address = parseMailAddress(text);
    if (!address.isValid())
        return;
    PROMISE(address.spec.contains('@') &&
            std::none_of(address.spec.begin(), address.spec.end(), [](char c) { return QByteArrayView("\r\n <>").contains(c); }));
    isHeader(addressHeader("To", {address, address}));
}

/// Lines of a dialogue; what we said begins with ">".
void smtp(const QByteArray &bytes)
{
    SmtpTranscript transcript;
    qsizetype recipients = 0;
    for (const QByteArray &line : bytes.split('\n')) {
        const std::string_view text(line.constData(), static_cast<std::size_t>(line.size()));
        if (text.starts_with('>')) {
            transcript.command(text.substr(1));
            recipients += line.mid(1, 4).toUpper() == "RCPT" ? 1 : 0;
        } else {
            transcript.replyLine(text);
        }
    }
    PROMISE(static_cast<qsizetype>(transcript.recipientReplies().size()) <= recipients);
    for (const SmtpReply &reply : transcript.recipientReplies())
        PROMISE(std::none_of(reply.text.begin(), reply.text.end(), [](QChar c) { return c.category() == QChar::Other_Control; }));
}

} // namespace

Targets deliveryTargets()
{
    return {{"mail", mail}, {"smtp", smtp}};
}

} // namespace qm::fuzz
