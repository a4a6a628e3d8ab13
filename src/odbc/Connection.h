/// \file
/// An open ODBC connection.
#pragma once

#include "odbc/Endpoint.h"
#include "odbc/Handles.h"

#include <QString>

#include <chrono>
#include <memory>

namespace qm::odbc {

/// Open until it is destroyed; whatever its statements did is rolled back then. Used by one thread at a time.
class Connection final
{
public:
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    [[nodiscard]] SQLHANDLE get() const { return m_handle.get(); }
    [[nodiscard]] const QString &driver() const { return m_driver; }
    [[nodiscard]] const Engine &engine() const { return engineOf(driverFamily(m_family).dialect); }
    /// SQL_GD_... bits: what SQLGetData may be asked.
    [[nodiscard]] SQLUINTEGER getDataExtensions() const { return m_getData; }
    /// Leaves the statements that follow uncommitted.
    void beginTransaction();

private:
    friend struct ConnectAttempt;
    Connection() = default;
    /// \returns why the connection may not be used; empty when it may.
    QString learn();

    Environment m_environment;
    ConnectionHandle m_handle;
    bool m_open = false;
    QString m_driver;
    Family m_family = Family::Other;
    SQLUINTEGER m_getData = 0;
};

/// Either an open connection or why there is none.
struct ConnectOutcome
{
    std::unique_ptr<Connection> connection;
    ConnectFailure failure;
    QString driver; ///< the one that was tried; may be empty
};

/// Connects, asking for read-only access. \p patience is told to the driver, which may take longer or never return: call this on a thread
/// that can be left behind.
[[nodiscard]] ConnectOutcome connectTo(const Endpoint &endpoint, std::chrono::seconds patience);

/// Connects and disconnects on a thread of its own. \returns nothing when that worked, else the text that explains the failure; after
/// \p deadline at the latest, leaving the thread behind to free what it holds whenever its driver returns.
[[nodiscard]] std::optional<QString> testConnecting(const Endpoint &endpoint, std::chrono::milliseconds deadline);

/// What is said when connecting did not end within \p deadline.
[[nodiscard]] ConnectFailure connectTimedOut(std::chrono::milliseconds deadline);

/// \p text without \p secret, should a driver have repeated it.
[[nodiscard]] QString without(QString text, const QString &secret);

} // namespace qm::odbc
