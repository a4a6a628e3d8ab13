// The catalogue's road to a query file: what the list shows, without building the file's tree.
#include "framework/QueryFile.h"
#include "framework/toml/TomlCursor.h"

namespace qm {
namespace {

enum class Section { Root, Output, Other };

/// Reads one file from its start; every step returns false for what it does not take.
class SummaryScanner
{
public:
    explicit SummaryScanner(std::string_view text) : m_cursor(text) {}

    bool scan()
    {
        for (m_cursor.skipLines(); !m_cursor.atEnd(); m_cursor.skipLines())
            if (!(m_cursor.peek() == '[' ? header() : member()) || !m_cursor.takeLineEnd())
                return false;
        return m_hasDescription;
    }
    QuerySummary summary;

private:
    bool header()
    {
        const bool opened = m_cursor.take('[');
        const bool listed = m_cursor.take('[');
        const std::string_view name = m_cursor.takeWord(true);
        if (!opened || name.empty() || !m_cursor.take(']') || (listed && !m_cursor.take(']')))
            return false;
        m_section = name == "output" ? Section::Output : Section::Other;
        if (m_section != Section::Output)
            return true;
        const bool first = !m_hasOutput;
        m_hasOutput = true;
        return first && !listed;
    }

    bool member()
    {
        const std::string_view key = m_cursor.takeWord();
        m_cursor.skipBlanks();
        if (key.empty() || !m_cursor.take('='))
            return false;
        m_cursor.skipBlanks();
        if (m_section == Section::Root && key == "description")
            return once(m_hasDescription) && m_cursor.takeString(summary.description);
        if (m_section == Section::Root && key == "report_file")
            return once(m_hasReportFile) && m_cursor.takeString(summary.reportFile);
        if (m_section == Section::Root && key == "format")
            return once(m_hasFormat) && m_cursor.takeToken() == "1";
        if (m_section == Section::Root && key == "output")
            return false;
        if (m_section == Section::Output && key == "type")
            return once(m_hasType) && outputType();
        return m_cursor.skipValue();
    }

    static bool once(bool &seen)
    {
        const bool first = !seen;
        seen = true;
        return first;
    }

    bool outputType()
    {
        QString word;
        if (!m_cursor.takeString(word))
            return false;
        for (int code = 0; code <= static_cast<int>(OutputKind::Email); ++code) {
            if (word == outputTypeWord(code)) {
                summary.outputType = code;
                return true;
            }
        }
        return false;
    }

    TomlCursor m_cursor;
    Section m_section = Section::Root;
    bool m_hasDescription = false;
    bool m_hasReportFile = false;
    bool m_hasFormat = false;
    bool m_hasOutput = false;
    bool m_hasType = false;
};

} // namespace

std::optional<QuerySummary> scanQuerySummary(std::string_view text)
{
    if (!TomlCursor::isPlain(text))
        return std::nullopt;
    SummaryScanner scanner(text);
    if (!scanner.scan())
        return std::nullopt;
    return std::move(scanner.summary);
}

} // namespace qm
