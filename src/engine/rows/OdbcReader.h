/// \file
/// Fetches a result on a thread of its own, which can be left behind when its driver does not return.
#pragma once

#include "core/RuntimeError.h"
#include "engine/rows/OdbcSql.h"
#include "engine/rows/RowBlock.h"
#include "engine/rows/RowSource.h"
#include "odbc/Connection.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace qm {

class OdbcColumns;

/// What one reading thread is to do.
struct OdbcRequest
{
    odbc::Endpoint endpoint;
    QString shown; ///< the source's name for messages, without secrets
    OdbcSql sql;
    bool prepareOnly = false; ///< has the server look at the statement, and runs nothing
    std::chrono::seconds connectPatience{15};
    std::optional<std::chrono::seconds> timeout; ///< for the statement
};

/// What the reading thread and its owner share. Blocks of rows go from the thread to the owner and, emptied, back. Thread-safe.
///
/// The thread holds a share too, so an owner may go at any time: stop() has been called then, and the thread frees what it holds as soon as
/// its driver lets it.
class OdbcReader final : public std::enable_shared_from_this<OdbcReader>
{
public:
    enum class Phase { Connecting, Running, Reading, Ended };

    explicit OdbcReader(OdbcRequest request) : m_request(std::move(request)) {}
    void start();

    /// Waits until there is a block, the reader moves on, or \p longest has gone by. Call the functions below afterwards.
    void wait(std::chrono::milliseconds longest);
    /// Ends the owner's wait() early. For any thread.
    void wake();

    [[nodiscard]] Phase phase();
    /// The failure that ended the thread, if one did.
    [[nodiscard]] std::optional<RuntimeError> failure();
    [[nodiscard]] std::vector<ResultColumn> columns();
    /// The next full block; null when there is none yet, or none any more.
    [[nodiscard]] std::unique_ptr<RowBlock> takeBlock();
    void giveBack(std::unique_ptr<RowBlock> block);

    /// Tells the thread to end and has the database cancel what it is doing. Returns at once; the cancelling is done by another thread, for
    /// a driver's cancel can itself wait for a server.
    void stop();

private:
    void run();
    void read();
    void prepareSession(odbc::Connection &connection);
    void execute(SQLHANDLE statement);
    void fetchRows(SQLHANDLE statement, OdbcColumns &columns);
    [[nodiscard]] std::unique_ptr<RowBlock> nextEmpty();
    void publish(std::unique_ptr<RowBlock> block);
    void enter(Phase phase);
    [[nodiscard]] bool isStopped();
    void cancelUntilEnded();
    void cancelFromOutside(const QString &command) const;

    [[noreturn]] void raiseRefused(SQLHANDLE statement) const;
    [[noreturn]] void raiseLost(SQLHANDLE statement) const;
    [[nodiscard]] QString shownText(const QString &words) const;

    const OdbcRequest m_request;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Phase m_phase = Phase::Connecting;
    bool m_stopped = false;
    std::optional<RuntimeError> m_failure;
    std::vector<ResultColumn> m_columns;
    std::deque<std::unique_ptr<RowBlock>> m_full, m_empty;
    std::size_t m_made = 0;
    std::int64_t m_rows = 0;

    std::mutex m_cancelMutex;        ///< held while the statement is cancelled or freed
    SQLHANDLE m_statement = nullptr; ///< to be cancelled; null when there is none
    QString m_cancelCommand;         ///< for another connection, where the driver's own cancel does not suffice; empty: there is none
};

} // namespace qm
