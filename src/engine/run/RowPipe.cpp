#include "engine/run/RowPipe.h"

#include <chrono>
#include <limits>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto kProgressInterval = 250ms;
/// Rows between two looks at the limits and the progress clock.
constexpr std::int64_t kRowsPerLook = 1024;

} // namespace

ReportTail passRows(RowSource &source, const RowSample &sample, const ReportPlan &plan, ReportWriter &writer, std::int64_t rowLimit,
                    const RunLimits &limits, const std::function<void(std::int64_t)> &progress)
{
    ReportTail tail;
    const std::int64_t most = rowLimit > 0 ? rowLimit : std::numeric_limits<std::int64_t>::max();
    std::vector<Value> cells(plan.shape.columns.size());
    auto lastProgress = std::chrono::steady_clock::now();
    const auto pass = [&](std::span<const Value> row) {
        if (plan.inResultOrder) {
            writer.row(row);
        } else {
            for (std::size_t i = 0; i < cells.size(); ++i)
                cells[i] = row[plan.resultIndex[i]];
            writer.row(cells);
        }
        if (++tail.rows % kRowsPerLook != 0)
            return;
        limits.check();
        if (const auto now = std::chrono::steady_clock::now(); progress && now - lastProgress >= kProgressInterval) {
            lastProgress = now;
            progress(tail.rows);
        }
    };
    std::vector<Value> first;
    first.reserve(sample.rows() * cells.size());
    for (std::size_t i = 0; i < sample.rows(); ++i)
        for (const std::size_t index : plan.resultIndex)
            first.push_back(sample.row(i)[index]);
    writer.begin(plan.head, plan.shape, {first, sample.rows(), sample.isWhole()});
    for (std::size_t i = 0; i < sample.rows() && tail.rows < most; ++i)
        pass(sample.row(i));
    std::vector<Value> row(source.columns().size());
    bool more = !sample.isWhole();
    while (more && tail.rows < most) {
        more = source.next(row);
        if (more)
            pass(row);
    }
    if (rowLimit > 0) {
        const bool sampleLeft = tail.rows < static_cast<std::int64_t>(sample.rows());
        tail.rowLimit = rowLimit;
        tail.truncated = tail.rows == most && (sampleLeft || (more && source.next(row)));
    }
    return tail;
}

} // namespace qm
