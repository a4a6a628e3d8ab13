/// \file
/// How far a run is: written by its thread, read by windows.
#pragma once

#include "engine/run/ReportEngine.h"

#include <QElapsedTimer>
#include <QString>

#include <atomic>
#include <cstdint>

namespace qm {

/// One run's counters. It outlives the run.
class RunProgress final
{
public:
    RunProgress() { m_elapsed.start(); }

    /// Has a run with \p options write here.
    void follow(RunOptions &options);
    void setRows(std::int64_t rows) { m_rows.store(rows, std::memory_order_relaxed); }
    /// "12,345 rows so far \u00b7 0:42", or what the run does after the rows.
    [[nodiscard]] QString text() const;

private:
    std::atomic<std::int64_t> m_rows{0};
    std::atomic<RunStage> m_stage{RunStage::Rows};
    QElapsedTimer m_elapsed;
};

} // namespace qm
