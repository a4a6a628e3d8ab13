/// \file
/// Windows events exported as XML: Event Viewer's "Save all events as ... XML" and `wevtutil qe ... /f:xml`, with or without a root
/// element. Schema: https://learn.microsoft.com/en-us/windows/win32/wes/eventschema-schema
#pragma once

#include "importing/InputFile.h"
#include "importing/RecordReader.h"

#include <deque>
#include <memory>
#include <utility>

namespace qm {

/// What one <Event> element says, before it is mapped to columns.
struct WindowsEvent
{
    long long line = 0; ///< on which the element begins
    std::string provider, eventId, level, task, keywords, systemTime, recordId, channel, computer, userSid;
    std::string renderedMessage, renderedTask;
    std::vector<std::pair<std::string, std::string>> data; ///< EventData or UserData, names may be empty

    /// Value of the first datum of that name that says something ("-" says nothing).
    [[nodiscard]] std::string_view datum(std::string_view name) const;
    template <class... Names>
    [[nodiscard]] std::string_view firstDatum(Names... names) const
    {
        std::string_view found;
        ((found.empty() ? void(found = datum(names)) : void()), ...);
        return found;
    }
};

/// Maps \p event to server_events. \throws RuntimeError 321 when a value that every row needs is missing or malformed.
void fillRecord(const WindowsEvent &event, const std::string &dataSource, EventRecord &record);

class EventXmlReader final : public RecordReader
{
public:
    EventXmlReader(InputFile &input, const QString &dataSource);
    ~EventXmlReader() override;

    /// \throws RuntimeError 321 also when the whole input holds no <Event>.
    bool next(EventRecord &record) override;
    [[nodiscard]] long long line() const override { return m_line; }

private:
    class Parser;

    InputFile &m_input;
    std::string m_dataSource;
    std::unique_ptr<Parser> m_parser;
    long long m_line = 1;
    bool m_any = false, m_finished = false;
};

} // namespace qm
