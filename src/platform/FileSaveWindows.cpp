// Reading and saving whole files.

#include "core/RuntimeError.h"
#include "platform/AccessListWindows.h"
#include "platform/Files.h"
#include "platform/PathParts.h"
#include "platform/SystemFileWindows.h"

#include <algorithm>

namespace qm::files {

using namespace qm::win;

namespace {

constexpr qsizetype kBlock = 65536;

Handle openedForReading(const QString &path)
{
    return Handle(CreateFileW(native(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

/// All bytes of \p file up to \p most. \returns the system's error number.
DWORD readBytes(const Handle &file, QByteArray &bytes, qsizetype most)
{
    for (;;) {
        const auto filled = bytes.size();
        const auto room = std::min(kBlock, most - filled);
        if (room == 0)
            return ERROR_SUCCESS;
        bytes.resize(filled + room);
        DWORD got = 0;
        const bool done = ReadFile(file.get(), bytes.data() + filled, static_cast<DWORD>(room), &got, nullptr) != 0;
        bytes.truncate(filled + static_cast<qsizetype>(got));
        if (!done || got == 0)
            return done ? ERROR_SUCCESS : GetLastError();
    }
}

/// Whether the file at \p path holds exactly \p bytes. What cannot be read is written anew.
bool holds(const QString &path, const Entry &entry, const QByteArray &bytes)
{
    if (entry.size != static_cast<std::uint64_t>(bytes.size()))
        return false;
    const Handle file = openedForReading(path);
    QByteArray there;
    return file.isOpen() && readBytes(file, there, bytes.size() + 1) == ERROR_SUCCESS && there == bytes;
}

} // namespace

void saveAtomically(const QString &path, const QByteArray &bytes, Privacy privacy)
{
    (void)native(path);
    Replacement file(path);
    if (file.old() && holds(file.target(), *file.old(), bytes)) {
        if (privacy == Privacy::Secret)
            makePrivate(native(file.target()), file.target());
        return;
    }
    file.open(privacy == Privacy::Secret);
    file.write(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    file.commit();
}

QByteArray readAll(const QString &path)
{
    const Handle file = openedForReading(path);
    if (!file.isOpen()) {
        const DWORD code = GetLastError();
        if (const auto entry = entryAt(path); entry && entry->isFolder())
            raise(err::pathFileAccess, path + QStringLiteral(": is not a file"));
        raiseSystem(code, path);
    }
    if (GetFileType(file.get()) != FILE_TYPE_DISK)
        raise(err::pathFileAccess, path + QStringLiteral(": is not a file"));
    QByteArray bytes;
    if (const DWORD code = readBytes(file, bytes, paths::kMostBytes + 1); code != ERROR_SUCCESS)
        raiseSystem(code, path);
    if (bytes.size() > paths::kMostBytes)
        paths::raiseTooLong(path);
    return bytes;
}

} // namespace qm::files
