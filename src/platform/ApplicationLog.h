/// \file
/// The application log: one line a fact, in the installation's "Logs" folder.
#pragma once

#include <QString>

#include <memory>

namespace qm {

/// Writes "Logs/<program>.log" under the installation folder, rotating. Line breaks and control characters are escaped.
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
    struct Sink;
    std::unique_ptr<Sink> m_sink;
};

} // namespace qm
