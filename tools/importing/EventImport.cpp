#include "importing/EventImport.h"

#include "importing/CsvReader.h"
#include "importing/EventDatabase.h"
#include "importing/EventXmlReader.h"
#include "importing/ImportError.h"
#include "importing/JournalReader.h"
#include "importing/SyslogReader.h"

#include <QFileInfo>

#include <algorithm>
#include <iterator>

namespace qm {

namespace {

constexpr std::int64_t kRowsPerProgress = 4096;

QString nameOf(LogFormat format)
{
    switch (format) {
    case LogFormat::Syslog:
        return QStringLiteral("syslog");
    case LogFormat::Journald:
        return QStringLiteral("journald");
    case LogFormat::EventXml:
        return QStringLiteral("evtxml");
    case LogFormat::Csv:
    case LogFormat::Automatic:
        break;
    }
    return QStringLiteral("csv");
}

std::unique_ptr<RecordReader> makeReader(InputFile &input, LogFormat format, const EventSchema &schema)
{
    if (format == LogFormat::Csv)
        return std::make_unique<CsvReader>(input, schema);
    const QString file = QFileInfo(input.name()).fileName();
    if (schema.kind != EventKind::Server) {
        refuseInput(QStringLiteral("this looks like %1, which holds events of a server's operating system; %2 events are imported from CSV")
                        .arg(nameOf(format), toQt(schema.name)));
    }
    const QString dataSource = nameOf(format) + u':' + file;
    if (format == LogFormat::Syslog)
        return std::make_unique<SyslogReader>(input, dataSource);
    if (format == LogFormat::Journald)
        return std::make_unique<JournalReader>(input, dataSource);
    return std::make_unique<EventXmlReader>(input, dataSource);
}

void importInput(InputFile &input, LogFormat asked, EventDatabase &database, const EventSchema &schema, const ImportListener &listener)
{
    std::unique_ptr<RecordReader> reader;
    try {
        reader = makeReader(input, asked == LogFormat::Automatic ? detectFormat(input.head()) : asked, schema);
        if (listener.note)
            for (const QString &note : reader->notes())
                listener.note(QStringLiteral("%1: %2").arg(input.name(), note));
        EventRecord record(schema);
        while (reader->next(record)) {
            record.complete();
            database.insert(record);
            if (database.rows() % kRowsPerProgress != 0)
                continue;
            if (listener.stop && listener.stop())
                failImport(err::cancelledByOperator, QStringLiteral("interrupted"));
            if (listener.progress)
                listener.progress(input, database.rows());
        }
    } catch (const RuntimeError &error) {
        if (error.number() != err::invalidFileFormat)
            throw;
        const long long line = reader ? reader->line() : 1;
        failImport(err::invalidFileFormat, QStringLiteral("%1, line %2: %3").arg(input.name()).arg(line).arg(error.description()));
    }
}

} // namespace

std::optional<LogFormat> logFormat(const QString &word)
{
    if (word == QStringLiteral("auto"))
        return LogFormat::Automatic;
    for (const LogFormat format : {LogFormat::Csv, LogFormat::Syslog, LogFormat::Journald, LogFormat::EventXml})
        if (word == nameOf(format))
            return format;
    return std::nullopt;
}

LogFormat detectFormat(std::string_view head)
{
    if (head.starts_with("ElfFile"))
        refuseInput(QStringLiteral(
            "this is a binary Windows event log; export it as XML with \"wevtutil qe FILE /lf:true /f:xml\" and import that"));
    if (head.starts_with("LPKSHHRH"))
        refuseInput(QStringLiteral("this is a binary journal; export it with \"journalctl --file FILE -o json\" and import that"));
    if (head.starts_with("\x1F\x8B") || head.starts_with("PK\x03\x04") || head.starts_with("\x28\xB5\x2F\xFD") ||
        head.starts_with("\xFD"
                         "7zXZ"))
        refuseInput(QStringLiteral("this file is compressed; unpack it first"));
    const std::size_t first = head.find_first_not_of(" \t\r\n");
    const std::string_view text = first == std::string_view::npos ? std::string_view() : head.substr(first);
    const std::string_view line = text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
    if (text.starts_with('{'))
        return LogFormat::Journald;
    if (text.starts_with('<') && text.size() > 1 && !(text[1] >= '0' && text[1] <= '9'))
        return LogFormat::EventXml;
    return SyslogReader::looksLike(line) ? LogFormat::Syslog : LogFormat::Csv;
}

ImportResult importEvents(const ImportRequest &request, const ImportListener &listener)
{
    const EventSchema &schema = eventSchema(request.kind);
    // Every input is opened before the database is touched, so that a mistyped name costs nothing.
    std::vector<std::unique_ptr<InputFile>> inputs;
    std::ranges::transform(request.inputs, std::back_inserter(inputs),
                           [](const QString &path) { return std::make_unique<InputFile>(path); });
    EventDatabase database(request.database, schema, {request.waitSeconds, listener.stop});
    for (const auto &input : inputs)
        importInput(*input, request.format, database, schema, listener);
    if (listener.note) {
        for (const QString &value : database.unlistedValues()) {
            listener.note(
                QStringLiteral("\"%1\" in column \"%2\" is not listed in %3; reports that explain it leave such events out")
                    .arg(value, toQt(schema.columns[static_cast<std::size_t>(schema.lookup.column)].name), toQt(schema.lookup.table)));
        }
    }
    database.commit();
    return {database.rows(), database.isNew()};
}

} // namespace qm
