/// \file
/// Runs one report query: reads it, binds its parameters, streams its rows into a writer, delivers the output and keeps the ledger.
#pragma once

#include "core/Clock.h"
#include "documents/Writers.h"
#include "engine/outputs/ReportOutput.h"
#include "engine/rows/CancelFlag.h"
#include "engine/rows/ShapeSources.h"
#include "engine/run/PreparedQuery.h"
#include "engine/run/RunWords.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace qm {

class ApplicationLog;

/// How one run differs from what the query file says.
struct RunOptions : QueryChoices, OutputChoices
{
    /// The query file as it was read for the prompts, so that it is not read again. Null: it is read now.
    std::shared_ptr<const Query> query;
    RunTrigger trigger = RunTrigger::Operator;
    std::function<void(std::int64_t rows)> progress; ///< called a few times a second from the running thread; may be empty
    std::function<void(RunStage)> stage;             ///< called from the running thread when a stage after the rows begins; may be empty
    std::shared_ptr<CancelFlag> cancel;              ///< may be null
};

struct RunResult
{
    std::int64_t runId = 0; ///< row of the run ledger; 0 when the ledger could not be written
    std::int64_t rows = 0;
    QString outputFile; ///< empty for output that is no file
    QString delivered;  ///< who got an e-mailed or printed report, in words; else empty
    std::uint64_t bytes = 0;
    QString sha256;
    bool truncated = false;
    CsvOptions csv;       ///< how the query wants CSV made of its rows
    ShapeSources sources; ///< what groups and sums of a report on the screen are made of: columns of the rows that the screen was given
    QString note;         ///< anything the operator should know (cells cut, ledger not writable); may be empty
};

/// What the engine needs from outside. References must outlive it.
struct EngineServices
{
    QString installPath; ///< installation folder with trailing separator; may be empty for a query outside any installation
    QString fontFolder;  ///< folder with the shipped fonts
    const Clock &clock;
    ApplicationLog &log;
};

/// The report engine. One object serves any number of runs, one at a time per thread; it holds no widgets and may run on a worker thread.
class ReportEngine final
{
public:
    explicit ReportEngine(EngineServices services);
    ~ReportEngine();

    /// Runs \p queryFile. The package, and so the embedded database, is found from the query file's own path
    /// (the folder above "Query Groups").
    /// \throws RuntimeError with what failed, where and what to do; cancelledByOperator when cancelled. The failure is in ledger and log.
    RunResult run(const QString &queryFile, const RunOptions &options);

    /// Sends the e-mail of run \p id again to those who do not have it, or may not have it: the same message, as it was kept in the
    /// installation's "Outbox" folder. The ledger's row of that run says how it ended. \returns who has it now, in words.
    /// \throws RuntimeError reportFailed: no such run, nothing kept, or not delivered to all of them; cancelledByOperator.
    QString resend(std::int64_t id, const std::shared_ptr<CancelFlag> &cancel);

    /// For titles, without running it. \throws RuntimeError as run().
    [[nodiscard]] std::shared_ptr<const Query> readQuery(const QString &queryFile) const;
    /// What the query asks for, for prompts. \throws RuntimeError as run().
    [[nodiscard]] LocatedQuery locate(const QString &queryFile) const;

private:
    EngineServices m_services;
};

} // namespace qm
