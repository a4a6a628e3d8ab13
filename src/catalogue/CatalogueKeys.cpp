#include "catalogue/CatalogueKeys.h"

#include "platform/Files.h"

namespace qm {

namespace {
constexpr QChar kSplit = u'/';
}

QString packageKey(const QString &package)
{
    return selection::package + QString(kSplit) + package;
}

QString groupKey(const QString &package, const QString &group)
{
    return selection::group + QString(kSplit) + package + kSplit + group;
}

QString queryKey(std::size_t number)
{
    return selection::query + QString::number(number);
}

bool IsRootKey(const QString &key)
{
    return key == selection::package || key.startsWith(selection::package + QString(kSplit));
}

QString LastKeyPart(const QString &key)
{
    return key.mid(key.lastIndexOf(kSplit) + 1);
}

QString selectionCode(const QString &key)
{
    return key.left(1);
}

QString groupsFolder(const QString &packageFolder)
{
    return packageFolder + QStringLiteral("Query Groups") + kSep;
}

} // namespace qm
