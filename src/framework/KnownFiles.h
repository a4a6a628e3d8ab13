/// \file
/// Which of the program's own files are on disk as this session knows them.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <mutex>

namespace qm {

class ApplicationLog;

/// Remembers the contents that this session read from or wrote to its configuration files, so that a save never replaces contents that
/// nobody here has seen: a file edited by hand meanwhile, or one that could not be read, is first renamed to NAME.unreadable-1, -2, ...
///
/// One per session, shared by the readers. Thread-safe.
class KnownFiles final
{
public:
    /// \p log may be null.
    explicit KnownFiles(ApplicationLog *log = nullptr) noexcept : m_log(log) {}

    /// \p bytes are what \p path holds now.
    void remember(const QString &path, const QByteArray &bytes);
    /// Call before replacing \p path by \p bytes. \throws RuntimeError when the file cannot be set aside; it is then untouched.
    void protect(const QString &path, const QByteArray &bytes);
    /// A fact for the application log.
    void note(const QString &text);

private:
    struct State
    {
        qint64 size = -1;
        qint64 modified = 0; ///< milliseconds since the epoch
        QByteArray digest;   ///< empty for large files
    };
    [[nodiscard]] static QString keyOf(const QString &path);
    [[nodiscard]] bool isKnown(const QString &path, const QByteArray &bytes);

    ApplicationLog *m_log;
    std::mutex m_mutex;
    QHash<QString, State> m_states;
};

} // namespace qm
