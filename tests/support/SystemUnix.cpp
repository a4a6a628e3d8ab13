#include "support/System.h"

#include <csignal>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qm::test {

bool onWindows()
{
    return false;
}

bool underWine()
{
    return false;
}

bool canBeInZone(const QByteArray &)
{
    return true;
}

bool interrupt(const QProcess &process, int signal)
{
    if (const qint64 id = process.processId(); id > 0) // 0 would be everybody here
        ::kill(static_cast<pid_t>(id), signal);
    return true;
}

std::optional<int> asNobody(const std::function<int()> &body)
{
    constexpr uid_t kNobody = 65534;
    if (::geteuid() != 0)
        return std::nullopt;
    const pid_t child = ::fork();
    if (child == 0) {
        int code = 99;
        try {
            code = ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0 ? body() : 98;
        } catch (...) {
        }
        ::_exit(code); // without cleaning up what is the parent's
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

struct SmallDisk::Before
{
    void (*handler)(int) = nullptr;
    rlimit limit{};
};

SmallDisk::SmallDisk(qint64 bytes) : m_before(std::make_unique<Before>())
{
    m_before->handler = std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &m_before->limit);
    const rlimit limit{static_cast<rlim_t>(bytes), m_before->limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

SmallDisk::~SmallDisk()
{
    ::setrlimit(RLIMIT_FSIZE, &m_before->limit);
    std::signal(SIGXFSZ, m_before->handler);
}

} // namespace qm::test
