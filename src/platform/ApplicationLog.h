/// \file
/// The application log: one line a fact, in the installation's "Logs" folder.
#pragma once

#include <QString>

#include <memory>

namespace qm {

/// Writes "Logs/<program>.log" under the installation folder, rotating: five old files of 5 MB are kept. A line is the local time with its
/// distance from UTC, the process number, the level and the text. Line breaks and control characters are escaped. Any number of programs
/// may write the same log. The folder "Logs" is made when it is missing, but only in an installation that is there.
/// Without a writable folder it stays silent; it never throws. Thread-safe.
class ApplicationLog final
{
public:
    /// \p installPath with trailing separator; \p program names the file ("quillmark", "quillmark-report").
    ApplicationLog(const QString &installPath, const QString &program);
    ~ApplicationLog();
    ApplicationLog(const ApplicationLog &) = delete;
    ApplicationLog &operator=(const ApplicationLog &) = delete;

    void info(const QString &text) noexcept;
    void warning(const QString &text) noexcept;
    void error(const QString &text) noexcept;

private:
    enum class Level { Info, Warning, Error };
    void write(Level level, const QString &text) noexcept;

    struct Sink;
    std::unique_ptr<Sink> m_sink;
};

} // namespace qm
