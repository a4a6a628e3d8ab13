/// \file
/// What started a run and what became of it, with the words that ledger, log and lists show.
#pragma once

#include <QString>

namespace qm {

enum class RunTrigger {
    Unknown, ///< of another version of this program
    Operator,
    Schedule,
    CommandLine
};

enum class RunStatus {
    Unknown, ///< of another version of this program
    Running,
    Done,
    Failed,
    Cancelled,
    Interrupted, ///< its program ended before it
    NotRun       ///< it was due, and nothing was made
};

/// "operator", "schedule", "command line"; empty for Unknown.
[[nodiscard]] QString runWord(RunTrigger trigger);
/// "running", "done", "failed", "cancelled", "interrupted", "not run"; empty for Unknown.
[[nodiscard]] QString runWord(RunStatus status);
/// The reverse of runWord().
[[nodiscard]] RunTrigger runTriggerOf(const QString &word);
[[nodiscard]] RunStatus runStatusOf(const QString &word);

} // namespace qm
