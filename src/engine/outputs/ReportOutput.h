/// \file
/// Where a report goes: checked before the first row is read, open for its rows, closed when it is whole.
#pragma once

#include "core/Clock.h"
#include "documents/ReportWriter.h"
#include "engine/outputs/LedgerDelivery.h"
#include "engine/rows/CancelFlag.h"
#include "framework/Query.h"
#include "framework/ReportFormat.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace qm {

/// What a run is doing.
enum class RunStage { Rows, Sending, Printing };

/// What an output makes of a report's groups, totals, figures and charts.
enum class ShapeUse {
    Shown,
    OrderOnly, ///< rows stand in the order of the groups; nothing is added up
    RowsOnly,  ///< nothing
    Kept,      ///< shown, and grouped anew later: hidden columns that they are made of are kept
};

/// What may be chosen for one run's output. Empty values mean: as the query file says.
struct OutputChoices
{
    std::optional<ReportFormat> format;
    std::optional<QString> outputFile; ///< exact path of the file to write
    /// Receives the report when the output is the screen. Null: screen output is refused.
    ReportWriter *screen = nullptr;
    bool countOnly = false; ///< runs the query and counts its rows; no output is made
};

/// What an output is told of the document that it is opened for.
struct DocumentFacts
{
    ReportHead head;
    QMap<QString, QString> fields; ///< values of the {fields} that names and texts may hold
};

/// What came of an output.
struct OutputResult
{
    QString file;      ///< path of the written file; empty for output that is no file
    QString delivered; ///< who got an e-mailed or printed report, in words; else empty
    std::uint64_t bytes = 0;
    QString sha256;
    QStringList notes; ///< sentences that the operator should read
};

/// The run that an output works for.
class OutputHost
{
public:
    [[nodiscard]] virtual std::int64_t run() const = 0; ///< its row of the ledger; 0 when it has none
    /// The file is made in \p folder from now on.
    virtual void worksIn(const QString &folder) = 0;
    /// Files that the run reads, with what belongs to them: no report may take their place.
    [[nodiscard]] virtual QStringList inputs() const = 0;
    virtual void enter(RunStage stage) = 0;
    /// Keeps what is known of recipients or printers by now, in place of what was known of the same ones before.
    virtual void record(const std::vector<LedgerDelivery> &deliveries) = 0;

protected:
    ~OutputHost() = default;
};

/// What all outputs work with; the references outlive them.
struct OutputContext
{
    const OutputSettings &settings;
    ReportFormat format;
    QString installPath; ///< with trailing separator; may be empty
    QString fontFolder;
    const Clock &clock;
    const RunLimits &limits;
    OutputHost &host;
};

/// One way out. Calls come in this order: check; then open, the rows, close; the last three may be repeated for further documents.
/// Destroyed before close, an output leaves nothing behind. All but the destructor throw RuntimeError that says what failed and what to do.
class ReportOutput
{
public:
    virtual ~ReportOutput() = default;

    /// The ledger's word: "screen", "printer", "file", "email", "none".
    [[nodiscard]] virtual QString type() const = 0;
    /// The format of the document that is made; nothing where none is.
    [[nodiscard]] virtual std::optional<ReportFormat> format() const = 0;
    /// What the document shows beyond its rows.
    [[nodiscard]] virtual ShapeUse shapeUse() const { return format() == ReportFormat::Csv ? ShapeUse::OrderOnly : ShapeUse::Shown; }
    /// Finds what would make the output fail, as far as that can be told without the rows. \p fields as in DocumentFacts.
    virtual void check(const QMap<QString, QString> &fields) = 0;
    /// \returns the writer for the document's rows; it lives until close.
    [[nodiscard]] virtual ReportWriter &open(const DocumentFacts &facts) = 0;
    /// Commits, sends or prints what the writer was given, which has been ended.
    virtual void close(const ReportTail &tail) = 0;
    /// How the last document ended, as far as it got: also after close has failed.
    [[nodiscard]] const OutputResult &result() const { return m_result; }

protected:
    OutputResult m_result;
};

/// The output that \p choices ask for, else the query's own. \p context: its format is the query's.
/// \throws RuntimeError reportFailed for an output that this version does not know.
[[nodiscard]] std::unique_ptr<ReportOutput> makeOutput(const OutputChoices &choices, const OutputContext &context);

} // namespace qm
