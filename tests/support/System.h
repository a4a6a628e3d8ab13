/// \file
/// What one operating system does and another does not. A test asks first and skips the case with the reason.
#pragma once

#include <QProcess>

#include <functional>
#include <memory>
#include <optional>

namespace qm::test {

/// Whether this is the program for Windows, there or under Wine.
[[nodiscard]] bool onWindows();
/// Whether this is the program for Windows under Wine.
[[nodiscard]] bool underWine();

/// Whether the process can be in \p zone (by the variable TZ). Windows has one zone, the machine's, and TZ does not change it; under Wine
/// it is the one that TZ named when Wine began, which QM_TEST_ZONE repeats.
[[nodiscard]] bool canBeInZone(const QByteArray &zone);

/// Has \p process end as Ctrl+C (SIGINT) or SIGTERM would. \returns false where a process without a console cannot be told so.
[[nodiscard]] bool interrupt(const QProcess &process, int signal);

/// Runs \p body in a process of the user nobody. \returns its exit code; nothing where this process cannot make one.
[[nodiscard]] std::optional<int> asNobody(const std::function<int()> &body);

/// While it lives no file of this process may grow beyond a number of bytes, as on a disk that is full.
class SmallDisk final
{
public:
    explicit SmallDisk(qint64 bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    /// Whether the system has such a limit.
    [[nodiscard]] static bool isPossible() { return !onWindows(); }

private:
    struct Before;
    std::unique_ptr<Before> m_before;
};

} // namespace qm::test
