#include "engine/run/RowPipe.h"

#include "engine/run/ShapePlan.h"

#include <algorithm>
#include <limits>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto kProgressInterval = 250ms;
/// Rows between two looks at the limits and the progress clock.
constexpr std::int64_t kRowsPerLook = 1024;

/// The rows of a sample and those behind it, up to a limit.
class FirstRows final : public RowSource
{
public:
    /// \p most: 0 for all.
    FirstRows(RowSource &source, const RowSample &sample, std::int64_t most)
        : m_source(source), m_sample(sample), m_most(most > 0 ? most : std::numeric_limits<std::int64_t>::max()), m_more(!sample.isWhole())
    {
    }

    [[nodiscard]] std::span<const ResultColumn> columns() const override { return m_source.columns(); }

    bool next(std::span<Value> row) override
    {
        if (m_given == m_most || !take(row))
            return false;
        ++m_given;
        return true;
    }

    /// Whether the limit cuts rows off. Call it after the last row.
    [[nodiscard]] bool isCut()
    {
        std::vector<Value> row(columns().size());
        return m_given == m_most && take(row);
    }

private:
    bool take(std::span<Value> row)
    {
        if (m_taken < m_sample.rows()) {
            std::ranges::copy(m_sample.row(m_taken++), row.begin());
            return true;
        }
        m_more = m_more && m_source.next(row);
        return m_more;
    }

    RowSource &m_source;
    const RowSample &m_sample;
    std::int64_t m_most, m_given = 0;
    std::size_t m_taken = 0;
    bool m_more;
};

} // namespace

RowPipe::RowPipe(RowSource &source, const RowSample &sample, ReportPlan &plan, ReportWriter &writer, const RunLimits &limits,
                 const Progress &progress, const OrderingLimits &bounds)
    : m_source(source), m_sample(sample), m_plan(plan), m_writer(writer), m_limits(limits), m_progress(progress), m_bounds(bounds),
      m_lastProgress(std::chrono::steady_clock::now())
{
}

ReportTail RowPipe::pass(std::int64_t rowLimit)
{
    if (m_plan.sources.isPlain())
        return passPlain(rowLimit);
    ReportTail tail;
    tail.rowLimit = rowLimit;
    return passShaped(std::move(tail), rowLimit);
}

ReportTail RowPipe::passCut(const ReportTail &known)
{
    ReportTail tail = m_plan.sources.isPlain() ? passPlain(0) : passShaped({0, known.truncated, known.rowLimit}, 0);
    tail.truncated = known.truncated;
    tail.rowLimit = known.rowLimit;
    return tail;
}

/// Now and then looks whether the run must stop, and tells how far it is.
void RowPipe::look(std::int64_t rows)
{
    if (rows % kRowsPerLook != 0)
        return;
    m_limits.check();
    if (const auto now = std::chrono::steady_clock::now(); m_progress && now - m_lastProgress >= kProgressInterval) {
        m_lastProgress = now;
        m_progress(rows);
    }
}

void RowPipe::begin(const RowSample &sample)
{
    std::vector<Value> first;
    first.reserve(sample.rows() * m_plan.sources.shown.size());
    for (std::size_t i = 0; i < sample.rows(); ++i)
        for (const std::size_t index : m_plan.sources.shown)
            first.push_back(sample.row(i)[index]);
    m_writer.begin(m_plan.head, m_plan.shape, {first, sample.rows(), sample.isWhole()});
}

ReportTail RowPipe::passPlain(std::int64_t rowLimit)
{
    ReportTail tail;
    const std::int64_t most = rowLimit > 0 ? rowLimit : std::numeric_limits<std::int64_t>::max();
    const std::vector<std::size_t> &shown = m_plan.sources.shown;
    std::vector<Value> cells(shown.size());
    const auto pass = [&](std::span<const Value> row) {
        if (m_plan.inResultOrder) {
            m_writer.row(row);
        } else {
            for (std::size_t i = 0; i < cells.size(); ++i)
                cells[i] = row[shown[i]];
            m_writer.row(cells);
        }
        look(++tail.rows);
    };
    begin(m_sample);
    for (std::size_t i = 0; i < m_sample.rows() && tail.rows < most; ++i)
        pass(m_sample.row(i));
    std::vector<Value> row(m_source.columns().size());
    bool more = !m_sample.isWhole();
    while (more && tail.rows < most) {
        more = m_source.next(row);
        if (more)
            pass(row);
    }
    if (rowLimit > 0) {
        const bool sampleLeft = tail.rows < static_cast<std::int64_t>(m_sample.rows());
        tail.rowLimit = rowLimit;
        tail.truncated = tail.rows == most && (sampleLeft || (more && m_source.next(row)));
    }
    return tail;
}

ReportTail RowPipe::passShaped(ReportTail tail, std::int64_t rowLimit)
{
    FirstRows rows(m_source, m_sample, rowLimit);
    RowShaper &shaper = m_shaper.emplace(m_plan.shape, m_plan.sources, m_writer);
    std::vector<Value> row(m_source.columns().size());
    const auto passAll = [&](RowSource &from, const RowSample &sample, auto &&counted) {
        begin(sample);
        for (std::size_t i = 0; i < sample.rows(); ++i) {
            shaper.row(sample.row(i));
            counted(++tail.rows);
        }
        while (from.next(row)) {
            shaper.row(row);
            counted(++tail.rows);
        }
    };
    if (m_plan.sources.groups.empty()) {
        // The limit may cut into the sample.
        const RowSample first(rows);
        passAll(rows, first, [&](std::int64_t count) { look(count); });
        tail.truncated = tail.truncated || rows.isCut();
    } else {
        std::int64_t read = 0;
        const auto seen = [&](std::span<const Value> values) {
            if (shaper.needsPreview())
                shaper.preview(values);
            look(++read);
        };
        OrderedRows ordered(rows, m_plan.sources.keys(), m_limits, seen, m_bounds);
        const bool isCut = rows.isCut();
        tail.truncated = tail.truncated || isCut;
        m_plan.sources.cutBeforeOrdering = m_plan.sources.cutBeforeOrdering || (tail.truncated && ordered.isReordered());
        const RowSample first(ordered);
        settleHeadings(m_plan.shape, m_plan.sources, first.rows(), first.isWhole(), [&](std::size_t i) { return first.row(i); });
        passAll(ordered, first, [](std::int64_t) {}); // the rows have been counted, and they look at the limits
    }
    shaper.finish(tail);
    return tail;
}

} // namespace qm
