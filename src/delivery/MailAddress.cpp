#include "delivery/MailAddress.h"

#include <QUrl>

#include <algorithm>

namespace qm {

namespace {

/// RFC 5321, section 4.5.3.1.
constexpr qsizetype kLongestLocalPart = 64, kLongestAddress = 254;

bool isControl(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Other_Format || c.category() == QChar::Separator_Line ||
           c.category() == QChar::Separator_Paragraph;
}

/// The characters of a dot-atom (RFC 5322, section 3.2.3), and letters beyond ASCII (RFC 6532).
bool isAtom(QChar c)
{
    if (c.unicode() >= 0x80)
        return !c.isSpace() && !isControl(c);
    return c.isLetterOrNumber() || QStringView(u"!#$%&'*+-/=?^_`{|}~").contains(c);
}

bool isDotAtom(const QString &text)
{
    return !text.isEmpty() && !text.startsWith(u'.') && !text.endsWith(u'.') && !text.contains(QStringLiteral("..")) &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c == u'.' || isAtom(c); });
}

bool isHostLabel(const QByteArray &label)
{
    const auto fits = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    };
    return !label.isEmpty() && label.size() <= 63 && !label.startsWith('-') && !label.endsWith('-') &&
           std::all_of(label.begin(), label.end(), fits);
}

/// The ASCII form of \p domain; empty when it is no domain and no address literal such as "[192.0.2.1]".
QByteArray asciiDomain(const QString &domain)
{
    if (domain.startsWith(u'[') && domain.endsWith(u']')) {
        const QString literal = domain.sliced(1, domain.size() - 2);
        const bool fits = std::all_of(literal.begin(), literal.end(),
                                      [](QChar c) { return (c.unicode() < 0x80 && c.isLetterOrNumber()) || c == u'.' || c == u':'; });
        return fits && !literal.isEmpty() ? domain.toLatin1() : QByteArray();
    }
    const bool plain = std::all_of(domain.begin(), domain.end(), [](QChar c) { return c.unicode() < 0x80; });
    const QByteArray ascii = plain ? domain.toLatin1() : QUrl::toAce(domain);
    const QList<QByteArray> labels = ascii.split('.');
    return std::all_of(labels.begin(), labels.end(), isHostLabel) ? ascii : QByteArray();
}

MailAddress refuse(const QString &text, const QString &why)
{
    QString shown = text;
    for (QChar &c : shown)
        if (isControl(c))
            c = u'?';
    MailAddress address;
    address.problem = QStringLiteral("\"%1\" is not an e-mail address: %2").arg(shown, why);
    return address;
}

} // namespace

MailAddress parseMailAddress(const QString &text)
{
    if (std::any_of(text.begin(), text.end(), isControl))
        return refuse(text, QStringLiteral("it holds a line break or another control character"));
    MailAddress address;
    QString spec = text.trimmed();
    if (spec.isEmpty())
        return refuse(text, QStringLiteral("it is empty"));
    if (const qsizetype open = spec.lastIndexOf(u'<'); open >= 0) {
        if (!spec.endsWith(u'>'))
            return refuse(text, QStringLiteral("a \"<\" is not closed"));
        address.name = spec.left(open).trimmed();
        if (address.name.size() > 1 && address.name.startsWith(u'"') && address.name.endsWith(u'"'))
            address.name = address.name.sliced(1, address.name.size() - 2).replace(QStringLiteral("\\\""), QStringLiteral("\""));
        else if (address.name.contains(u'<') || address.name.contains(u'>'))
            return refuse(text, QStringLiteral("it is more than one"));
        spec = spec.sliced(open + 1, spec.size() - open - 2).trimmed();
    }
    const qsizetype at = spec.lastIndexOf(u'@');
    if (at < 0)
        return refuse(text, QStringLiteral("it has no \"@\""));
    const QString local = spec.left(at);
    if (!isDotAtom(local))
        return refuse(text, QStringLiteral("the part before the \"@\" is empty or holds a character that it may not"));
    const QByteArray domain = asciiDomain(spec.sliced(at + 1));
    if (domain.isEmpty())
        return refuse(text, QStringLiteral("\"%1\" is not the name of a mail domain").arg(spec.sliced(at + 1)));
    address.spec = local.toUtf8() + '@' + domain;
    address.isAscii = address.spec.size() == local.size() + 1 + domain.size();
    if (local.toUtf8().size() > kLongestLocalPart || address.spec.size() > kLongestAddress)
        return refuse(text, QStringLiteral("it is too long"));
    return address;
}

} // namespace qm
