/// \file
/// A report layout as a layout file (.rpt) holds it.
#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qm {

enum class Alignment { Automatic, Left, Centre, Right };
enum class PageSize { A4, A3, A5, Letter, Legal };
enum class PageOrientation { Portrait, Landscape };
enum class Aggregate {
    Count,
    Sum,
    Average,
    Minimum,
    Maximum,
    Distinct, ///< how many different values
    Share,    ///< the group's sum as a part of the report's
    Running,  ///< the sum of this group and those before it
};

/// What a cell is compared for, and how it stands out when that holds.
enum class RuleTest { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual, Contains, Null };
enum class RuleEmphasis { Strong, Warning, Alarm };

struct LayoutRule
{
    RuleTest test = RuleTest::Equal;
    QString operand; ///< a number where both are numbers, else compared as text; without meaning for Null
    RuleEmphasis emphasis = RuleEmphasis::Strong;
};

struct LayoutColumn
{
    QString field;      ///< the result column's name, compared without letter case
    QString caption;    ///< empty: made from the field name
    double widthMm = 0; ///< 0: from the content
    Alignment alignment = Alignment::Automatic;
    /// "" automatic; "#,##0.00" style number patterns; "date", "time", "datetime", "datetime-ms", "local" (a time in UTC as this machine's
    /// local time); "duration" (seconds); "percent"; "bytes"; "boolean"
    QString format;
    bool visible = true;
    bool wrap = true;                                    ///< long text continues on further lines; false: cut with an ellipsis on the page
    std::vector<std::pair<QString, QString>> words = {}; ///< a value as text, and what is shown in its place
    std::vector<LayoutRule> rules = {};                  ///< the first that holds counts
    QString nullText = {};                               ///< shown for NULL; empty: as the output has it
};

struct LayoutAggregate
{
    QString field; ///< empty with Count: rows
    Aggregate function = Aggregate::Sum;
    QString caption = {};
};

enum class GroupOrder {
    Automatic, ///< as the rows come where they come grouped, else ascending
    Ascending,
    Descending,
    Rows, ///< as the first row of each comes
};

struct LayoutGroup
{
    QString field = {};
    bool newPage = false;
    GroupOrder order = GroupOrder::Automatic;
    bool heading = true;         ///< false: no heading; the value stands in its own column
    bool keepTogether = false;   ///< begins a page where the rest of the page does not hold the whole group
    bool suppressRepeats = true; ///< the group's own column says its value once only
    std::vector<LayoutAggregate> subtotals = {};
};

struct LayoutChart
{
    QString kind = {}; ///< a word of chartWords(); "" none
    QString title = {}, category = {};
    QString series = {};                         ///< column whose values become series; empty: one series per value column
    QStringList values = {};                     ///< none: rows are counted
    QString categoryTitle = {}, valueTitle = {}; ///< of the axes; empty: none
    int top = 0;                                 ///< only the largest n categories, 0: all
    bool other = false;                          ///< sum the rest as "Other"
};

/// A key figure on the first page.
struct LayoutFigure
{
    QString caption = {};
    QString field = {}; ///< empty with Count: rows
    Aggregate function = Aggregate::Sum;
    QString format = {}; ///< as LayoutColumn::format
};

/// The list of the largest on the first page.
struct LayoutTop
{
    QString field = {}; ///< whose values are listed; empty: no list
    QString value = {}; ///< what is added up for each; empty with Count: rows
    Aggregate function = Aggregate::Count;
    QString caption = {};
    int most = 8;
};

struct LayoutPage
{
    std::optional<PageSize> size = {}; ///< none: the house's
    PageOrientation orientation = PageOrientation::Landscape;
    double marginMm = 12;
    bool allowA3 = false; ///< a table too wide for the paper may take the next larger one
};

/// Header or footer of each page: texts with {fields} such as {title}, {page}, {pages}, {date}, {time}, {period}. The row count stands in
/// the title block.
struct LayoutBand
{
    QString left, centre, right;
};

struct ReportLayout
{
    QString title; ///< empty: the query's description
    QString subtitle;
    LayoutPage page;
    LayoutBand header, footer;
    std::vector<LayoutColumn> columns; ///< in report order; result columns not named here follow, unless onlyListed
    bool onlyListed = false;
    std::vector<LayoutGroup> groups;
    std::vector<LayoutAggregate> totals;
    std::vector<LayoutChart> charts;
    std::vector<LayoutFigure> figures;
    LayoutTop top;
    QString note; ///< a sentence of the author's to the reader

    QStringList warnings; ///< what the file says and nothing understands, each with the nearest that would be; not written
    std::shared_ptr<const class LayoutFileText> original; ///< keeps unknown keys on rewriting; may be null
};

} // namespace qm
