#include "platform/Registry.h"

namespace qm {

QString shortProfileString(const QString &path, const QString &section, const QString &key)
{
    constexpr int longest = 254; // what fits in a buffer of 255 with its end
    return privateProfileString(path, section, key).value_or(QString()).left(longest).section(QChar(u'\0'), 0, 0);
}

} // namespace qm
