#include "platform/Files.h"

#include "core/RuntimeError.h"
#include "platform/PathParts.h"

#include <QDir>

#include <algorithm>

namespace qm::files {

namespace {

constexpr qsizetype kLongestName = 255; ///< of the common file systems: UTF-16 units on some, UTF-8 bytes on others

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
    if (paths::isReservedDevice(name))
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
