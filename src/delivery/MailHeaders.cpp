#include "delivery/MailHeaders.h"

#include <QByteArrayList>

#include <algorithm>

namespace qm {

namespace {

/// Longer words and names are encoded, since a line may have 998 characters (RFC 5322, section 2.1.1) and words cannot be folded.
constexpr qsizetype kLineLength = 76;
/// What one encoded word may hold so that it stays within 75 characters: 75 - strlen("=?UTF-8?B??="), of which base64 makes 4 of 3.
constexpr qsizetype kBytesPerWord = 45;

QString withoutControls(const QString &text)
{
    QString plain = text;
    for (QChar &c : plain)
        if (c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph)
            c = u' ';
    return plain.simplified();
}

bool isPlain(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0x20 && c.unicode() < 0x7F; }) &&
           !text.contains(QStringLiteral("=?"));
}

/// \p text as encoded words, each with whole characters.
QList<QByteArray> encodedWords(const QString &text)
{
    QList<QByteArray> words;
    QByteArray bytes;
    const auto flush = [&] {
        if (!bytes.isEmpty())
            words.append("=?UTF-8?B?" + bytes.toBase64() + "?=");
        bytes.clear();
    };
    for (qsizetype i = 0; i < text.size();) {
        const qsizetype units = text[i].isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        const QByteArray character = text.mid(i, units).toUtf8();
        if (bytes.size() + character.size() > kBytesPerWord)
            flush();
        bytes += character;
        i += units;
    }
    flush();
    return words;
}

/// Joins \p words by blanks, or by folds where a line would grow too long.
QByteArray folded(const QByteArray &name, const QList<QByteArray> &words)
{
    QByteArray header = name + ':';
    qsizetype column = header.size();
    for (const QByteArray &word : words) {
        const bool breaks = column + 1 + word.size() > kLineLength && column > name.size() + 1;
        header += (breaks ? "\r\n " : " ") + word;
        column = (breaks ? 1 : column + 1) + word.size();
    }
    return header + "\r\n";
}

QByteArray phrase(const QString &name)
{
    const QString plain = withoutControls(name);
    if (!isPlain(plain) || plain.size() > kLineLength)
        return encodedWords(plain).join("\r\n ");
    QByteArray quoted = plain.toLatin1();
    return '"' + quoted.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

/// RFC 2231: every byte beyond letters, digits and a few marks as %XX.
QByteArray extendedValue(const QString &value)
{
    return "UTF-8''" + value.toUtf8().toPercentEncoding({}, "'()*");
}

} // namespace

QByteArray textHeader(const QByteArray &name, const QString &text)
{
    const QString plain = withoutControls(text);
    const QList<QByteArray> words = plain.toLatin1().split(' ');
    const bool fits = std::all_of(words.begin(), words.end(), [](const QByteArray &word) { return word.size() < kLineLength; });
    return folded(name, isPlain(plain) && fits ? words : encodedWords(plain));
}

QByteArray addressHeader(const QByteArray &name, const std::vector<MailAddress> &addresses)
{
    QByteArray header;
    for (const MailAddress &address : addresses) {
        header += header.isEmpty() ? name + ": " : QByteArray(",\r\n ");
        header += address.name.isEmpty() ? address.spec : phrase(address.name) + " <" + address.spec + '>';
    }
    return header.isEmpty() ? header : header + "\r\n";
}

QByteArray attachmentHeaders(const QByteArray &mediaType, const QString &fileName)
{
    const QString name = withoutControls(fileName);
    QByteArray type = "Content-Type: " + mediaType, disposition = "Content-Disposition: attachment";
    if (isPlain(name) && !name.contains(u'"') && !name.contains(u'\\')) {
        type += ";\r\n name=\"" + name.toLatin1() + '"';
        disposition += ";\r\n filename=\"" + name.toLatin1() + '"';
    } else {
        // The encoded word is for readers that know no RFC 2231.
        type += ";\r\n name=\"" + encodedWords(name).join("\r\n ") + '"';
        disposition += ";\r\n filename*=" + extendedValue(name);
    }
    return type + "\r\n" + disposition + "\r\n";
}

} // namespace qm
