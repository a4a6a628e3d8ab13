#include "shell/HelpFile.h"

#include "core/RuntimeError.h"
#include "platform/Files.h"

#include <QDesktopServices>
#include <QUrl>

namespace qm {

void HelpFile::showContext(int context)
{
    if (!files::fileExists(m_path))
        raise(err::fileNotFound, QStringLiteral("the help file \"%1\" is missing; install it again").arg(m_path));
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(m_path)))
        raise(err::cannotCreateObject, QStringLiteral("this desktop has no program that shows \"%1\" (page %2)").arg(m_path).arg(context));
}

} // namespace qm
