#include "help/HelpFile.h"

#include "platform/Files.h"

#include <QCoreApplication>

namespace qm {

QString HelpFile::effectivePath() const
{
    const QString program = QCoreApplication::applicationDirPath();
    for (const QString &folder : {program, program + QStringLiteral("/../share/quillmark")})
        if (const QString path = folder + QStringLiteral("/Report Generator.chm"); !files::fileExists(m_path) && files::fileExists(path))
            return path;
    return m_path;
}

void HelpFile::showContext(int context)
{
    if (!m_display)
        m_display = makeHelpDisplay(m_stateFile);
    m_display->show(effectivePath(), context);
}

void HelpFile::closeWindow()
{
    if (m_display)
        m_display->close();
}

} // namespace qm
