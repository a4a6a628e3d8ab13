// The log importers: records are UTF-8 without NUL and their times read back.

#include "fuzz/Fuzz.h"

#include "importing/CsvReader.h"
#include "importing/EventImport.h"
#include "importing/EventXmlReader.h"
#include "importing/JournalReader.h"
#include "importing/SyslogReader.h"
#include "importing/TimeText.h"

namespace qm::fuzz {

namespace {

void readAll(RecordReader &reader, const EventSchema &schema)
{
    EventRecord record(schema);
    while (reader.next(record)) {
        record.complete();
        for (const EventRecord::Cell &cell : record.cells())
            if (cell.state == EventRecord::State::Text)
                PROMISE(isUtf8(cell.text) && cell.text.find('\0') == std::string::npos);
        const std::string_view time = record.text(0);
        PROMISE(time.size() == 23 && parseEventTime(time) && eventTimeText(*parseEventTime(time)) == time);
        PROMISE(reader.line() > 0);
    }
}

void csv(const QByteArray &bytes)
{
    constexpr std::array kKinds{EventKind::Server, EventKind::Mail, EventKind::File};
    InputFile input(put("x.csv", bytes));
    const EventSchema &schema = eventSchema(kKinds[static_cast<std::size_t>(bytes.size()) % kKinds.size()]);
    CsvReader reader(input, schema);
    readAll(reader, schema);
}

template <class Reader>
void log(const QByteArray &bytes)
{
    InputFile input(put("x.log", bytes));
    (void)detectFormat(input.head());
    Reader reader(input, QStringLiteral("x"));
    readAll(reader, eventSchema(EventKind::Server));
}

void eventTime(const QByteArray &bytes)
{
    if (const auto at = parseEventTime({bytes.constData(), static_cast<std::size_t>(bytes.size())}))
        PROMISE(parseEventTime(eventTimeText(*at)) == at);
}

} // namespace

Targets importTargets()
{
    return {{"csv", csv},
            {"syslog", log<SyslogReader>},
            {"journald", log<JournalReader>},
            {"evtxml", log<EventXmlReader>},
            {"event-time", eventTime}};
}

} // namespace qm::fuzz
