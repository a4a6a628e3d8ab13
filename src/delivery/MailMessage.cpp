#include "delivery/MailMessage.h"

#include "core/RuntimeError.h"
#include "delivery/MailHeaders.h"
#include "documents/OutputFile.h"
#include "framework/ReportFormat.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <string_view>

namespace qm {

namespace {

constexpr qsizetype kBytesPerLine = 57; ///< 76 characters of base64
constexpr qsizetype kLinesAtOnce = 1024;

std::string_view view(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

void put(OutputFile &file, const QByteArray &bytes)
{
    file.write(view(bytes));
}

void putBase64(OutputFile &file, const QByteArray &bytes)
{
    QByteArray lines;
    for (qsizetype at = 0; at < bytes.size(); at += kBytesPerLine)
        lines += bytes.mid(at, kBytesPerLine).toBase64() + "\r\n";
    put(file, lines);
}

void putFile(OutputFile &file, const QString &path)
{
    QFile source(path);
    if (!source.open(QIODevice::ReadOnly))
        raise(QFileInfo::exists(path) ? err::pathFileAccess : err::fileNotFound,
              QStringLiteral("%1 cannot be put into the e-mail: %2").arg(path, source.errorString()), kFrameworkSource);
    while (!source.atEnd()) {
        const QByteArray bytes = source.read(kBytesPerLine * kLinesAtOnce);
        if (bytes.isEmpty())
            raise(err::deviceIo, QStringLiteral("%1 cannot be read: %2").arg(path, source.errorString()), kFrameworkSource);
        putBase64(file, bytes);
    }
}

QByteArray newBoundary()
{
    return "=_" + QUuid::createUuid().toByteArray(QUuid::Id128);
}

QByteArray multipart(const char *kind, const QByteArray &boundary)
{
    return QByteArray("Content-Type: multipart/") + kind + ";\r\n boundary=\"" + boundary + "\"\r\n\r\n";
}

void putText(OutputFile &file, const MailMessage &message)
{
    QString text = message.text;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\n', QStringLiteral("\r\n"));
    put(file, "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: base64\r\n\r\n");
    putBase64(file, text.toUtf8());
}

/// The readable part: the text, or text and HTML of which the reader chooses.
void putBody(OutputFile &file, const MailMessage &message)
{
    if (message.htmlFile.isEmpty()) {
        putText(file, message);
        return;
    }
    const QByteArray boundary = newBoundary();
    put(file, multipart("alternative", boundary) + "--" + boundary + "\r\n");
    putText(file, message);
    put(file, "--" + boundary + "\r\nContent-Type: text/html; charset=UTF-8\r\nContent-Transfer-Encoding: base64\r\n\r\n");
    putFile(file, message.htmlFile);
    put(file, "--" + boundary + "--\r\n");
}

} // namespace

QByteArray mediaTypeOf(const QString &fileName)
{
    if (const auto format = formatOfFile(fileName))
        return formatMediaType(*format);
    return fileName.endsWith(QStringLiteral(".txt"), Qt::CaseInsensitive) ? "text/plain; charset=UTF-8" : "application/octet-stream";
}

std::uint64_t writeMailMessage(const MailMessage &message, const QString &path)
{
    OutputFile file(path);
    const QByteArray boundary = newBoundary();
    put(file, "Date: " + message.date.toString(Qt::RFC2822Date).toLatin1() + "\r\n");
    put(file, addressHeader("From", {message.from}));
    put(file, message.to.empty() && message.cc.empty() ? QByteArray("To: undisclosed-recipients:;\r\n") : addressHeader("To", message.to));
    put(file, addressHeader("Cc", message.cc));
    put(file, textHeader("Subject", message.subject));
    put(file, "Message-ID: <" + message.messageId + ">\r\nMIME-Version: 1.0\r\nAuto-Submitted: auto-generated\r\n");
    put(file, multipart("mixed", boundary) + "--" + boundary + "\r\n");
    putBody(file, message);
    for (const MailAttachment &attachment : message.attachments) {
        put(file, "--" + boundary + "\r\n" + attachmentHeaders(mediaTypeOf(attachment.fileName), attachment.fileName) +
                      "Content-Transfer-Encoding: base64\r\n\r\n");
        putFile(file, attachment.path);
    }
    put(file, "--" + boundary + "--\r\n");
    return file.commit().bytes;
}

} // namespace qm
