#include "platform/PathParts.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"

#include <algorithm>
#include <array>

namespace qm::paths {

namespace {

bool isSeparator(QChar c)
{
    return c == kSep || c == u'/';
}

} // namespace

qsizetype rootLength(const QString &path)
{
    if (path.size() >= 3 && path[1] == u':' && isSeparator(path[2]) && kSep != u'/')
        return 3;
    if (path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1]) && kSep != u'/')
        return 2;
    return !path.isEmpty() && isSeparator(path[0]) ? 1 : 0;
}

bool isAbsolute(const QString &path)
{
    const qsizetype root = rootLength(path);
    return kSep == u'/' ? root == 1 : root > 1;
}

qsizetype lastSeparator(const QString &path)
{
    return std::max(path.lastIndexOf(kSep), path.lastIndexOf(u'/'));
}

QString folderOf(const QString &path)
{
    const auto separator = lastSeparator(path);
    return separator < 0 ? QStringLiteral(".") : path.first(std::max(separator, rootLength(path)));
}

QString trimmed(QString path)
{
    while (path.size() > std::max<qsizetype>(rootLength(path), 1) && isSeparator(path.back()))
        path.chop(1);
    return path;
}

void requireName(const QString &path)
{
    const QString name = path.mid(lastSeparator(path) + 1);
    if (const QString reason = files::whyNotAName(name); !reason.isEmpty())
        raise(err::badFileName, QStringLiteral("%1: the name %2").arg(path, reason));
}

void raiseTooLong(const QString &path)
{
    raise(err::invalidFileFormat, QStringLiteral("%1: is longer than %2 MB, which no file of this program is. Move it away, or put the "
                                                 "right file in its place")
                                      .arg(path)
                                      .arg(kMostBytes >> 20));
}

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

} // namespace qm::paths
