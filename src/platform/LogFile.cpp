#include "platform/LogFile.h"

#include "platform/Files.h"

namespace qm {

QString LogFile::oldPath(int number) const
{
    const qsizetype dot = m_path.lastIndexOf(u'.');
    return number == 0 ? m_path : m_path.first(dot) + QStringLiteral(".%1").arg(number) + m_path.sliced(dot);
}

} // namespace qm
