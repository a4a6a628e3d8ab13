/// \file
/// Registering COM classes for the length of a test.
#pragma once

#include <QDir>
#include <QString>
#include <QStringList>
#include <QtTest>

#include <windows.h>

#include <objbase.h>
#undef interface // a keyword of COM's headers, a name of ours

namespace qm::test {

/// Registers classes for everybody, or, where that is not allowed, for this user; takes all of it back at its end. The keys are volatile,
/// so that even a test that dies leaves none behind for longer than the session.
class ClassKeys final
{
public:
    ClassKeys() = default;
    ~ClassKeys()
    {
        for (const auto &[path, view] : m_made)
            for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
                HKEY classes = nullptr;
                if (RegOpenKeyExW(root, L"Software\\Classes", 0, KEY_ALL_ACCESS | view, &classes) != ERROR_SUCCESS)
                    continue;
                RegDeleteTreeW(classes, text(path));
                RegCloseKey(classes);
            }
    }
    ClassKeys(const ClassKeys &) = delete;
    ClassKeys &operator=(const ClassKeys &) = delete;

    /// \p progId is served by the library \p server; \p view KEY_WOW64_32KEY: for 32-bit programs alone.
    void add(const QString &progId, const GUID &id, const QString &server, REGSAM view = KEY_WOW64_64KEY)
    {
        wchar_t buffer[39] = {};
        StringFromGUID2(id, buffer, 39);
        const QString classId = QString::fromWCharArray(buffer);
        write(progId + QStringLiteral("\\CLSID"), {}, classId, KEY_WOW64_64KEY);
        write(QStringLiteral("CLSID\\%1\\InprocServer32").arg(classId), {}, QDir::toNativeSeparators(server), view);
        write(QStringLiteral("CLSID\\%1\\InprocServer32").arg(classId), QStringLiteral("ThreadingModel"), QStringLiteral("Both"), view);
        m_made.push_back({progId, KEY_WOW64_64KEY});
        m_made.push_back({QStringLiteral("CLSID\\") + classId, view});
    }

private:
    static const wchar_t *text(const QString &own) { return reinterpret_cast<const wchar_t *>(own.utf16()); }

    static void write(const QString &path, const QString &name, const QString &value, REGSAM view)
    {
        LSTATUS code = ERROR_SUCCESS;
        for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            HKEY key = nullptr;
            code = RegCreateKeyExW(root, text(QStringLiteral("Software\\Classes\\") + path), 0, nullptr, REG_OPTION_VOLATILE,
                                   KEY_SET_VALUE | view, nullptr, &key, nullptr);
            if (code != ERROR_SUCCESS)
                continue;
            code = RegSetValueExW(key, text(name), 0, REG_SZ, reinterpret_cast<const BYTE *>(value.utf16()),
                                  static_cast<DWORD>((value.size() + 1) * 2));
            RegCloseKey(key);
            break;
        }
        if (code != ERROR_SUCCESS)
            qFatal("the class key %s cannot be written: error %ld", qPrintable(path), code);
    }

    struct Key
    {
        QString path;
        REGSAM view;
    };
    std::vector<Key> m_made;
};

} // namespace qm::test
