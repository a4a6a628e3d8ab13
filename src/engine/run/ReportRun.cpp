#include "engine/run/ReportRun.h"

#include "core/ErrorReporter.h"
#include "documents/ReportWords.h"
#include "engine/rows/RowSample.h"
#include "engine/run/QueryHome.h"
#include "engine/run/ReportFields.h"
#include "engine/run/ReportPlan.h"
#include "engine/run/RowPipe.h"
#include "engine/sql/Period.h"
#include "platform/ApplicationLog.h"

#include <QDir>
#include <QFileInfo>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto kScheduledTimeout = 60min;

std::chrono::seconds timeoutOf(const Query &query, const RunOptions &options)
{
    if (query.timeoutSeconds > 0)
        return std::chrono::seconds(query.timeoutSeconds);
    return options.trigger == RunTrigger::Schedule ? std::chrono::seconds(kScheduledTimeout) : 0s;
}

QString nativeAbsolute(const QString &path)
{
    return QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
}

} // namespace

ReportRun::ReportRun(const EngineServices &services, const QString &queryFile, const RunOptions &options)
    : m_services(services), m_options(options), m_limits(options.cancel, 0s), m_ledger(services.installPath)
{
    m_entry.queryFile = nativeAbsolute(queryFile);
    m_entry.trigger = options.trigger;
    m_entry.startedUtc = utcText(services.clock.now());
}

RunResult ReportRun::execute()
{
    try {
        prepare();
        m_ledger.start(m_entry);
        logStart();
        pipe();
        end(RunStatus::Done, {});
    } catch (...) {
        const RuntimeError error = currentError();
        const bool cancelled = error.number() == err::cancelledByOperator;
        end(cancelled ? RunStatus::Cancelled : RunStatus::Failed, error.description());
        throw error;
    }
    m_result.runId = m_entry.id;
    return m_result;
}

void ReportRun::prepare()
{
    const std::shared_ptr<const Query> query = m_options.query ? m_options.query : readQueryFile(m_entry.queryFile);
    m_entry.description = query->Description;
    m_limits = RunLimits(m_options.cancel, timeoutOf(*query, m_options));
    const QueryHome home = findQueryHome(m_entry.queryFile, m_services.installPath);
    m_entry.package = home.package;
    const OutputSettings &settings = query->OutputSettings;
    m_result.csv = {settings.csvByteOrderMark, settings.csvGuardFormulas};
    m_output = makeOutput(m_options, {.settings = settings,
                                      .format = settings.format,
                                      .installPath = m_services.installPath,
                                      .fontFolder = m_services.fontFolder,
                                      .clock = m_services.clock,
                                      .limits = m_limits,
                                      .host = *this});
    m_entry.outputType = m_output->type();
    if (const auto format = m_output->format())
        m_entry.format = formatWord(*format);
    m_prepared = prepareQuery(query, home, m_options, m_services.clock);
    m_prepared->facts.format = m_entry.format;
    m_entry.period = m_prepared->facts.period;
    m_output->check(fieldValues(m_prepared->facts));
}

void ReportRun::pipe()
{
    const PreparedQuery &prepared = *m_prepared;
    auto source = openRowSource(prepared.source, prepared.sql, prepared.parameters, m_limits);
    const RowSample sample(*source);
    const QString layoutFile = layoutPath(prepared.query->ReportFile, prepared.home.packageFolder);
    std::optional<ReportLayout> layout;
    if (!layoutFile.isEmpty())
        layout = readLayoutFile(layoutFile);
    ReportPlan plan = planReport(layout ? &*layout : nullptr, layoutFile, source->columns(), sample, prepared.facts, m_output->shapeUse());
    for (const std::string &notice : plan.head.notices)
        addNote(QString::fromStdString(notice));
    ReportWriter &writer = m_output->open({plan.head, fieldValues(prepared.facts)});
    RowPipe rows(*source, sample, plan, writer, m_limits, m_options.progress);
    const ReportTail tail = rows.pass(prepared.query->rowLimit);
    m_limits.check();
    writer.end(tail);
    m_limits.check();
    source.reset(); // sending may take long, and an import waits for readers
    m_result.rows = m_entry.rows = tail.rows;
    m_result.truncated = tail.truncated;
    m_output->close(tail);
    if (tail.truncated)
        addNote(QString::fromStdString(cutNotice(tail)));
    for (const std::string &notice : tail.notices)
        addNote(QString::fromStdString(notice));
    if (m_output->shapeUse() == ShapeUse::Kept)
        m_result.sources = ofShownRows(plan.sources);
}

QStringList ReportRun::inputs() const
{
    QStringList files{m_entry.queryFile, layoutPath(m_prepared->query->ReportFile, m_prepared->home.packageFolder)};
    // What stands beside a database holds rows of it, or undoes half a change.
    if (const QString &database = m_prepared->source.database; !database.isEmpty())
        for (const char *part : {"", "-wal", "-shm", "-journal"})
            files << database + QLatin1String(part);
    return files;
}

void ReportRun::enter(RunStage stage)
{
    if (m_options.stage)
        m_options.stage(stage);
}

void ReportRun::worksIn(const QString &folder)
{
    // What lies in the installation is found there, and what is mailed or printed is made in a folder that is found by its own name.
    const bool isFile = m_entry.outputType == outputTypeWord(static_cast<int>(OutputKind::File));
    if (isFile && !(folder + u'/').startsWith(QDir::fromNativeSeparators(m_services.installPath)))
        m_ledger.recordFolder(m_entry.id, folder);
}

void ReportRun::record(const std::vector<LedgerDelivery> &deliveries)
{
    m_ledger.recordDeliveries(m_entry.id, deliveries);
}

void ReportRun::addNote(const QString &text)
{
    m_result.note += (m_result.note.isEmpty() ? QString() : QStringLiteral(" ")) + text;
}

void ReportRun::logStart()
{
    m_services.log.info(QStringLiteral("Run %1 started by %2: \"%3\" (%4), %5")
                            .arg(m_entry.id)
                            .arg(runWord(m_entry.trigger), m_entry.description, m_entry.queryFile, m_prepared->source.shown));
}

void ReportRun::end(RunStatus status, const QString &error)
{
    if (m_output) {
        const OutputResult &made = m_output->result();
        m_result.outputFile = m_entry.outputFile = made.file;
        m_result.delivered = made.delivered;
        m_result.bytes = m_entry.bytes = made.bytes;
        m_result.sha256 = m_entry.sha256 = made.sha256;
        for (const QString &note : made.notes)
            addNote(note);
    }
    m_entry.status = status;
    m_entry.error = error;
    m_entry.note = m_result.note;
    m_entry.endedUtc = utcText(m_services.clock.now());
    m_ledger.finish(m_entry);
    if (!m_ledger.problem().isEmpty()) {
        addNote(m_ledger.problem());
        m_services.log.warning(m_ledger.problem());
    }
    logEnd();
}

void ReportRun::logEnd()
{
    const QString run = QStringLiteral("Run %1 ").arg(m_entry.id);
    if (m_entry.status == RunStatus::Cancelled)
        m_services.log.warning(run + QStringLiteral("cancelled: \"%1\" (%2)").arg(m_entry.description, m_entry.queryFile));
    else if (m_entry.status == RunStatus::Failed)
        m_services.log.error(run + QStringLiteral("failed: \"%1\" (%2): %3").arg(m_entry.description, m_entry.queryFile, m_entry.error));
    else
        m_services.log.info(run + QStringLiteral("done: %1 rows, %2 bytes, %3%4")
                                      .arg(m_entry.rows)
                                      .arg(m_entry.bytes)
                                      .arg(!m_result.delivered.isEmpty()  ? m_result.delivered
                                           : m_entry.outputFile.isEmpty() ? m_entry.outputType
                                                                          : m_entry.outputFile,
                                           m_result.note.isEmpty() ? QString() : QStringLiteral("; ") + m_result.note));
}

} // namespace qm
