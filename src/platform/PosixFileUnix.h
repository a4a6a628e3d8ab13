/// \file
/// What the Unix halves of the file layer share: descriptors, system errors as classic ones, and atomic replacement.
#pragma once

#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/PathParts.h"

#include <QByteArray>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

#include <sys/stat.h>

namespace qm::posix {

/// Owns a file descriptor.
class Descriptor final
{
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(Descriptor &&other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor();

    [[nodiscard]] int get() const { return m_number; }
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    /// Closes now. \returns 0, or the system's error number: delayed write errors show only here.
    [[nodiscard]] int close();

private:
    int m_number = -1;
};

/// Repeats a system call that a signal interrupted.
template <class Call>
auto retrying(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

/// \p path for the system. \throws RuntimeError 52 when no file can have that name (empty, zero character, half a character).
[[nodiscard]] QByteArray native(const QString &path);
/// Throws the classic error of the system's \p code: "<what>: <what the system said>". A missing entry is \p missing.
[[noreturn]] void raiseSystem(int code, const QString &what, std::int32_t missing = err::fileNotFound);
/// The entry itself, a link not followed; nullopt when nothing is there.
[[nodiscard]] std::optional<struct stat> entryAt(const QString &path);
using namespace paths;
/// \throws RuntimeError 75 when the file at \p path is a folder, has no write permission bit or refuses writing to this user.
void requireWritable(const QString &path, const struct stat &entry);

/// A new file that takes the place of another at once, or never: a hidden temporary in the same folder until commit().
class Replacement final
{
public:
    /// Begins the replacement of \p target, in the spelling the folder has; a link is followed.
    /// \throws RuntimeError 76, 75, 61, 52.
    explicit Replacement(const QString &target);
    ~Replacement();
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    [[nodiscard]] const QString &target() const { return m_target; }
    /// The file that is there now.
    [[nodiscard]] const std::optional<struct stat> &old() const { return m_old; }
    /// Makes the temporary, with the permission bits \p mode cut by the process's mask.
    void open(mode_t mode);
    void write(const char *data, std::size_t size);
    [[nodiscard]] int descriptor() const { return m_file.get(); }
    /// Flushes to the disk and takes the target's place.
    void commit();

private:
    QString m_target;
    std::optional<struct stat> m_old;
    QByteArray m_temporary;
    Descriptor m_file;
};

} // namespace qm::posix
