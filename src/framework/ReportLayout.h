/// \file
/// A report layout as a layout file (.rpt) holds it.
#pragma once

#include <QString>
#include <QStringList>

#include <memory>
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

struct LayoutColumn
{
    QString field;      ///< the result column's name, compared without letter case
    QString caption;    ///< empty: made from the field name
    double widthMm = 0; ///< 0: from the content
    Alignment alignment = Alignment::Automatic;
    /// "" automatic; "#,##0.00" style number patterns; "date", "time", "datetime", "datetime-ms"; "percent"; "bytes"; "boolean"
    QString format;
    bool visible = true;
    bool wrap = true; ///< long text continues on further lines; false: cut with an ellipsis on the page
};

struct LayoutAggregate
{
    QString field; ///< empty with Count: rows
    Aggregate function = Aggregate::Sum;
    QString caption;
};

struct LayoutGroup
{
    QString field;
    bool newPage = false;
    std::vector<LayoutAggregate> subtotals;
};

struct LayoutChart
{
    QString kind; ///< "" none; bar, column, stacked-bar, stacked-column, line, pie
    QString title, category;
    QString series; ///< column whose values become series; empty: one series per value column
    QStringList values;
    int top = 0;        ///< only the largest n categories, 0: all
    bool other = false; ///< sum the rest as "Other"
};

struct LayoutPage
{
    PageSize size = PageSize::A4;
    PageOrientation orientation = PageOrientation::Landscape;
    double marginMm = 12;
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
    LayoutChart chart;

    std::shared_ptr<const class LayoutFileText> original; ///< keeps unknown keys on rewriting; may be null
};

} // namespace qm
