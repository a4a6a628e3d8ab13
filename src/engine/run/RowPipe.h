/// \file
/// The rows' way from the source into the writer.
#pragma once

#include "documents/ReportWriter.h"
#include "engine/rows/CancelFlag.h"
#include "engine/rows/OrderedRows.h"
#include "engine/rows/RowSample.h"
#include "engine/rows/RowSource.h"
#include "engine/run/ReportPlan.h"
#include "engine/run/RowShaper.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace qm {

/// Passes the rows of one report: straight on where the report is a plain table, else put into the order of its groups and shaped.
class RowPipe final
{
public:
    using Progress = std::function<void(std::int64_t rows)>;

    /// \p sample: the first rows of \p source, which stands behind them. \p progress is called a few times a second with the rows so far;
    /// may be empty. All must outlive the pipe.
    RowPipe(RowSource &source, const RowSample &sample, ReportPlan &plan, ReportWriter &writer, const RunLimits &limits,
            const Progress &progress, const OrderingLimits &bounds = {});

    /// Begins the writer with the report's head and hands it all rows, cut off after \p rowLimit (0: never). The limit counts rows as the
    /// source gives them: no order that groups need changes which rows are shown. \returns what is known after the last row, with spans
    /// that are valid as long as the pipe; the writer is not ended. \throws RuntimeError as the source, the writer and the limits do.
    [[nodiscard]] ReportTail pass(std::int64_t rowLimit);
    /// The same for all rows that are left of a report that was cut before, as \p known says.
    [[nodiscard]] ReportTail passCut(const ReportTail &known);

private:
    [[nodiscard]] ReportTail passPlain(std::int64_t rowLimit);
    [[nodiscard]] ReportTail passShaped(ReportTail tail, std::int64_t rowLimit);
    void begin(const RowSample &sample);
    void look(std::int64_t rows);

    RowSource &m_source;
    const RowSample &m_sample;
    ReportPlan &m_plan;
    ReportWriter &m_writer;
    const RunLimits &m_limits;
    const Progress &m_progress;
    OrderingLimits m_bounds;
    std::chrono::steady_clock::time_point m_lastProgress;
    std::optional<RowShaper> m_shaper;
};

} // namespace qm
