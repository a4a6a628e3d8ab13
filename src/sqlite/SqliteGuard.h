/// \file
/// What a report's SQL may do to the embedded database: read, nothing else.
#pragma once

#include <QString>

struct sqlite3;

namespace qm {

/// Watches every statement that is prepared on a connection, and remembers why one was refused. Must outlive the connection's use.
class SqliteGuard final
{
public:
    static constexpr int kLongestValue = 16 << 20; ///< bytes; of a row too, where it is stored or sorted

    SqliteGuard() = default;
    SqliteGuard(const SqliteGuard &) = delete;
    SqliteGuard &operator=(const SqliteGuard &) = delete;

    /// Defensive, schema not trusted, nothing attached, no extensions, no value longer than kLongestValue. Call before anything is read.
    static void harden(sqlite3 *connection);
    /// From now on every statement that \p connection prepares must pass this guard.
    void watch(sqlite3 *connection);
    /// The first thing that was refused ("DELETE server_events"); empty when nothing was.
    [[nodiscard]] const QString &refusal() const { return m_refusal; }

private:
    static int authorize(void *self, int action, const char *first, const char *second, const char *database, const char *trigger);
    int decide(int action, const char *first, const char *second);

    QString m_refusal;
};

} // namespace qm
