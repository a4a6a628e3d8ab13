/// \file
/// What the Windows halves of the platform share: handles, system errors as classic ones, and atomic replacement.
#pragma once

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/PathParts.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <windows.h>

namespace qm::win {

using namespace paths;

/// Owns a kernel object.
class Handle final
{
public:
    Handle() = default;
    /// INVALID_HANDLE_VALUE is none.
    explicit Handle(HANDLE handle) : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle &&other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~Handle() { close(); }

    [[nodiscard]] HANDLE get() const { return m_handle; }
    [[nodiscard]] bool isOpen() const { return m_handle != nullptr; }
    void close();

private:
    HANDLE m_handle = nullptr;
};

/// ERROR_DISK_QUOTA_EXCEEDED, which not every set of headers names.
inline constexpr DWORD kQuotaExceeded = 1295;

/// \p text as the system takes it.
[[nodiscard]] const wchar_t *wide(const QString &text);
/// \p path for the system, beyond its old limit of 260 characters too.
/// \throws RuntimeError 52 when no file can have that name (empty, zero character, half a character, wildcard).
[[nodiscard]] std::wstring native(const QString &path);
/// The classic number of the system's error \p code; a missing entry is \p missing, and 75 what has no number of its own.
[[nodiscard]] std::int32_t classicNumber(DWORD code, std::int32_t missing = err::fileNotFound);
/// What the system says about its error \p code, without line break and full stop.
[[nodiscard]] QString systemWords(DWORD code);
/// Throws the classic error of the system's \p code: "<what>: <what the system said>". A missing entry is \p missing.
[[noreturn]] void raiseSystem(DWORD code, const QString &what, std::int32_t missing = err::fileNotFound);

struct Entry
{
    QString name; ///< as the folder spells it
    DWORD attributes = 0;
    std::uint64_t size = 0;

    /// A link counts as a file, whatever it points to.
    [[nodiscard]] bool isFolder() const
    {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    }
    [[nodiscard]] bool isReadOnly() const { return (attributes & FILE_ATTRIBUTE_READONLY) != 0; }
};

/// The entry itself, a link not followed; nullopt when nothing is there.
[[nodiscard]] std::optional<Entry> entryAt(const QString &path);
/// \throws RuntimeError 75 when the file at \p path is a folder or read-only.
void requireWritable(const QString &path, const Entry &entry);

/// The one way in which a file of settings or a report takes another's place: at once and whole, or never. Its functions give
/// ERROR_SUCCESS or the system's error number, since each caller has words of its own for a failure.
class TemporaryFile final
{
public:
    TemporaryFile() = default;
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    /// Makes it, hidden, in \p folder. With the access list of \p model, a file in the form native() gives; empty: what the folder gives.
    [[nodiscard]] DWORD make(const QString &folder, const std::wstring &model);
    /// Flushes to the disk and puts it in the place of \p target, in the form native() gives, with the attributes \p attributes.
    [[nodiscard]] DWORD replace(const std::wstring &target, DWORD attributes);
    /// Open for reading and writing; null before make() and after replace().
    [[nodiscard]] HANDLE handle() const { return m_file.get(); }
    [[nodiscard]] const std::wstring &path() const { return m_name; }

private:
    std::wstring m_name;
    Handle m_file;
};

/// A file of the program's own that is to be replaced.
class Replacement final
{
public:
    /// Begins the replacement of \p target, in the spelling the folder has. \throws RuntimeError 76, 75, 61, 52.
    explicit Replacement(const QString &target);
    ~Replacement() = default;
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    [[nodiscard]] const QString &target() const { return m_target; }
    /// The file that is there now.
    [[nodiscard]] const std::optional<Entry> &old() const { return m_old; }
    /// Makes the temporary; it has the old file's access list, or none but its owner can open it when \p secret.
    void open(bool secret);
    void write(const char *data, std::size_t size);
    [[nodiscard]] HANDLE handle() const { return m_file.handle(); }
    /// Flushes to the disk and takes the target's place, with the attributes \p attributes.
    void commit(DWORD attributes = FILE_ATTRIBUTE_NORMAL);

private:
    QString m_target;
    std::optional<Entry> m_old;
    TemporaryFile m_file;
};

} // namespace qm::win
