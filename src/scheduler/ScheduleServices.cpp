#include "scheduler/ScheduleServices.h"

#include "framework/Readers.h"
#include "platform/Files.h"

#include <QCoreApplication>

namespace qm {

void saveJobs(const ScheduleServices &services)
{
    Globals &globals = services.globals;
    static_cast<void>(requireJobs(globals));
    if (globals.gstrInstallPath.isEmpty())
        raise(err::pathNotFound,
              QCoreApplication::translate("qm::ScheduledJobs",
                                          "the installation folder is not known, so \"Jobs.cfg\" cannot be saved; set the registry value "
                                          "\"InstallPath\" and start the program again"));
    services.reader.SaveJobs(globals.gcolJobs, globals.gstrInstallPath + QStringLiteral("Config") + kSep + QStringLiteral("Jobs.cfg"));
}

PackageInterfaces::PackageInterfaces(const Globals &globals)
{
    for (const QString &name : globals.gdicPackages.Keys()) {
        const auto &info = globals.gdicPackages.at(name)->PackageInfo();
        m_packages.push_back({QStringMatcher(info->InstallPath, Qt::CaseInsensitive), info->Interface});
    }
}

QString PackageInterfaces::of(const QString &queryFile) const
{
    for (const Package &package : m_packages)
        if (package.folder.indexIn(queryFile) >= 0)
            return package.interfaceId;
    return {};
}

QString FindPackageInterface(const Globals &globals, const QString &queryFile)
{
    return PackageInterfaces(globals).of(queryFile);
}

} // namespace qm
