#include "importing/EventXmlReader.h"

#include "importing/ImportError.h"

#include <QStringList>

#include <algorithm>
#include <expat.h>

namespace qm {

namespace {

/// A root of our own around whatever the file holds, since exports come with and without one.
constexpr std::string_view kRootStart = "<quillmark>", kRootEnd = "</quillmark>";

/// Far more than any event has; a larger one would only fill the memory.
constexpr std::size_t kLongestEvent = std::size_t{16} << 20;
constexpr int kDeepest = 1000;

std::string_view localName(const XML_Char *name)
{
    const std::string_view text(name);
    const std::size_t colon = text.rfind(':');
    return colon == std::string_view::npos ? text : text.substr(colon + 1);
}

std::string attribute(const XML_Char **attributes, std::string_view name)
{
    for (; *attributes != nullptr; attributes += 2)
        if (name == *attributes)
            return attributes[1];
    return {};
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view() : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Takes an XML declaration off the begin of a file, keeping its line breaks. \returns the encoding it names, in lower case.
std::string takeDeclaration(std::string &text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos || text.compare(begin, 5, "<?xml") != 0)
        return {};
    const std::size_t end = text.find("?>", begin);
    if (end == std::string::npos)
        return {};
    const std::string declaration = text.substr(begin, end - begin);
    text.erase(begin, end + 2 - begin);
    text.insert(begin, static_cast<std::size_t>(std::ranges::count(declaration, '\n')), '\n');
    const std::size_t key = declaration.find("encoding");
    const std::size_t open = key == std::string::npos ? key : declaration.find_first_of("\"'", key);
    const std::size_t close = open == std::string::npos ? open : declaration.find(declaration[open], open + 1);
    if (close == std::string::npos)
        return {};
    return toQt(std::string_view(declaration).substr(open + 1, close - open - 1)).toLower().toStdString();
}

} // namespace

/// Feeds expat and collects finished events.
class EventXmlReader::Parser
{
public:
    Parser() = default;
    ~Parser()
    {
        if (m_expat != nullptr)
            XML_ParserFree(m_expat);
    }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    /// \p last: the end of the input. \throws RuntimeError 321; line() tells where.
    void feed(std::string_view block, bool last)
    {
        if (m_expat == nullptr) {
            std::string text(block);
            begin(takeDeclaration(text));
            parse(kRootStart, false);
            parse(text, false);
        } else {
            parse(block, false);
        }
        if (last)
            parse(kRootEnd, true);
    }
    [[nodiscard]] long long line() const { return m_expat == nullptr ? 1 : static_cast<long long>(XML_GetCurrentLineNumber(m_expat)); }

    std::deque<WindowsEvent> events;

private:
    void begin(const std::string &declared)
    {
        // A UTF-16 file has already been converted; the others that expat reads by itself are these.
        const char *encoding = "UTF-8";
        if (declared == "iso-8859-1")
            encoding = "ISO-8859-1";
        else if (!declared.empty() && declared != "us-ascii" && !declared.starts_with("utf-"))
            refuseInput(QStringLiteral("the file is in the encoding \"%1\"; save it as UTF-8").arg(toQt(declared)));
        m_expat = XML_ParserCreate(encoding);
        if (m_expat == nullptr)
            throw std::bad_alloc();
        XML_SetUserData(m_expat, this);
        XML_SetElementHandler(
            m_expat,
            [](void *self, const XML_Char *name, const XML_Char **attributes) { static_cast<Parser *>(self)->start(name, attributes); },
            [](void *self, const XML_Char *) { static_cast<Parser *>(self)->end(); });
        XML_SetCharacterDataHandler(m_expat, [](void *self, const XML_Char *text, int length) {
            static_cast<Parser *>(self)->m_text.append(text, static_cast<std::size_t>(length));
        });
    }

    void parse(std::string_view text, bool last)
    {
        // Whatever is kept (a text, attributes, data, open elements) has been read since the last event ended.
        const std::size_t before = events.size();
        const bool parsed = XML_Parse(m_expat, text.data(), static_cast<int>(text.size()), last ? 1 : 0) == XML_STATUS_OK;
        m_sinceEvent = events.size() == before ? m_sinceEvent + text.size() : 0;
        if (parsed && m_sinceEvent > kLongestEvent)
            refuseInput(QStringLiteral("no event ends within 16 MiB; this is not an export of events"));
        if (parsed)
            return;
        if (m_depth > kDeepest)
            refuseInput(QStringLiteral("elements stand inside each other more than 1,000 deep; this is not an export of events"));
        const XML_Error code = XML_GetErrorCode(m_expat);
        QString why = QString::fromUtf8(XML_ErrorString(code));
        if (last && code == XML_ERROR_TAG_MISMATCH)
            why = QStringLiteral("the file ends inside an element; it is cut off");
        refuseInput(QStringLiteral("the XML is not well-formed: %1").arg(why));
    }

    void start(const XML_Char *name, const XML_Char **attributes)
    {
        if (++m_depth > kDeepest)
            XML_StopParser(m_expat, XML_FALSE); // the parser would keep each of them
        const std::string_view local = localName(name);
        m_text.clear();
        m_leaf = true;
        if (m_path.empty()) {
            if (local == "Event") {
                m_event = {};
                m_event.line = line();
                m_path.emplace_back(local);
            }
            return;
        }
        m_path.emplace_back(local);
        m_dataName = attribute(attributes, "Name");
        if (!inside("System"))
            return;
        if (local == "Provider")
            m_event.provider = m_dataName;
        else if (local == "TimeCreated")
            m_event.systemTime = attribute(attributes, "SystemTime");
        else if (local == "Security")
            m_event.userSid = attribute(attributes, "UserID");
    }

    void end()
    {
        --m_depth;
        if (m_path.empty())
            return;
        if (m_path.size() == 1)
            events.push_back(std::move(m_event));
        else if (inside("System"))
            endSystem();
        else if (inside("EventData"))
            m_event.data.emplace_back(m_path.back() == "Data" ? m_dataName : m_path.back(), m_text);
        else if (m_path.size() > 2 && m_path[1] == "UserData" && m_leaf)
            m_event.data.emplace_back(m_path.back(), trimmed(m_text));
        else if (inside("RenderingInfo") && m_path.back() == "Message")
            m_event.renderedMessage = m_text;
        else if (inside("RenderingInfo") && m_path.back() == "Task")
            m_event.renderedTask = m_text;
        m_leaf = false;
        m_text.clear();
        m_path.pop_back();
    }

    /// Whether the current element stands directly in that part of the event.
    [[nodiscard]] bool inside(std::string_view part) const { return m_path.size() == 3 && m_path[1] == part; }

    void endSystem()
    {
        const std::string &name = m_path.back();
        const auto value = std::string(trimmed(m_text));
        if (name == "EventID")
            m_event.eventId = value;
        else if (name == "Level")
            m_event.level = value;
        else if (name == "Task")
            m_event.task = value;
        else if (name == "Keywords")
            m_event.keywords = value;
        else if (name == "EventRecordID")
            m_event.recordId = value;
        else if (name == "Channel")
            m_event.channel = value;
        else if (name == "Computer")
            m_event.computer = value;
    }

    XML_Parser m_expat = nullptr;
    std::vector<std::string> m_path; ///< names of the open elements from <Event> on
    WindowsEvent m_event;
    std::string m_text, m_dataName;
    std::size_t m_sinceEvent = 0; ///< bytes
    int m_depth = 0;              ///< of open elements, ours included
    bool m_leaf = false;          ///< nothing but text since the last start tag
};

EventXmlReader::EventXmlReader(InputFile &input, const QString &dataSource)
    : m_input(input), m_dataSource(dataSource.toStdString()), m_parser(std::make_unique<Parser>())
{
}

EventXmlReader::~EventXmlReader() = default;

bool EventXmlReader::next(EventRecord &record)
{
    while (m_parser->events.empty() && !m_finished) {
        const std::string_view block = m_input.nextBlock();
        m_finished = block.empty();
        try {
            m_parser->feed(block, m_finished);
        } catch (const RuntimeError &) {
            m_line = m_parser->line();
            throw;
        }
    }
    if (m_parser->events.empty()) {
        m_line = m_parser->line();
        if (!m_any)
            refuseInput(
                QStringLiteral("the file holds no <Event>; export events with \"wevtutil qe LOG /f:xml\" or as XML from the Event Viewer"));
        return false;
    }
    m_any = true;
    const WindowsEvent event = std::move(m_parser->events.front());
    m_parser->events.pop_front();
    m_line = event.line;
    fillRecord(event, m_dataSource, record);
    return true;
}

} // namespace qm
