#include "sqlite/TemporaryFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace qm {

void useTemporaryFolder()
{
    if (qEnvironmentVariableIsSet("SQLITE_TMPDIR"))
        return;
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (cache.isEmpty())
        return;
    const QString folder = cache + QStringLiteral("/quillmark");
    if (!QDir().mkpath(folder) || !QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        return;
    if (QFileInfo(folder).isWritable())
        qputenv("SQLITE_TMPDIR", folder.toLocal8Bit());
}

} // namespace qm
