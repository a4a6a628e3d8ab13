/// \file
/// One run of one report query, from its file to its output.
#pragma once

#include "engine/outputs/ReportOutput.h"
#include "engine/run/PreparedQuery.h"
#include "engine/run/ReportEngine.h"
#include "engine/run/RunLedger.h"

#include <memory>
#include <optional>

namespace qm {

/// Prepares the query, checks the output, pipes the rows and ends the output; ledger and log are told of all of it. Made for one run and
/// used once.
class ReportRun final : private OutputHost
{
public:
    ReportRun(const EngineServices &services, const QString &queryFile, const RunOptions &options);

    /// \throws RuntimeError; ledger and log have it then.
    RunResult execute();

private:
    void prepare();
    void pipe();
    void addNote(const QString &text);
    void logStart();
    void end(RunStatus status, const QString &error);
    void logEnd();

    [[nodiscard]] std::int64_t run() const override { return m_entry.id; }
    [[nodiscard]] QStringList inputs() const override;
    void enter(RunStage stage) override;
    void worksIn(const QString &folder) override;
    void record(const std::vector<LedgerDelivery> &deliveries) override;

    const EngineServices &m_services;
    const RunOptions &m_options;
    RunLimits m_limits;
    std::optional<PreparedQuery> m_prepared;
    std::unique_ptr<ReportOutput> m_output;
    RunLedger m_ledger;
    LedgerEntry m_entry;
    RunResult m_result;
};

} // namespace qm
