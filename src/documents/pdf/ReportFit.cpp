#include "documents/pdf/ReportFit.h"

#include "documents/CellFormat.h"
#include "documents/pdf/ColumnMeasure.h"
#include "documents/pdf/PageGeometry.h"

#include <algorithm>
#include <cmath>

namespace qm::pdf {

namespace {

constexpr double kA3ShortMm = 297, kA3LongMm = 420;

/// A3 as \p page stands.
PageSetup a3(PageSetup page)
{
    const bool landscape = page.widthMm > page.heightMm;
    page.widthMm = landscape ? kA3LongMm : kA3ShortMm;
    page.heightMm = landscape ? kA3ShortMm : kA3LongMm;
    return page;
}

/// Without rows to measure, the widths that the columns come with share the page.
void shareByWidths(const ReportShape &shape, Tenths page, std::vector<columns::Column> &measured)
{
    const auto widthOf = [](const ReportColumn &column) {
        return std::isfinite(column.widthMm) && column.widthMm > 0 ? column.widthMm : ReportColumn().widthMm;
    };
    double whole = 0;
    for (const ReportColumn &column : shape.columns)
        whole += widthOf(column);
    for (std::size_t i = 0; i < measured.size(); ++i)
        measured[i].given = static_cast<Tenths>(widthOf(shape.columns[i]) / whole * page);
}

} // namespace

ReportFit::ReportFit(const ReportHead &head, const ReportShape &shape, const SampleRows &sample, TextLayout &layout)
    : m_head(head), m_shape(shape), m_sample(sample)
{
    const columns::Page page{PageGeometry::textWidth(head.page), head.page.allowA3 ? PageGeometry::textWidth(a3(head.page)) : 0};
    std::vector<columns::Column> measured = measureColumns(shape, sample, layout);
    measured.resize(measured.size() - std::min(shape.hidden, measured.size()));
    if (sample.rows == 0 && !sample.whole)
        shareByWidths(shape, page.width, measured);
    m_columns = columns::fitColumns(measured, page, sample.whole);
    if (m_columns.larger)
        m_head.page = a3(head.page);
    m_showsAll = m_columns.shown.size() == shape.columns.size();
    if (m_showsAll)
        return;
    stateWhatIsLeftOut(shape, sample);
    reduceShape(shape);
    m_cells.resize(m_columns.shown.size());
    for (std::size_t row = 0; row < sample.rows; ++row)
        for (const Value &cell : shownOf(sample.row(row)))
            m_sampleCells.push_back(cell);
    m_sample.cells = m_sampleCells;
}

void ReportFit::stateWhatIsLeftOut(const ReportShape &shape, const SampleRows &sample)
{
    if (!m_columns.leftOut.empty()) {
        std::string names;
        for (const std::size_t index : m_columns.leftOut)
            names += (names.empty() ? "" : ", ") + shape.columns[index].caption;
        m_head.notices.push_back("Columns left out because no row has a value in them: " + names + ".");
    }
    for (const std::size_t index : m_columns.saidOnce) {
        std::string text;
        CellFormatter(shape.columns[index]).append(sample.row(0)[index], text);
        m_head.facts.push_back({Fact::Kind::Parameter, shape.columns[index].caption, text + " in all rows"});
    }
}

void ReportFit::reduceShape(const ReportShape &shape)
{
    m_shape.columns.clear();
    m_shape.hidden = 0;
    std::vector<std::optional<std::size_t>> places(shape.columns.size());
    for (const std::size_t index : m_columns.shown) {
        places[index] = m_shape.columns.size();
        m_shape.columns.push_back(shape.columns[index]);
    }
    const auto move = [&](std::optional<std::size_t> &column) {
        if (column)
            column = *column < places.size() ? places[*column] : std::nullopt;
    };
    for (GroupLevel &level : m_shape.groups) {
        move(level.shown);
        for (Subtotal &subtotal : level.subtotals)
            move(subtotal.column);
    }
    for (Subtotal &total : m_shape.totals)
        move(total.column);
}

} // namespace qm::pdf
