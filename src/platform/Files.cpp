#include "platform/Files.h"

#include "core/RuntimeError.h"

#include <QDir>

#include <algorithm>
#include <array>

namespace qm::files {

namespace {

constexpr qsizetype kLongestName = 255; ///< of the common file systems: UTF-16 units on some, UTF-8 bytes on others

bool isReservedDevice(const QString &name)
{
    static constexpr std::array devices{u"CON", u"PRN", u"AUX", u"NUL", u"CONIN$", u"CONOUT$"};
    QString base = name.section(u'.', 0, 0).toUpper();
    while (base.endsWith(u' '))
        base.chop(1);
    if (std::any_of(devices.begin(), devices.end(), [&](QStringView device) { return base == device; }))
        return true;
    if (base.size() != 4 || !(base.startsWith(u"COM") || base.startsWith(u"LPT")))
        return false;
    const QChar port = base[3];
    return (port >= u'1' && port <= u'9') || port == u'\u00B9' || port == u'\u00B2' || port == u'\u00B3';
}

} // namespace

bool orderedBefore(QStringView a, QStringView b)
{
    const QString left = a.toString();
    const QString right = b.toString();
    const int folded = left.toCaseFolded().compare(right.toCaseFolded());
    return folded != 0 ? folded < 0 : left < right;
}

QString whyNotAName(const QString &name)
{
    if (name.isEmpty())
        return QStringLiteral("is empty");
    for (const QChar c : name) {
        if (c < u' ' || c == u'\u007F')
            return QStringLiteral("contains a control character");
        if (QStringView(u"\\/:*?\"<>|").contains(c))
            return QStringLiteral("contains '%1'").arg(c);
    }
    if (!name.isValidUtf16())
        return QStringLiteral("contains half of a character");
    if (name.endsWith(u' ') || name.endsWith(u'.'))
        return QStringLiteral("ends with a blank or a dot");
    if (isReservedDevice(name))
        return QStringLiteral("is a reserved device name");
    if (name.size() > kLongestName || name.toUtf8().size() > kLongestName)
        return QStringLiteral("is longer than %1 bytes").arg(kLongestName);
    return {};
}

QString lastPart(const QString &path)
{
    return path.mid(std::max(path.lastIndexOf(u'\\'), path.lastIndexOf(u'/')) + 1);
}

QString setAside(const QString &path)
{
    for (int number = 1;; ++number) {
        QString aside = path + QStringLiteral(".unreadable-%1").arg(number);
        if (entryExists(aside))
            continue;
        try {
            rename(path, aside);
            return aside;
        } catch (const RuntimeError &error) { // another program may have taken the number meanwhile
            if (error.number() != err::fileAlreadyExists)
                throw;
        }
    }
}

} // namespace qm::files
