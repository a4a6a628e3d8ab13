/// \file
/// Comma-separated values by RFC 4180 (https://www.rfc-editor.org/rfc/rfc4180), read strictly.
#pragma once

#include "importing/InputFile.h"
#include "importing/RecordReader.h"

#include <span>

namespace qm {

/// Splits CSV into records. Lines end in CRLF or LF; quoted fields may hold line breaks. Everything else that RFC 4180 does not allow is
/// refused: a quotation mark in a bare field, text after a closing one, a field never closed, a lone CR, NUL, bytes that are not UTF-8;
/// and so are records of more than 10,000 fields or 64 MiB.
class CsvParser final
{
public:
    explicit CsvParser(InputFile &input) : m_input(input) {}

    /// Reads the next record into fields(). \returns false at the end. \throws RuntimeError 321; faultLine() tells where.
    bool next();
    [[nodiscard]] std::span<const std::string> fields() const { return {m_fields.data(), m_count}; }
    /// Line on which the record last read begins, from 1.
    [[nodiscard]] long long recordLine() const { return m_recordLine; }
    [[nodiscard]] long long faultLine() const { return m_faultLine; }

private:
    enum class State { FieldStart, Bare, Quoted, QuoteInQuoted, AfterCr };

    void beginField();
    void append(std::string_view text);
    bool step(); ///< \returns true when a record is complete
    bool endOfLine();
    void takeBare();
    void takeQuoted();
    bool endOfInput();
    void checkText();
    [[noreturn]] void refuse(long long line, const char *why);

    InputFile &m_input;
    std::string_view m_block;
    std::vector<std::string> m_fields; ///< grows to the widest record; the first m_count are in use
    std::size_t m_count = 0;
    std::size_t m_recordBytes = 0;
    State m_state = State::FieldStart;
    long long m_line = 1, m_recordLine = 1, m_quoteLine = 1, m_faultLine = 1;
    bool m_atEnd = false;
};

/// Event records from CSV whose header names the columns of the events table, in any order and letter case.
class CsvReader final : public RecordReader
{
public:
    /// Reads the header. \throws RuntimeError 321 when it is missing, names a column twice, or lacks one that every event needs.
    CsvReader(InputFile &input, const EventSchema &schema);

    bool next(EventRecord &record) override;
    [[nodiscard]] long long line() const override { return m_line; }
    [[nodiscard]] QStringList notes() const override { return m_notes; }

private:
    void readHeader();
    void readColumn(std::size_t position, std::string_view name);
    bool nextRecord();

    CsvParser m_parser;
    const EventSchema &m_schema;
    std::vector<int> m_columns; ///< by position in the file: column of the schema, or -1 to skip
    QStringList m_notes;
    long long m_line = 1;
};

} // namespace qm
