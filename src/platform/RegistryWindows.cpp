// The machine-wide hive, in the 64-bit view whatever the program is built for. Where it lacks a value, the user's own hive may hold it:
// that is how somebody who is no administrator tries the program.

#include "core/RuntimeError.h"
#include "platform/Registry.h"
#include "platform/SystemFileWindows.h"

#include <utility>
#include <vector>

namespace qm {

using namespace qm::win;

namespace {

QString placeOf(const QString &key, const QString &name)
{
    return QStringLiteral("the value \"%1\" of HKEY_LOCAL_MACHINE\\%2").arg(name, key);
}

bool isMissing(LSTATUS code)
{
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

std::pair<LSTATUS, QString> readString(HKEY hive, const QString &key, const QString &name)
{
    std::vector<wchar_t> text(260);
    LSTATUS code = ERROR_MORE_DATA;
    while (code == ERROR_MORE_DATA) {
        auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        code = RegGetValueW(hive, wide(key), wide(name), RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND | RRF_SUBKEY_WOW6464KEY,
                            nullptr, text.data(), &size);
        if (code == ERROR_MORE_DATA)
            text.resize(text.size() * 2);
    }
    return {code, code == ERROR_SUCCESS ? QString::fromWCharArray(text.data()) : QString()};
}

LSTATUS writeString(HKEY hive, const QString &key, const QString &name, const QString &value)
{
    HKEY opened = nullptr;
    LSTATUS code =
        RegCreateKeyExW(hive, wide(key), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE | KEY_WOW64_64KEY, nullptr, &opened, nullptr);
    if (code == ERROR_SUCCESS) {
        const auto size = static_cast<DWORD>(static_cast<std::size_t>(value.size() + 1) * sizeof(wchar_t));
        code = RegSetValueExW(opened, wide(name), 0, REG_SZ, reinterpret_cast<const BYTE *>(value.utf16()), size);
        RegCloseKey(opened);
    }
    return code;
}

} // namespace

QString registryString(const QString &key, const QString &name)
{
    auto [code, value] = readString(HKEY_LOCAL_MACHINE, key, name);
    if (isMissing(code)) {
        auto [userCode, userValue] = readString(HKEY_CURRENT_USER, key, name);
        if (userCode == ERROR_SUCCESS && !userValue.isEmpty())
            return userValue;
        raise(err::fileNotFound,
              placeOf(key, name) + QStringLiteral(" does not exist; run the set-up, or \"quillmark-trial --register\" for a "
                                                  "trial installation, or make it as a text (REG_SZ)"));
    }
    if (code == ERROR_UNSUPPORTED_TYPE)
        raise(err::typeMismatch, placeOf(key, name) + QStringLiteral(" is not a text; give it the type REG_SZ"));
    if (code != ERROR_SUCCESS)
        raiseSystem(static_cast<DWORD>(code), placeOf(key, name));
    if (value.isEmpty())
        raise(err::typeMismatch, placeOf(key, name) + QStringLiteral(" is empty; write the text it should have"));
    return value;
}

void setRegistryString(const QString &key, const QString &name, const QString &value)
{
    LSTATUS code = writeString(HKEY_LOCAL_MACHINE, key, name, value);
    // A machine-wide value would go on hiding the user's own.
    if (code == ERROR_ACCESS_DENIED && isMissing(readString(HKEY_LOCAL_MACHINE, key, name).first))
        code = writeString(HKEY_CURRENT_USER, key, name, value);
    if (code == ERROR_ACCESS_DENIED)
        raise(err::pathFileAccess,
              placeOf(key, name) + QStringLiteral(": only an administrator may write it; start this program as administrator"));
    if (code != ERROR_SUCCESS)
        raiseSystem(static_cast<DWORD>(code), placeOf(key, name), err::pathFileAccess);
}

} // namespace qm
