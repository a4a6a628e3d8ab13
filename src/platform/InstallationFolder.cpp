#include "platform/InstallationFolder.h"

#include "platform/FileRights.h"
#include "platform/Files.h"

#include <QDir>
#include <QFileInfo>

namespace qm {

bool makeInstallationFolder(const QString &installPath, const QString &name)
{
    const QString folder = installPath + name;
    if (QFileInfo(folder).isDir())
        return true;
    if (installPath.isEmpty() || !files::fileExists(installPath + QLatin1String(kPackagesFile)))
        return false;
    if (QDir().mkdir(folder))
        files::shareAsItsFolder(folder);
    return QFileInfo(folder).isDir(); // another program may have made it meanwhile
}

} // namespace qm
