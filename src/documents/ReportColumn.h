/// \file
/// One column of a report.
#pragma once

#include "documents/Value.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qm {

enum class CellAlignment : std::uint8_t { Left, Centre, Right };

/// How a cell stands out; never by its colour alone.
enum class Emphasis : std::uint8_t { None, Strong, Warning, Alarm };

/// "A cell that is … stands out so."
struct CellRule
{
    enum class Test : std::uint8_t { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual, Contains, Null };
    Test test = Test::Equal;
    std::string operand; ///< a number where both are numbers, else compared as text
    Emphasis emphasis = Emphasis::Strong;
};

/// One column of the report, resolved: nothing in it is automatic any more. All texts are UTF-8.
struct ReportColumn
{
    std::string field;
    std::string caption;
    ColumnType type = ColumnType::Text;
    CellAlignment alignment = CellAlignment::Left;
    std::string format;  ///< see LayoutColumn::format; never empty for numbers and dates that are to be formatted
    double widthMm = 30; ///< share of the page width; the writer scales all columns to fit the page
    bool wrap = true;
    bool fixedWidth = false;                                ///< the layout gives the width
    std::vector<std::pair<std::string, std::string>> words; ///< a value as text, and what is shown in its place
    std::vector<CellRule> rules;                            ///< the first that holds counts
    std::string nullText;                                   ///< shown for NULL; empty: as the format has it
};

} // namespace qm
