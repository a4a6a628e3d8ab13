// A library to preload (LD_PRELOAD): the n-th operation that changes something below a folder fails, writes short, or ends the process.
//   QM_FAULT_BELOW  the folder
//   QM_FAULT_AT     which operation, from 1; without it operations are only counted
//   QM_FAULT        "kill before", "kill after", "short" (a write takes half), or the number of the error it fails with
//   QM_FAULT_LOG    receives the name of each operation, one a line
// Between two operations nothing on the disk changes, so a kill around each of them is a kill at any moment.

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

enum class Fault { None, Error, Short, KillAfter };

bool isBelow(const char *path)
{
    const char *folder = std::getenv("QM_FAULT_BELOW");
    return folder != nullptr && path != nullptr && std::string_view(path).starts_with(folder);
}

bool isBelow(int file)
{
    char link[64], path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t size = ::readlink(link, path, sizeof path - 1);
    if (size <= 0)
        return false;
    path[size] = '\0';
    return isBelow(path);
}

[[noreturn]] void die()
{
    ::kill(::getpid(), SIGKILL);
    while (true)
        ::pause();
}

void note(const char *operation)
{
    if (const char *path = std::getenv("QM_FAULT_LOG")) {
        const long file = ::syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        char line[64];
        const int size = std::snprintf(line, sizeof line, "%s\n", operation);
        (void)::syscall(SYS_write, file, line, size);
        (void)::syscall(SYS_close, file);
    }
}

Fault decide(const char *operation, bool concerned)
{
    static std::atomic<int> count = 0;
    if (!concerned)
        return Fault::None;
    note(operation);
    const char *at = std::getenv("QM_FAULT_AT");
    if (at == nullptr || ++count != std::atoi(at))
        return Fault::None;
    const std::string_view fault = std::getenv("QM_FAULT");
    if (fault == "kill before")
        die();
    if (fault == "kill after")
        return Fault::KillAfter;
    if (fault == "short")
        return Fault::Short;
    errno = std::atoi(fault.data());
    return Fault::Error;
}

template <class Call>
auto perform(const char *operation, bool concerned, Call call) -> decltype(call())
{
    const Fault fault = decide(operation, concerned);
    if (fault == Fault::Error)
        return -1;
    const auto result = call();
    if (fault == Fault::KillAfter)
        die();
    return result;
}

template <class Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

ssize_t writeSome(const char *name, int file, std::size_t size, auto call)
{
    const Fault fault = decide(name, isBelow(file));
    if (fault == Fault::Error)
        return -1;
    const ssize_t result = call(fault == Fault::Short && size > 1 ? size / 2 : size);
    if (fault == Fault::KillAfter)
        die();
    return result;
}

int openFile(const char *name, const char *path, int flags, mode_t mode)
{
    return perform(name, isBelow(path) && (flags & (O_CREAT | O_WRONLY | O_RDWR)) != 0,
                   [&] { return real<int(const char *, int, ...)>(name)(path, flags, mode); });
}

} // namespace

#define MODE_AFTER(last)                                                                                                                   \
    va_list more;                                                                                                                          \
    va_start(more, last);                                                                                                                  \
    const auto mode = static_cast<mode_t>(va_arg(more, unsigned));                                                                         \
    va_end(more)

/// One wrapper: a function that gives 0 or -1, its parameters, their names, and whether it is about the folder.
#define WRAP(name, parameters, arguments, concerned)                                                                                       \
    int name parameters                                                                                                                    \
    {                                                                                                                                      \
        return perform(#name, concerned, [&] { return real<int parameters>(#name) arguments; });                                           \
    }

#pragma GCC diagnostic ignored "-Wredundant-decls"
#pragma GCC diagnostic ignored "-Wnonnull-compare"

extern "C" {

int open(const char *path, int flags, ...)
{
    MODE_AFTER(flags);
    return openFile("open", path, flags, mode);
}
int open64(const char *path, int flags, ...)
{
    MODE_AFTER(flags);
    return openFile("open64", path, flags, mode);
}
ssize_t write(int file, const void *bytes, size_t size)
{
    return writeSome("write", file, size,
                     [&](size_t part) { return real<ssize_t(int, const void *, size_t)>("write")(file, bytes, part); });
}
ssize_t pwrite(int file, const void *bytes, size_t size, off_t at)
{
    return writeSome("pwrite", file, size,
                     [&](size_t part) { return real<ssize_t(int, const void *, size_t, off_t)>("pwrite")(file, bytes, part, at); });
}
ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t at)
{
    return writeSome("pwrite64", file, size,
                     [&](size_t part) { return real<ssize_t(int, const void *, size_t, off64_t)>("pwrite64")(file, bytes, part, at); });
}
/// The file is closed all the same, as after an interrupted close.
int close(int file)
{
    const Fault fault = decide("close", isBelow(file));
    const int code = errno;
    const int result = real<int(int)>("close")(file);
    if (fault == Fault::KillAfter)
        die();
    if (fault != Fault::Error)
        return result;
    errno = code;
    return -1;
}
WRAP(fsync, (int file), (file), isBelow(file))
WRAP(fdatasync, (int file), (file), isBelow(file))
WRAP(ftruncate, (int file, off_t size), (file, size), isBelow(file))
WRAP(ftruncate64, (int file, off64_t size), (file, size), isBelow(file))
WRAP(fchmod, (int file, mode_t mode), (file, mode), isBelow(file))
WRAP(chmod, (const char *path, mode_t mode), (path, mode), isBelow(path))
WRAP(fchown, (int file, uid_t user, gid_t group), (file, user, group), isBelow(file))
WRAP(fsetxattr, (int file, const char *name, const void *value, size_t size, int flags), (file, name, value, size, flags), isBelow(file))
WRAP(rename, (const char *from, const char *to), (from, to), isBelow(to))
WRAP(renameat, (int a, const char *from, int b, const char *to), (a, from, b, to), isBelow(to))
WRAP(renameat2, (int a, const char *from, int b, const char *to, unsigned flags), (a, from, b, to, flags), isBelow(to))
WRAP(link, (const char *from, const char *to), (from, to), isBelow(to))
WRAP(linkat, (int a, const char *from, int b, const char *to, int flags), (a, from, b, to, flags), isBelow(to))
WRAP(unlink, (const char *path), (path), isBelow(path))
WRAP(mkdir, (const char *path, mode_t mode), (path, mode), isBelow(path))

} // extern "C"
