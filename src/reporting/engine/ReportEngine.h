/// \file
/// Runs one report query: reads it, binds its parameters, streams its rows into a writer, delivers the output and keeps the ledger.
#pragma once

#include "core/Clock.h"
#include "framework/Readers.h"
#include "reporting/engine/CancelFlag.h"
#include "reporting/writers/ReportWriter.h"

#include <QDate>
#include <QMap>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

class ApplicationLog;

/// What a run is doing.
enum class RunStage { Rows, Sending, Printing };

/// How one run differs from what the query file says. Empty values mean: as the query file says.
struct RunOptions
{
    std::optional<QString> format;     ///< pdf, html, xlsx, csv
    std::optional<QString> outputFile; ///< exact path of the file to write
    QMap<QString, QString> parameters; ///< by name; overrides defaults
    QDate from, to;                    ///< local dates, both included; invalid: not given
    bool allTime = false;
    std::optional<QString> period;                   ///< a period phrase
    std::optional<QString> database;                 ///< another SQLite file than the package's own
    QString trigger = QStringLiteral("operator");    ///< "operator", "schedule", "command line"
    std::function<void(std::int64_t rows)> progress; ///< called a few times a second from the running thread; may be empty
    std::function<void(RunStage)> stage;             ///< called from the running thread when a stage after the rows begins; may be empty
    std::shared_ptr<CancelFlag> cancel;              ///< may be null
    /// Receives the report when the output is the screen. Null: screen output is refused.
    ReportWriter *screen = nullptr;
    bool countOnly = false; ///< runs the query and counts its rows; no output is made
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
    QString note; ///< anything the operator should know (cells cut, ledger not writable); may be empty
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

    /// What the query asks for, for prompts and titles, without running it.
    [[nodiscard]] std::shared_ptr<Query> readQuery(const QString &queryFile);

private:
    EngineServices m_services;
};

} // namespace qm
