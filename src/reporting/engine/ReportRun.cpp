#include "reporting/engine/ReportRun.h"

#include "core/ErrorReporter.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "reporting/engine/Failure.h"
#include "reporting/engine/QueryHome.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto kScheduledTimeout = 60min;
constexpr auto kProgressInterval = 250ms;
/// Rows between two looks at the limits and the progress clock.
constexpr std::int64_t kRowsPerLook = 1024;
constexpr char kDefaultName[] = "{description} {date}.{format}";

/// Counts rows and keeps none.
class CountingWriter final : public ReportWriter
{
public:
    void begin(const ReportHead &, std::span<const ReportColumn>) override {}
    void row(std::span<const Value>) override {}
    void end(const ReportTail &) override {}
};

std::chrono::seconds timeoutOf(const Query &query, const RunOptions &options)
{
    if (query.timeoutSeconds > 0)
        return std::chrono::seconds(query.timeoutSeconds);
    return options.trigger == QStringLiteral("schedule") ? std::chrono::seconds(kScheduledTimeout) : 0s;
}

/// Whether \p path is a file of the installation \p installPath (may be empty) that is no report, and lost when one takes its place.
bool belongsToInstallation(const QString &path, const QString &installPath)
{
    static const QStringList kSuffixes{QStringLiteral("rqn"), QStringLiteral("rpt"), QStringLiteral("db"),  QStringLiteral("ini"),
                                       QStringLiteral("cfg"), QStringLiteral("dsf"), QStringLiteral("chm"), QStringLiteral("log")};
    const QFileInfo file(path);
    if (installPath.isEmpty() || !file.exists() || !kSuffixes.contains(file.suffix().toLower().section(u'-', 0, 0)))
        return false;
    const QString relative = QDir(QDir(installPath).canonicalPath()).relativeFilePath(file.canonicalFilePath());
    return QDir::isRelativePath(relative) && !relative.startsWith(QStringLiteral("..")); // another drive has no relative path
}

QString nativeAbsolute(const QString &path)
{
    return QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
}

QString wallText(const WallTime &wall)
{
    return wall.date.toString(Qt::ISODate) + u' ' + time24Text(wall.secondOfDay);
}

QString dayText(QDate day)
{
    return day.isValid() ? day.toString(Qt::ISODate) : QStringLiteral("...");
}

} // namespace

ReportRun::ReportRun(const EngineServices &services, const QString &queryFile, const RunOptions &options)
    : m_services(services), m_options(options), m_queryFile(nativeAbsolute(queryFile)), m_limits(options.cancel, 0s),
      m_ledger(services.installPath)
{
}

RunResult ReportRun::execute()
{
    m_entry.queryFile = m_queryFile;
    m_entry.trigger = m_options.trigger;
    m_entry.startedUtc = utcText(m_services.clock.now());
    try {
        prepare();
        m_ledger.start(m_entry);
        logStart();
        produce();
        end(QStringLiteral("done"), {});
    } catch (...) {
        const RuntimeError error = currentError();
        const bool cancelled = error.number() == err::cancelledByOperator;
        end(cancelled ? QStringLiteral("cancelled") : QStringLiteral("failed"), error.description());
        throw error;
    }
    m_result.runId = m_entry.id;
    return m_result;
}

void ReportRun::prepare()
{
    m_query = readQueryFile(m_queryFile);
    m_limits = RunLimits(m_options.cancel, timeoutOf(*m_query, m_options));
    m_facts.description = m_entry.description = m_query->Description;
    m_facts.queryFile = files::lastPart(m_queryFile);
    m_facts.madeLocal = wallText(m_services.clock.wallNow());
    m_facts.madeUtc = utcText(m_services.clock.now());
    chooseSource();
    chooseTarget();
    const QStringList used = parameterNames(m_sql, m_source.dialect);
    choosePeriod(used);
    m_facts.parameters = bindParameters(*m_query, used, m_options.parameters, m_period, m_services.clock.wallNow().date);
    checkDelivery();
}

void ReportRun::chooseSource()
{
    const QueryHome home = findQueryHome(m_queryFile, m_services.installPath);
    m_packageFolder = home.packageFolder;
    m_facts.package = m_entry.package = home.package;
    m_facts.group = home.group;
    m_database = m_options.database.value_or(home.database);
    if (m_database.isEmpty() && m_query->dataSource.isEmpty())
        failReport(QStringLiteral("The query file %1 belongs to no package of an installation, so it has no event database. Move it into a "
                                  "report group below "
                                  "a package's \"Query Groups\" folder, or name a database for this run (--database FILE).")
                       .arg(m_queryFile));
    m_source = describeSource(m_options.database ? QString() : m_query->dataSource, m_database, home.installPath);
    m_sql = sqlFor(*m_query, m_source.dialect);
    m_facts.source = m_source.shown;
}

void ReportRun::chooseTarget()
{
    const OutputSettings &output = m_query->OutputSettings;
    m_format = m_options.format.value_or(output.format).toLower();
    if (m_options.outputFile && !m_options.format)
        m_format = formatOfFile(*m_options.outputFile).value_or(m_format);
    if (!isKnownFormat(m_format))
        failReport(QStringLiteral("The output format \"%1\" is not known. Choose pdf, html, xlsx or csv.").arg(m_format));
    const auto kind = static_cast<OutputKind>(output.OutputType);
    if (m_options.countOnly) {
        m_target = Target::Nothing;
        m_entry.outputType = QStringLiteral("none");
    } else if (m_options.outputFile) {
        m_target = Target::ExactFile;
    } else if (kind == OutputKind::Email) {
        m_target = Target::Mail;
        m_entry.outputType = outputTypeWord(output.OutputType);
    } else if (kind == OutputKind::Printer && !m_options.format) {
        m_target = Target::Printer;
        m_format = QStringLiteral("pdf");
        m_entry.outputType = outputTypeWord(output.OutputType);
    } else if (m_options.format || kind == OutputKind::File) {
        m_target = Target::NamedFile;
        if (m_services.installPath.isEmpty())
            failReport(QStringLiteral("The query file %1 lies outside any installation, so there is no \"Reports\" folder for its output. "
                                      "Name the output file (--output FILE).")
                           .arg(m_queryFile));
    } else if (kind == OutputKind::Screen) {
        m_target = Target::Screen;
        m_entry.outputType = outputTypeWord(output.OutputType);
        if (!m_options.screen)
            failReport(QStringLiteral("The query's output is the screen, and this run has none: say --output FILE."));
    } else {
        failReport(QStringLiteral("The query's output has the code %1, which this version does not know. Choose an output in its output "
                                  "settings, or name an output file for this run.")
                       .arg(output.OutputType));
    }
    if (m_target == Target::ExactFile || m_target == Target::NamedFile)
        m_entry.outputType = QStringLiteral("file");
    if (m_target == Target::ExactFile)
        spareInputs(*m_options.outputFile);
    if (m_target != Target::Screen && m_target != Target::Nothing)
        m_facts.format = m_entry.format = m_format;
}

void ReportRun::spareInputs(const QString &target) const
{
    const QFileInfo file(target);
    bool isInput = false;
    for (const QString &input : {m_queryFile, m_database, layoutPath(m_query->ReportFile, m_packageFolder)})
        isInput = isInput || (!input.isEmpty() && file.exists() && file == QFileInfo(input));
    if (isInput || belongsToInstallation(target, m_services.installPath))
        failReport(QStringLiteral("The report cannot replace %1: %2. Name another output file.")
                       .arg(nativeAbsolute(target), isInput ? QStringLiteral("it is made from that file")
                                                            : QStringLiteral("that file belongs to the installation")));
}

void ReportRun::choosePeriod(const QStringList &used)
{
    bool takesPeriod = false;
    for (const char *name : {kDateFrom, kDateTo})
        takesPeriod = takesPeriod || used.contains(QLatin1String(name), Qt::CaseInsensitive);
    for (const QueryParameter &parameter : m_query->parameters)
        if (parameter.name.compare(QLatin1String(kDateFrom), Qt::CaseInsensitive) == 0)
            takesPeriod = false;
    const bool dated = m_options.from.isValid() || m_options.to.isValid();
    if (!takesPeriod) {
        if (dated || m_options.period)
            failReport(
                QStringLiteral("The query \"%1\" takes no period: its SQL uses neither :date_from nor :date_to. Run it without dates.")
                    .arg(m_query->Description));
        return;
    }
    const Clock &clock = m_services.clock;
    if (m_options.allTime) {
        m_facts.periodPhrase = QStringLiteral("all time");
        m_period = resolvePeriod(m_facts.periodPhrase, clock);
    } else if (m_options.period) {
        m_facts.periodPhrase = m_options.period->simplified();
        m_period = resolvePeriod(*m_options.period, clock);
    } else if (dated) {
        m_facts.periodPhrase = QStringLiteral("%1 to %2").arg(dayText(m_options.from), dayText(m_options.to));
        m_period = periodBetween(m_options.from, m_options.to, clock);
    } else if (m_query->period.used) {
        m_facts.periodPhrase = m_query->period.range.simplified();
        m_period = resolvePeriod(m_query->period.range, clock);
    }
    if (m_period) {
        m_facts.period = m_entry.period = m_period->words;
        m_facts.dateFrom = m_period->fromUtc;
        m_facts.dateTo = m_period->toUtc;
    }
}

OutputName ReportRun::nameOutput() const
{
    const QString &asked = m_query->OutputSettings.file;
    return outputName(asked.isEmpty() ? QString::fromLatin1(kDefaultName) : asked, fieldValues(m_facts), m_format,
                      m_services.installPath + QStringLiteral("Reports") + kSep);
}

void ReportRun::produce()
{
    const auto source = openRowSource(m_source, m_sql, m_facts.parameters, m_limits);
    const RowSample sample(*source);
    const QString layoutFile = layoutPath(m_query->ReportFile, m_packageFolder);
    std::optional<ReportLayout> layout;
    if (!layoutFile.isEmpty())
        layout = readLayoutFile(layoutFile);
    const ReportPlan plan = planReport(layout ? &*layout : nullptr, layoutFile, source->columns(), sample, m_facts);
    if (m_target == Target::Screen || m_target == Target::Nothing) {
        CountingWriter counter;
        ReportWriter &writer = m_target == Target::Screen ? *m_options.screen : counter;
        passRows(*source, sample, plan, writer);
        writer.end(m_tail);
    } else if (m_target == Target::Mail) {
        mail(*source, sample, plan);
    } else if (m_target == Target::Printer) {
        print(*source, sample, plan);
    } else {
        deliver(*source, sample, plan);
    }
    m_result.rows = m_entry.rows = m_tail.rows;
    m_result.truncated = m_tail.truncated;
    if (m_tail.truncated)
        addNote(QStringLiteral("Only the first %1 rows: the query's row limit cut the rest off.").arg(m_tail.rows));
}

void ReportRun::deliver(RowSource &source, const RowSample &sample, const ReportPlan &plan)
{
    const OutputSettings &settings = m_query->OutputSettings;
    std::optional<FileDelivery> delivery;
    if (m_target == Target::ExactFile)
        delivery.emplace(nativeAbsolute(*m_options.outputFile), m_format, settings, m_services.fontFolder);
    else
        delivery.emplace(nameOutput(), m_format, settings, m_services.fontFolder);
    m_result.outputFile = m_entry.outputFile = makeFile(*delivery, source, sample, plan).path;
}

FileDelivery::Delivered ReportRun::makeFile(FileDelivery &delivery, RowSource &source, const RowSample &sample, const ReportPlan &plan)
{
    ReportWriter &writer = delivery.writer();
    passRows(source, sample, plan, writer);
    m_limits.check();
    writer.end(m_tail);
    m_limits.check();
    auto delivered = delivery.finish(plan.head, m_tail);
    m_result.rows = m_entry.rows = m_tail.rows;
    m_result.bytes = m_entry.bytes = delivered.bytes;
    m_result.sha256 = m_entry.sha256 = delivered.sha256;
    noteChanges(writer.notes());
    return delivered;
}

void ReportRun::passRows(RowSource &source, const RowSample &sample, const ReportPlan &plan, ReportWriter &writer)
{
    const std::int64_t limit = m_query->rowLimit > 0 ? m_query->rowLimit : std::numeric_limits<std::int64_t>::max();
    std::vector<Value> cells(plan.columns.size());
    auto lastProgress = std::chrono::steady_clock::now();
    const auto pass = [&](std::span<const Value> row) {
        if (plan.inResultOrder) {
            writer.row(row);
        } else {
            for (std::size_t i = 0; i < cells.size(); ++i)
                cells[i] = row[plan.resultIndex[i]];
            writer.row(cells);
        }
        if (++m_tail.rows % kRowsPerLook != 0)
            return;
        m_limits.check();
        if (const auto now = std::chrono::steady_clock::now(); m_options.progress && now - lastProgress >= kProgressInterval) {
            lastProgress = now;
            m_options.progress(m_tail.rows);
        }
    };
    writer.begin(plan.head, plan.columns);
    for (std::size_t i = 0; i < sample.rows() && m_tail.rows < limit; ++i)
        pass(sample.row(i));
    std::vector<Value> row(source.columns().size());
    bool more = !sample.isWhole();
    while (more && m_tail.rows < limit) {
        more = source.next(row);
        if (more)
            pass(row);
    }
    if (m_query->rowLimit > 0) {
        const bool sampleLeft = m_tail.rows < static_cast<std::int64_t>(sample.rows());
        m_tail.rowLimit = m_query->rowLimit;
        m_tail.truncated = m_tail.rows == limit && (sampleLeft || (more && source.next(row)));
    }
}

void ReportRun::noteChanges(const WriterNotes &notes)
{
    if (notes.cellsCut > 0)
        addNote(QStringLiteral("%1 cells hold more text than the format takes and were cut, each marked.").arg(notes.cellsCut));
    if (notes.missingGlyphs > 0)
        addNote(QStringLiteral("%1 characters have no glyph in any font and are shown as boxes.").arg(notes.missingGlyphs));
}

void ReportRun::addNote(const QString &text)
{
    m_result.note += (m_result.note.isEmpty() ? QString() : QStringLiteral(" ")) + text;
}

void ReportRun::logStart()
{
    m_services.log.info(QStringLiteral("Run %1 started by %2: \"%3\" (%4), %5")
                            .arg(m_entry.id)
                            .arg(m_entry.trigger, m_entry.description, m_queryFile, m_source.shown));
}

void ReportRun::end(const QString &status, const QString &error)
{
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
    if (m_entry.status == QStringLiteral("cancelled"))
        m_services.log.warning(run + QStringLiteral("cancelled: \"%1\" (%2)").arg(m_entry.description, m_queryFile));
    else if (m_entry.status == QStringLiteral("failed"))
        m_services.log.error(run + QStringLiteral("failed: \"%1\" (%2): %3").arg(m_entry.description, m_queryFile, m_entry.error));
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
