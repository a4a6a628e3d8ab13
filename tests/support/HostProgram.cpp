#include "support/HostProgram.h"

#include <QtGlobal>

namespace qm::test {

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    const HostResult result = runHost(program, arguments);
    if (result.code == 0)
        return "" + result.out; // never null
    qWarning("%s ended with %d: %s", qPrintable(program), result.code, result.err.constData());
    return {};
}

bool hasPythonModule(const QString &module)
{
    return runHost(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QStringLiteral("import ") + module}).code == 0;
}

} // namespace qm::test
