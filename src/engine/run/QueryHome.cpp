#include "engine/run/QueryHome.h"

#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "platform/FileRights.h"
#include "platform/Files.h"
#include "platform/InstallationFolder.h"
#include "platform/PathParts.h"

#include <QDir>
#include <QFileInfo>

namespace qm {

namespace {

constexpr char kGroupsFolder[] = "Query Groups";

QString withSeparator(const QString &folder)
{
    QString native = QDir::toNativeSeparators(folder);
    return native.endsWith(kSep) ? native : native + kSep;
}

} // namespace

QueryHome findQueryHome(const QString &queryFile, const QString &installPath)
{
    QueryHome home;
    home.installPath = installPath;
    const QFileInfo group(QFileInfo(queryFile).absolutePath());
    const QFileInfo groups(group.path());
    if (groups.fileName().compare(QLatin1String(kGroupsFolder), Qt::CaseInsensitive) != 0)
        return home;
    home.group = group.fileName();
    home.packageFolder = withSeparator(groups.path());
    if (installPath.isEmpty())
        return home;
    IniPackageConfigReader reader;
    for (const auto &package : reader.ReadPackages(installPath + QLatin1String(kPackagesFile))) {
        const QString folder = withSeparator(package->InstallPath);
        if (folder.compare(home.packageFolder, Qt::CaseInsensitive) != 0 && !files::sameFile(folder, home.packageFolder))
            continue;
        home.package = package->PackageName;
        home.database = package->Database;
        break;
    }
    return home;
}

FoundInstallation installationAbove(const QString &queryFile, const QString &registered)
{
    FoundInstallation found;
    for (QDir folder = QFileInfo(queryFile).absoluteDir();; folder.setPath(QFileInfo(folder.path()).path())) {
        const QString packages = folder.filePath(QLatin1String(kPackagesFile));
        if (QFileInfo(packages).isFile()) {
            const QString path = withSeparator(folder.path());
            if ((!registered.isEmpty() && files::sameFile(path, registered)) || (files::isTrusted(path) && files::isTrusted(packages))) {
                found.path = path;
                return found;
            }
            if (found.passedOver.isEmpty())
                found.passedOver = path;
        }
        if (folder.isRoot())
            return found;
    }
}

std::shared_ptr<Query> readQueryFile(const QString &path)
{
    return TomlQueryAccess().ReadFile(path);
}

QString layoutPath(const QString &reportFile, const QString &packageFolder)
{
    if (reportFile.isEmpty())
        return {};
    QString native = reportFile;
    native.replace(u'\\', u'/');
    return paths::isAbsolute(native) ? native : packageFolder + QDir::toNativeSeparators(native);
}

ReportLayout readLayoutFile(const QString &path)
{
    return TomlLayoutReader().ReadLayout(path);
}

} // namespace qm
