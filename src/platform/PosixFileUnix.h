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
/// The classic number of the system's error \p code; a missing entry is \p missing, and 75 what has no number of its own.
[[nodiscard]] std::int32_t classicNumber(int code, std::int32_t missing = err::fileNotFound);
/// What the system says about its error \p code, in English and without a full stop.
[[nodiscard]] QString systemWords(int code);
/// Throws the classic error of the system's \p code: "<what>: <what the system said>". A missing entry is \p missing.
[[noreturn]] void raiseSystem(int code, const QString &what, std::int32_t missing = err::fileNotFound);
/// The entry itself, a link not followed; nullopt when nothing is there.
[[nodiscard]] std::optional<struct stat> entryAt(const QString &path);
/// Where the link \p path leads in the end, although nothing may be there yet; \p path when it is none. A link where links go in circles.
[[nodiscard]] QByteArray targetOf(QByteArray path);
using namespace paths;
/// \throws RuntimeError 75 when the file at \p path is a folder, has no write permission bit or refuses writing to this user.
void requireWritable(const QString &path, const struct stat &entry);

/// The one way in which a file of settings or a report takes another's place: at once and whole, or never. Its functions give 0 or the
/// system's error number, since each caller has words of its own for a failure.
class TemporaryFile final
{
public:
    TemporaryFile() = default;
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    /// Makes it in \p folder, without a name where the system can do that, so that a killed program leaves nothing behind; else hidden.
    /// \p mode is cut by the process's mask.
    [[nodiscard]] int make(const QByteArray &folder, mode_t mode);
    /// Gives it the access list of the file \p path, and the owner, group and permission bits of \p model less \p taken. A group that this
    /// user may not give files to gets nothing.
    [[nodiscard]] int giveAccess(const QByteArray &path, const struct stat &model, mode_t taken = 0) const;
    /// Flushes to the disk and, still held, puts it in the place of \p target, which lies in the folder it was made in.
    [[nodiscard]] int replace(const QByteArray &target);
    /// Open for reading and writing; -1 before make() and after replace().
    [[nodiscard]] int descriptor() const { return m_file.get(); }

private:
    [[nodiscard]] QByteArray freshName() const;
    [[nodiscard]] int giveName();

    QByteArray m_folder;
    QByteArray m_name; ///< empty while it has none
    Descriptor m_file;
};

/// A file of the program's own that is to be replaced.
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
    [[nodiscard]] const TemporaryFile &file() const { return m_file; }
    /// Flushes to the disk and takes the target's place.
    void commit();

private:
    QString m_target;
    std::optional<struct stat> m_old;
    TemporaryFile m_file;
};

} // namespace qm::posix
