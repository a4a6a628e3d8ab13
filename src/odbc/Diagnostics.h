/// \file
/// What a driver and the server behind it said about a failed call.
#pragma once

#include <QString>

#include <vector>

namespace qm::odbc {

struct Diagnostic
{
    QString state;  ///< SQLSTATE, five characters
    int native = 0; ///< the server's or driver's own number; 0: none
    QString words;  ///< without the names of driver and driver manager in front
    int line = 0;   ///< of the SQL, from 1, where the server says it; 0: it does not
};

/// Which step of reaching a database failed.
enum class Stage { Driver, Name, Network, LogIn, Database, Unknown };

struct ConnectFailure
{
    Stage stage = Stage::Unknown;
    std::vector<Diagnostic> diagnostics; ///< the one that says most first
};

/// Finds the step that \p diagnostics are about, and brings the record that tells it to the front.
[[nodiscard]] ConnectFailure judgeConnecting(std::vector<Diagnostic> diagnostics);
[[nodiscard]] QString stageName(Stage stage);

/// The words with their numbers: "Invalid object name 'x'. [native error 208, SQLSTATE 42S02]".
[[nodiscard]] QString shown(const Diagnostic &diagnostic);
/// The record that says most about a failed statement: the first with the server's own number and not merely "cancelled" or "general".
[[nodiscard]] Diagnostic mostTelling(const std::vector<Diagnostic> &diagnostics);
/// What failed where in connecting, in the server's words, what to do, and what else the driver said. \p driver may be empty.
[[nodiscard]] QString explain(const ConnectFailure &failure, const QString &driver);

} // namespace qm::odbc
