#include "core/RuntimeError.h"
#include "framework/ConfigReaders.h"
#include "framework/OwnPaths.h"
#include "platform/Files.h"
#include "platform/Registry.h"

#include <QFileInfo>

namespace qm {
namespace {

constexpr char kSectionPrefix[] = "Package.";

[[noreturn]] void fail(const QString &path, const QString &what)
{
    raise(err::invalidFileFormat, path + QStringLiteral(": ") + what, kFrameworkSource);
}

std::shared_ptr<PackageInfo> readPackage(const QString &path, const QString &section, const QString &folder)
{
    // On Windows too by our own reader: the system's takes the file's UTF-8 for the machine's code page, and cuts.
    const auto value = [&](const char *key) {
        return privateProfileString(path, section, QString::fromLatin1(key)).value_or(QString()).trimmed();
    };
    auto package = std::make_shared<PackageInfo>();
    package->PackageName = value("Name");
    if (package->PackageName.isEmpty())
        fail(path, QStringLiteral("section [%1] has no Name. Add a line Name=... with the name that the catalogue shows.").arg(section));
    const QString installPath = value("InstallPath");
    if (installPath.isEmpty())
        fail(path, QStringLiteral("section [%1] has no InstallPath. Add a line InstallPath=... with the package's folder.").arg(section));
    package->Interface = value("Interface");
    package->InstallPath = endedWithSeparator(absolutePathBelow(installPath, folder));
    package->QueryAccess = value("QueryAccess");
    const QString database = value("Database");
    package->Database = absolutePathBelow(database.isEmpty() ? QStringLiteral("EventLog.db") : database, package->InstallPath);
    return package;
}

} // namespace

std::vector<std::shared_ptr<PackageInfo>> IniPackageConfigReader::ReadPackages(const QString &path)
{
    if (!files::fileExists(path))
        raise(err::fileNotFound,
              QStringLiteral("%1. Restore the package configuration, or correct the installation folder in the registry value InstallPath "
                             "(it must end with a separator).")
                  .arg(path),
              kFrameworkSource);
    if (files::readAll(path).trimmed().isEmpty())
        fail(path, QStringLiteral("the file is empty. Restore the package configuration from a copy."));
    const QString folder = endedWithSeparator(withNativeSeparators(QFileInfo(path).absolutePath()));
    std::vector<std::shared_ptr<PackageInfo>> packages;
    const QStringList sections = privateProfileSections(path);
    for (const QString &section : sections)
        if (section.startsWith(QLatin1String(kSectionPrefix), Qt::CaseInsensitive))
            packages.push_back(readPackage(path, section, folder));
    // Without packages the section about the program itself tells a whole file from a wrong one.
    if (packages.empty() && !sections.contains(QLatin1String("Framework"), Qt::CaseInsensitive))
        fail(path, QStringLiteral("no section [Package.1], [Package.2], ... was found. Add one for each event-log package."));
    return packages;
}

} // namespace qm
