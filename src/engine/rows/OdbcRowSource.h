/// \file
/// Rows of a database server, through ODBC.
#pragma once

#include "engine/rows/CancelFlag.h"
#include "engine/rows/OdbcReader.h"
#include "engine/rows/RowSources.h"

namespace qm {

/// Streams the rows of one statement. The connection is asked to be read-only and never commits: whatever the statement changed is rolled
/// back at the end. Memory does not grow with the rows.
///
/// Everything the driver does happens on a thread that this object can leave behind: a cancel and a time-out end the reading within
/// seconds even when driver and server are silent.
class OdbcRowSource final : public RowSource
{
public:
    /// Connects (15 seconds at most), runs the statement and describes its result.
    /// \throws RuntimeError reportFailed: what failed in reaching the database and what to do, or the server's words with the line
    /// where it gives one; cancelledByOperator.
    OdbcRowSource(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                  const RunLimits &limits);
    ~OdbcRowSource() override;

    /// Has the server look at the statement without running it. \throws as the constructor.
    static void check(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                      const RunLimits &limits);

    [[nodiscard]] std::span<const ResultColumn> columns() const override { return m_columns; }
    bool next(std::span<Value> row) override;

private:
    OdbcRowSource(OdbcRequest request, const RunLimits &limits);
    static OdbcRequest requestFor(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                                  const RunLimits &limits);
    void waitFor(OdbcReader::Phase phase);
    void leave() noexcept;
    /// Ends the reader, gives it a moment to let go of the database, and throws what ends the run. Returns when nothing does.
    void checkLimits();

    std::shared_ptr<OdbcReader> m_reader;
    QString m_shown;
    RunLimits m_limits;
    std::vector<ResultColumn> m_columns;
    std::unique_ptr<RowBlock> m_block;
    std::size_t m_next = 0;
    bool m_hasLeft = false;
};

} // namespace qm
