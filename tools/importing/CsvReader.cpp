#include "importing/CsvReader.h"

#include "importing/ImportError.h"

#include <algorithm>

namespace qm {

namespace {
// Far more than any events have: a file of another kind only fills the memory.
constexpr std::size_t kLongestRecord = std::size_t{64} << 20;
constexpr std::size_t kMostFields = 10'000;
constexpr std::size_t kKeptRoom = std::size_t{64} << 10; ///< of a field, for the next record
} // namespace

void CsvParser::refuse(long long line, const char *why)
{
    m_faultLine = line;
    refuseInput(QString::fromUtf8(why));
}

void CsvParser::beginField()
{
    if (m_count == kMostFields)
        refuse(m_recordLine, "the record has more than 10,000 fields; this is not a table of events");
    if (m_count == m_fields.size())
        m_fields.emplace_back();
    std::string &field = m_fields[m_count++];
    if (field.capacity() > kKeptRoom)
        field = {};
    field.clear();
}

void CsvParser::append(std::string_view text)
{
    m_recordBytes += text.size();
    if (m_recordBytes > kLongestRecord)
        refuse(m_recordLine, "the record is longer than 64 MiB; a quotation mark is probably missing");
    m_fields[m_count - 1].append(text);
}

bool CsvParser::next()
{
    if (m_atEnd)
        return false;
    m_recordLine = m_line;
    m_state = State::FieldStart;
    m_count = 0;
    m_recordBytes = 0;
    while (true) {
        if (m_block.empty()) {
            m_block = m_input.nextBlock();
            if (m_block.empty())
                return endOfInput();
        }
        if (step()) {
            checkText();
            return true;
        }
    }
}

bool CsvParser::step()
{
    const char c = m_block.front();
    switch (m_state) {
    case State::FieldStart:
        beginField();
        m_state = State::Bare;
        if (c == '"') {
            m_state = State::Quoted;
            m_quoteLine = m_line;
            m_block.remove_prefix(1);
        }
        return false;
    case State::Bare:
        takeBare();
        return !m_block.empty() && endOfLine();
    case State::Quoted:
        takeQuoted();
        return false;
    case State::QuoteInQuoted:
        if (c == '"') {
            append("\"");
            m_state = State::Quoted;
            m_block.remove_prefix(1);
            return false;
        }
        if (c != ',' && c != '\r' && c != '\n')
            refuse(m_line, "text follows the closing quotation mark of a field (double a quotation mark that belongs to the text)");
        return endOfLine();
    case State::AfterCr:
        if (c != '\n')
            refuse(m_line, "a carriage return that ends no line stands outside quotation marks");
        return endOfLine();
    }
    return false;
}

/// At a character that may end a field: comma, CR or LF.
bool CsvParser::endOfLine()
{
    const char c = m_block.front();
    m_block.remove_prefix(1);
    if (c == ',') {
        m_state = State::FieldStart;
        return false;
    }
    if (c == '\r') {
        m_state = State::AfterCr;
        return false;
    }
    ++m_line;
    return true;
}

void CsvParser::takeBare()
{
    std::size_t end = 0;
    const std::string_view block = m_block;
    while (end < block.size()) {
        const char c = block[end];
        if (c == ',' || c == '\r' || c == '\n')
            break;
        if (c == '"')
            refuse(m_line,
                   "a quotation mark stands inside a field that does not begin with one (put the field in quotation marks and double it)");
        ++end;
    }
    append(m_block.substr(0, end));
    m_block.remove_prefix(end);
}

void CsvParser::takeQuoted()
{
    const std::size_t end = std::min(m_block.find('"'), m_block.size());
    const std::string_view text = m_block.substr(0, end);
    m_line += std::ranges::count(text, '\n');
    append(text);
    m_block.remove_prefix(end);
    if (!m_block.empty()) {
        m_block.remove_prefix(1);
        m_state = State::QuoteInQuoted;
    }
}

bool CsvParser::endOfInput()
{
    m_atEnd = true;
    switch (m_state) {
    case State::Quoted:
        refuse(m_quoteLine, "the quotation mark that begins a field on this line is never closed");
    case State::AfterCr:
        refuse(m_line, "a carriage return that ends no line stands outside quotation marks");
    case State::FieldStart:
        if (m_count == 0)
            return false;
        beginField();
        break;
    case State::Bare:
    case State::QuoteInQuoted:
        break;
    }
    checkText();
    return true;
}

void CsvParser::checkText()
{
    for (const std::string &field : fields()) {
        if (field.find('\0') != std::string::npos)
            refuse(m_recordLine, "the record holds a NUL character; this is not a text file");
        if (!isUtf8(field))
            refuse(m_recordLine, "the record holds bytes that are not UTF-8 text; save the file as UTF-8");
    }
}

CsvReader::CsvReader(InputFile &input, const EventSchema &schema) : m_parser(input), m_schema(schema)
{
    readHeader();
}

bool CsvReader::nextRecord()
{
    try {
        const bool found = m_parser.next();
        m_line = m_parser.recordLine();
        return found;
    } catch (const RuntimeError &) {
        m_line = m_parser.faultLine();
        throw;
    }
}

void CsvReader::readHeader()
{
    if (!nextRecord())
        refuseInput(QStringLiteral("the file is empty; its first line has to name the columns"));
    const auto names = m_parser.fields();
    for (std::size_t i = 0; i < names.size(); ++i)
        readColumn(i, names[i]);
    if (std::ranges::all_of(m_columns, [](int column) { return column < 0; })) {
        refuseInput(QStringLiteral("the first line names no column of %1; it has to name them (%2, ...), separated by commas")
                        .arg(toQt(m_schema.table), toQt(m_schema.columns.front().name)));
    }
    QStringList missing;
    for (std::size_t i = 0; i < m_schema.columns.size(); ++i) {
        const EventColumn &column = m_schema.columns[i];
        if (column.required && column.defaultText.empty() && std::ranges::find(m_columns, static_cast<int>(i)) == m_columns.end())
            missing.append(toQt(column.name));
    }
    if (!missing.isEmpty())
        refuseInput(QStringLiteral("the first line lacks what every row of %1 needs: %2")
                        .arg(toQt(m_schema.table), missing.join(QStringLiteral(", "))));
}

void CsvReader::readColumn(std::size_t position, std::string_view name)
{
    int column = m_schema.indexOf(name);
    if (column >= 0 && std::ranges::find(m_columns, column) != m_columns.end())
        refuseInput(QStringLiteral("the first line names the column \"%1\" twice").arg(toQt(name)));
    if (column >= 0 && m_schema.columns[static_cast<std::size_t>(column)].derived) {
        m_notes.append(QStringLiteral("column \"%1\" is computed from the event; the values in the file are not used").arg(toQt(name)));
        column = -1;
    } else if (column < 0 && !sameName(name, "id")) {
        m_notes.append(name.empty() ? QStringLiteral("column %1 has no name and is skipped").arg(position + 1)
                                    : QStringLiteral("column \"%1\" is not known and is skipped").arg(toQt(name)));
    }
    m_columns.push_back(column);
}

bool CsvReader::next(EventRecord &record)
{
    if (!nextRecord())
        return false;
    const auto fields = m_parser.fields();
    if (fields.size() != m_columns.size()) {
        if (fields.size() == 1 && fields.front().empty())
            refuseInput(QStringLiteral("the line is empty"));
        refuseInput(
            QStringLiteral("the record has %1 fields, but the first line names %2 columns").arg(fields.size()).arg(m_columns.size()));
    }
    record.clear();
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (m_columns[i] >= 0)
            record.setSpelled(m_columns[i], fields[i]);
    return true;
}

} // namespace qm
