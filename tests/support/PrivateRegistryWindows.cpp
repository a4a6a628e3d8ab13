#include "support/PrivateRegistry.h"

#include "core/RuntimeError.h"
#include "platform/Registry.h"

#include <qt_windows.h>

namespace qm::test {

struct PrivateRegistry::State
{
    QString before; ///< empty: there was none
};

PrivateRegistry::PrivateRegistry(const QString &) : m_state(std::make_unique<State>())
{
    try {
        m_state->before = GetInstallPath();
    } catch (const RuntimeError &) { // there is none
    }
}

PrivateRegistry::~PrivateRegistry()
{
    if (m_state->before.isEmpty())
        clear();
    else
        setRegistryString(QString::fromLatin1(kRegistryKey), QStringLiteral("InstallPath"), m_state->before);
}

void PrivateRegistry::clear() const
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kRegistryKey, 0, KEY_SET_VALUE | KEY_WOW64_64KEY, &key) != ERROR_SUCCESS)
        return;
    RegDeleteValueW(key, L"InstallPath");
    RegCloseKey(key);
}

} // namespace qm::test
