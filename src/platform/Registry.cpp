#include "platform/Registry.h"

namespace qm {

QString GetInstallPath()
{
    return registryString(QString::fromLatin1(kRegistryKey), QStringLiteral("InstallPath"));
}

} // namespace qm
