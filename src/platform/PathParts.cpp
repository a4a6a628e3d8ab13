#include "platform/PathParts.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"

#include <algorithm>

namespace qm::paths {

namespace {

bool isSeparator(QChar c)
{
    return c == kSep || c == u'/';
}

/// How many characters of \p path are its root with the separator: "/", or "C:\\" where drives have letters.
qsizetype rootLength(const QString &path)
{
    if (path.size() >= 3 && path[1] == u':' && isSeparator(path[2]) && kSep != u'/')
        return 3;
    return !path.isEmpty() && isSeparator(path[0]) ? 1 : 0;
}

} // namespace

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

} // namespace qm::paths
