#include "support/PrivateRegistry.h"

#include <QByteArray>
#include <QFile>
#include <QString>

namespace qm::test {

namespace {

void restore(const char *name, const QByteArray &value)
{
    if (value.isNull())
        qunsetenv(name);
    else
        qputenv(name, value);
}

} // namespace

struct PrivateRegistry::State
{
    QString folder;
    QByteArray homeBefore, foldersBefore;
};

PrivateRegistry::PrivateRegistry(const QString &folder)
    : m_state(std::make_unique<State>(State{folder, qgetenv("XDG_CONFIG_HOME"), qgetenv("XDG_CONFIG_DIRS")}))
{
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder + QStringLiteral("/config")));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(folder + QStringLiteral("/no-system-config")));
}

PrivateRegistry::~PrivateRegistry()
{
    restore("XDG_CONFIG_HOME", m_state->homeBefore);
    restore("XDG_CONFIG_DIRS", m_state->foldersBefore);
}

void PrivateRegistry::clear() const
{
    QFile::remove(m_state->folder + QStringLiteral("/config/tarrowind/registry.ini"));
}

} // namespace qm::test
