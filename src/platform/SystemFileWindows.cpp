#include "platform/SystemFileWindows.h"

#include "platform/AccessListWindows.h"
#include "platform/TemporaryFiles.h"

#include <QDir>

#include <algorithm>
#include <array>

namespace qm::win {

namespace {

constexpr qsizetype kOldPathLimit = 240; ///< what the system takes without the long form, with room for a short name behind it

/// Another program, a virus scanner above all, may hold a new file open for a moment.
bool isPassing(DWORD code)
{
    return code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION || code == ERROR_ACCESS_DENIED;
}

} // namespace

std::int32_t classicNumber(DWORD code, std::int32_t missing)
{
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DIRECTORY:
        return missing;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return err::fileAlreadyExists;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kQuotaExceeded:
    case ERROR_FILE_TOO_LARGE:
        return err::diskFull;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
    case ERROR_INVALID_PARAMETER:
        return err::badFileName;
    case ERROR_GEN_FAILURE:
    case ERROR_IO_DEVICE:
    case ERROR_CRC:
    case ERROR_NOT_READY:
    case ERROR_SECTOR_NOT_FOUND:
        return err::deviceIo;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return err::outOfMemory;
    default:
        return err::pathFileAccess;
    }
}

void Handle::close()
{
    if (HANDLE handle = std::exchange(m_handle, nullptr))
        CloseHandle(handle);
}

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

std::wstring native(const QString &path)
{
    if (path.isEmpty())
        raise(err::badFileName, QStringLiteral("the file name is empty"));
    if (path.contains(QChar(u'\0')) || path.contains(u'*') || path.contains(u'?') || !path.isValidUtf16())
        raise(err::badFileName, path);
    const QString own = QDir::toNativeSeparators(path);
    if (own.size() < kOldPathLimit || !QDir::isAbsolutePath(own) || own.startsWith(QStringLiteral("\\\\?\\")))
        return own.toStdWString();
    const QString clean = QDir::toNativeSeparators(QDir::cleanPath(own));
    return (clean.startsWith(QStringLiteral("\\\\")) ? QStringLiteral("\\\\?\\UNC") + clean.mid(1) : QStringLiteral("\\\\?\\") + clean)
        .toStdWString();
}

QString systemWords(DWORD code)
{
    QString words = qt_error_string(static_cast<int>(code)).trimmed();
    while (words.endsWith(u'.'))
        words.chop(1);
    return words;
}

void raiseSystem(DWORD code, const QString &what, std::int32_t missing)
{
    raise(classicNumber(code, missing), what + QStringLiteral(": ") + systemWords(code));
}

std::optional<Entry> entryAt(const QString &path)
{
    if (path.isEmpty() || path.contains(QChar(u'\0')) || path.contains(u'*') || path.contains(u'?') || !path.isValidUtf16())
        return std::nullopt;
    const std::wstring name = native(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data))
        return std::nullopt;
    Entry entry{path.mid(lastSeparator(path) + 1), data.dwFileAttributes,
                (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32U) | data.nFileSizeLow};
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(name.c_str(), &found); // a root has no entry in a folder
    if (search != INVALID_HANDLE_VALUE) {
        FindClose(search);
        const QString spelled = QString::fromWCharArray(found.cFileName);
        if (spelled.compare(entry.name, Qt::CaseInsensitive) == 0) // not the long form of a short name
            entry.name = spelled;
    }
    return entry;
}

void requireWritable(const QString &path, const Entry &entry)
{
    if (entry.isFolder())
        raise(err::pathFileAccess, path + QStringLiteral(": is a folder"));
    if (entry.isReadOnly())
        raise(err::pathFileAccess, path + QStringLiteral(": the file is read-only"));
}

TemporaryFile::~TemporaryFile()
{
    m_file.close();
    if (!m_name.empty())
        DeleteFileW(m_name.c_str());
}

DWORD TemporaryFile::make(const QString &folder, const std::wstring &model)
{
    DWORD code = ERROR_FILE_EXISTS;
    for (int attempt = 0; code == ERROR_FILE_EXISTS && attempt < 100; ++attempt) {
        const std::wstring name = native(folder + kSep + temporaryName());
        m_file = Handle(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED, nullptr));
        code = m_file.isOpen() ? ERROR_SUCCESS : GetLastError();
        if (code == ERROR_SUCCESS)
            m_name = name;
    }
    if (code == ERROR_SUCCESS && !model.empty())
        copyAccessList(model, m_name);
    return code;
}

DWORD TemporaryFile::replace(const std::wstring &target, DWORD attributes)
{
    if (!FlushFileBuffers(m_file.get()))
        return GetLastError();
    m_file.close();
    if (!SetFileAttributesW(m_name.c_str(), attributes))
        return GetLastError();
    constexpr int attempts = 10;
    for (int attempt = 1; !MoveFileExW(m_name.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH); ++attempt) {
        const DWORD code = GetLastError();
        if (!isPassing(code) || attempt == attempts)
            return code;
        constexpr DWORD pause = 20; // ms
        Sleep(pause);
    }
    m_name.clear();
    return ERROR_SUCCESS;
}

Replacement::Replacement(const QString &target) : m_target(files::existingSpelling(target)), m_old(entryAt(m_target))
{
    if (m_old)
        requireWritable(m_target, *m_old);
    else
        requireName(m_target);
}

void Replacement::open(bool secret)
{
    if (const DWORD code = m_file.make(folderOf(m_target), m_old ? native(m_target) : std::wstring()); code != ERROR_SUCCESS)
        raiseSystem(code, QStringLiteral("%1 (making a temporary file in its folder)").arg(m_target), err::pathNotFound);
    if (secret)
        makePrivate(m_file.path(), m_target);
}

void Replacement::write(const char *data, std::size_t size)
{
    constexpr std::size_t most = 1U << 24U;
    while (size > 0) {
        DWORD written = 0;
        if (!WriteFile(m_file.handle(), data, static_cast<DWORD>(std::min(size, most)), &written, nullptr))
            raiseSystem(GetLastError(), m_target);
        data += written;
        size -= written;
    }
}

void Replacement::commit(DWORD attributes)
{
    if (const DWORD code = m_file.replace(native(m_target), attributes); code != ERROR_SUCCESS)
        raiseSystem(code, m_target, err::pathNotFound);
}

} // namespace qm::win
