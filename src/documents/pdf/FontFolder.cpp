#include "documents/pdf/FontFolder.h"

#include <QCoreApplication>
#include <QDir>

namespace qm {

QString shippedFontFolder()
{
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString beside = programs.filePath(QStringLiteral("fonts"));
    const QString installed = QDir::cleanPath(programs.filePath(QStringLiteral("../share/quillmark/fonts")));
    return !QDir(beside).exists() && QDir(installed).exists() ? installed : beside;
}

} // namespace qm
