#include "framework/QueryPaths.h"

#include "framework/OwnPaths.h"
#include "platform/Files.h"

#include <QDir>

namespace qm {
namespace {

constexpr char kGroupsFolder[] = "Query Groups";

bool isSeparator(QChar c)
{
    return c == u'/' || c == u'\\';
}

/// Position of the last separator before \p end, or -1.
qsizetype separatorBefore(const QString &path, qsizetype end)
{
    for (qsizetype at = end - 1; at >= 0; --at)
        if (isSeparator(path[at]))
            return at;
    return -1;
}

} // namespace

QString packageFolderOf(const QString &queryFile)
{
    // "<package>/Query Groups/<group>/<file>" is the rule; the nearest folder of that name serves for files that lie elsewhere below it.
    qsizetype nearest = -1;
    qsizetype end = separatorBefore(queryFile, queryFile.size());
    for (int level = 0; end > 0; ++level) {
        const qsizetype start = separatorBefore(queryFile, end) + 1;
        if (QStringView(queryFile).mid(start, end - start).compare(QLatin1String(kGroupsFolder), Qt::CaseInsensitive) == 0) {
            if (level == 1)
                return queryFile.left(start);
            nearest = nearest < 0 ? start : nearest;
        }
        end = start - 1;
    }
    return nearest < 0 ? QString() : queryFile.left(nearest);
}

std::shared_ptr<PackageInfo> packageOf(const QString &queryFile, const std::vector<std::shared_ptr<PackageInfo>> &packages)
{
    const auto folded = [](const QString &path) { return QString(path).replace(u'\\', u'/').toCaseFolded(); };
    const QString file = folded(queryFile);
    std::shared_ptr<PackageInfo> best;
    for (const auto &package : packages) {
        const bool longer = package && (!best || package->InstallPath.size() > best->InstallPath.size());
        if (longer && !package->InstallPath.isEmpty() && file.startsWith(folded(package->InstallPath)))
            best = package;
    }
    return best;
}

QString resolveLayoutPath(const QString &reportFile, const QString &packageFolder)
{
    return reportFile.isEmpty() ? QString() : absolutePathBelow(reportFile, packageFolder);
}

} // namespace qm
