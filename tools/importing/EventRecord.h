/// \file
/// One event on its way into the database.
#pragma once

#include "importing/EventSchema.h"
#include "importing/TimeText.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// The values of one row, by column of the schema. An empty text is no value (NULL). Reused from row to row without allocating.
class EventRecord final
{
public:
    enum class State { None, Text, Integer };
    struct Cell
    {
        State state = State::None;
        std::int64_t number = 0;
        std::string text;
    };

    explicit EventRecord(const EventSchema &schema) : m_schema(&schema), m_cells(schema.columns.size()) {}

    [[nodiscard]] const EventSchema &schema() const { return *m_schema; }
    [[nodiscard]] const std::vector<Cell> &cells() const { return m_cells; }
    /// Text of a cell; empty for none and for a number.
    [[nodiscard]] std::string_view text(int column) const
    {
        const Cell &value = at(column);
        return value.state == State::Text ? std::string_view(value.text) : std::string_view();
    }

    void clear()
    {
        for (Cell &cell : m_cells)
            cell.state = State::None;
    }
    void setText(int column, std::string_view text)
    {
        Cell &cell = at(column);
        cell.state = text.empty() ? State::None : State::Text;
        cell.text.assign(text);
    }
    void setInteger(int column, std::int64_t number)
    {
        Cell &cell = at(column);
        cell.state = State::Integer;
        cell.number = number;
    }
    void setTime(int column, EventTime time)
    {
        Cell &cell = at(column);
        cell.state = State::Text;
        cell.text.clear();
        appendEventTime(cell.text, time);
    }
    template <class Column>
    requires std::is_enum_v<Column>
    void setText(Column column, std::string_view text) { setText(static_cast<int>(column), text); }
    template <class Column>
    requires std::is_enum_v<Column>
    void setInteger(Column column, std::int64_t number) { setInteger(static_cast<int>(column), number); }
    template <class Column>
    requires std::is_enum_v<Column>
    void setTime(Column column, EventTime time) { setTime(static_cast<int>(column), time); }

    /// Stores a value as a file spells it, by the column's type.
    /// \throws RuntimeError invalidFileFormat that names column and value when it is no time or no whole number.
    void setSpelled(int column, std::string_view text);

    /// Computes the derived columns, fills in defaults and checks that required columns have values.
    /// \throws RuntimeError invalidFileFormat that names the column without a value.
    void complete();

private:
    [[nodiscard]] Cell &at(int column) { return m_cells[static_cast<std::size_t>(column)]; }
    [[nodiscard]] const Cell &at(int column) const { return m_cells[static_cast<std::size_t>(column)]; }

    const EventSchema *m_schema;
    std::vector<Cell> m_cells;
};

/// The part after the last "@" in lower case, without angle brackets' ends; empty when there is no "@".
[[nodiscard]] std::string mailDomain(std::string_view address);
/// The folder of a Windows or UNC path: all before the last separator, the root kept whole.
[[nodiscard]] std::string_view folderOf(std::string_view path);
/// The last part's extension in lower case without its dot; empty when there is none or it is longer than eight characters.
[[nodiscard]] std::string fileExtension(std::string_view path);

} // namespace qm
