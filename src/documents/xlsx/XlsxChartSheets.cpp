#include "documents/xlsx/XlsxChartSheets.h"

#include "documents/TextScan.h"
#include "documents/xlsx/XlsxChart.h"
#include "documents/xlsx/XlsxParts.h"
#include "documents/xlsx/XlsxText.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace qm::xlsx {

namespace {

using textscan::joined;

constexpr double kRowHeight = 15;
constexpr double kEmuPerPoint = 12700;
constexpr std::int64_t kChartWidthEmu = 8640000; ///< 24 cm

/// Height of a chart in points: bars lie below each other, so theirs grows with them.
double heightOf(const ChartSpec &spec, const ChartData &data)
{
    constexpr double kLeast = 285, kMost = 1200, kFrame = 120, kBar = 16;
    const ChartKind kind = drawnKind(spec, data);
    if (kind == ChartKind::StackedBar)
        return std::clamp(kFrame + kBar * static_cast<double>(data.categories.size()), kLeast, kMost);
    if (kind == ChartKind::Bar)
        return std::clamp(kFrame + kBar * static_cast<double>(data.categories.size() * std::max<std::size_t>(data.series.size(), 1)),
                          kLeast, kMost);
    return kLeast;
}

std::int64_t rowsOf(const ChartSpec &spec, const ChartData &data)
{
    return static_cast<std::int64_t>(std::ceil(heightOf(spec, data) / kRowHeight)) + 1;
}

/// A heat map as cells: the side with the longer names goes down.
class HeatMap final
{
public:
    HeatMap(const ChartSpec &spec, const ChartData &data, Styles &styles) : m_data(data), m_kind(spec.value, {})
    {
        std::size_t longestSeries = 0, longestCategory = 0;
        for (std::size_t i = 0; i < data.series.size(); ++i) {
            m_series.push_back(seriesName(spec, data, i));
            longestSeries = std::max(longestSeries, textWidth(m_series.back()));
            for (const double value : data.series[i].values)
                m_most = std::isfinite(value) ? std::max(m_most, value) : m_most;
        }
        for (const std::string &category : data.categories)
            longestCategory = std::max(longestCategory, textWidth(category));
        m_categoriesDown = longestCategory > longestSeries;
        m_label = styles.attribute({.font = Font::Strong, .centred = true});
        m_head = styles.attribute({.font = Font::Strong, .alignment = CellAlignment::Centre, .fit = true});
        for (int step = 0; step <= kHeatSteps; ++step) {
            const auto fill = step == 0 ? Fill::None : static_cast<Fill>(static_cast<int>(Fill::Heat1) + step - 1);
            m_steps.push_back(styles.attribute({.font = step > 3 ? Font::OnDark : Font::Body,
                                                .fill = fill,
                                                .alignment = CellAlignment::Centre,
                                                .centred = true,
                                                .fit = true,
                                                .format = numberFormat(spec.value)}));
        }
    }

    void write(CellWriter &cells)
    {
        const std::vector<std::string> &down = m_categoriesDown ? m_data.categories : m_series;
        const std::vector<std::string> &across = m_categoriesDown ? m_series : m_data.categories;
        cells.beginRow();
        cells.empty({});
        for (const std::string &name : across)
            cells.text(m_head, name);
        cells.endRow();
        for (std::size_t row = 0; row < down.size(); ++row) {
            cells.beginRow(18, 0, true);
            cells.text(m_label, down[row]);
            for (std::size_t column = 0; column < across.size(); ++column)
                cell(cells, m_categoriesDown ? column : row, m_categoriesDown ? row : column);
            cells.endRow();
        }
    }

private:
    void cell(CellWriter &cells, std::size_t series, std::size_t category)
    {
        const std::vector<double> &values = m_data.series[series].values;
        const double value = category < values.size() ? values[category] : std::nan("");
        if (!std::isfinite(value)) {
            cells.empty({});
            return;
        }
        const double part = m_most > 0 ? std::max(value, 0.0) / m_most : 0;
        m_kind.style = m_steps[static_cast<std::size_t>(std::ceil(part * kHeatSteps))];
        cells.cell(Value::of(value), m_kind);
    }

    const ChartData &m_data;
    SheetColumn m_kind;
    std::vector<std::string> m_series, m_steps;
    std::string m_label, m_head;
    double m_most = 0;
    bool m_categoriesDown = false;
};

} // namespace

ChartSheets::ChartSheets(std::span<const ChartSpec> specs, std::span<const ChartData> data, std::string figuresSheet)
    : m_figuresSheet(std::move(figuresSheet))
{
    std::int64_t row = 0;
    for (std::size_t i = 0; i < specs.size(); ++i) {
        const ChartData &figures = i < data.size() ? data[i] : m_none;
        m_charts.push_back({&specs[i], &figures, row + 2, 0});
        row += 3 + static_cast<std::int64_t>(figures.categories.size());
    }
}

bool ChartSheets::anyDrawn() const
{
    return std::any_of(m_charts.begin(), m_charts.end(), [](const Chart &chart) { return isDrawn(chart.spec->kind); });
}

void ChartSheets::writeFigures(ZipStream &zip, CellWriter &cells, Styles &styles, const ReportHead &head) const
{
    std::size_t columns = 2;
    for (const Chart &chart : m_charts)
        columns = std::max(columns, chart.data->series.size() + 1);
    std::vector<double> widths(columns, 16);
    widths[0] = 32;
    zip.write(kSheetStart);
    zip.write("<sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr><sheetViews><sheetView workbookViewId=\"0\"/></sheetViews>"
              "<sheetFormatPr defaultRowHeight=\"13.5\"/>" +
              columnWidths(widths) + "<sheetData>");
    cells.restart();
    const Look heading{.font = Font::Heading, .fill = Fill::Heading, .border = Border::Heading, .wrap = true};
    Look right = heading;
    right.alignment = CellAlignment::Right;
    const std::string left = styles.attribute(heading), over = styles.attribute(right), text = styles.attribute({.border = Border::Row});
    for (const Chart &chart : m_charts) {
        cells.line(styles.attribute({.font = Font::Group1}), chart.spec->title, 18);
        cells.beginRow();
        const std::string &category = chart.spec->categoryTitle.empty() ? chart.spec->category.caption : chart.spec->categoryTitle;
        cells.text(left, category);
        for (std::size_t i = 0; i < chart.data->series.size(); ++i)
            cells.text(over, seriesName(*chart.spec, *chart.data, i));
        cells.endRow();
        SheetColumn kind(
            chart.spec->value,
            styles.attribute(
                {.border = Border::Row, .alignment = CellAlignment::Right, .fit = true, .format = numberFormat(chart.spec->value)}));
        for (std::size_t c = 0; c < chart.data->categories.size(); ++c) {
            cells.beginRow();
            cells.text(text, chart.data->categories[c]);
            for (const ChartSeries &series : chart.data->series) {
                const bool known = c < series.values.size() && std::isfinite(series.values[c]);
                cells.cell(known ? Value::of(series.values[c]) : Value::ofNull(), kind);
            }
            cells.endRow();
        }
        cells.beginRow();
        cells.endRow();
    }
    zip.write("</sheetData>" + pageElements(head, false) + "</worksheet>");
}

void ChartSheets::writeCharts(ZipStream &zip, CellWriter &cells, Styles &styles, const ReportHead &head)
{
    constexpr double kPointsPerCharacter = 5.3, kChartWidth = 680, kPageShape = 0.62;
    std::vector<double> widths{24};
    for (const Chart &chart : m_charts)
        if (!isDrawn(chart.spec->kind))
            widths.resize(std::max({widths.size(), chart.data->series.size() + 1, chart.data->categories.size() + 1}), 6.5);
    zip.write(kSheetStart);
    zip.write("<sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr><sheetViews><sheetView showGridLines=\"0\" workbookViewId=\"0\"/>"
              "</sheetViews><sheetFormatPr defaultRowHeight=\"15\"/>" +
              columnWidths(widths) + "<sheetData>");
    cells.restart();
    // The sheet is one page wide: what is wider is higher, too.
    const double pageHeight = kPageShape * std::max(kChartWidth, kPointsPerCharacter * std::accumulate(widths.begin(), widths.end(), 0.0));
    double used = 0;
    std::vector<std::int64_t> breaks;
    const auto gap = [&] {
        cells.beginRow(kRowHeight, 0, true);
        cells.endRow();
    };
    for (Chart &chart : m_charts) {
        const bool drawn = isDrawn(chart.spec->kind);
        const double height = drawn ? heightOf(*chart.spec, *chart.data) + kRowHeight
                                    : 18.0 * (static_cast<double>(std::max(chart.data->series.size(), chart.data->categories.size())) + 3);
        if (used > 0 && used + height > pageHeight) {
            breaks.push_back(cells.at());
            used = 0;
        }
        used += height;
        chart.anchorRow = cells.at();
        if (drawn) {
            for (std::int64_t i = rowsOf(*chart.spec, *chart.data); i > 0; --i)
                gap();
            continue;
        }
        cells.line(styles.attribute({.font = Font::Group1}), chart.spec->title, 18);
        cells.line(styles.attribute({.font = Font::Subtitle}), chartNote(*chart.data), 16);
        HeatMap(*chart.spec, *chart.data, styles).write(cells);
        gap();
    }
    zip.write("</sheetData>" + pageElements(head, true) + rowBreaks(breaks) + (anyDrawn() ? "<drawing r:id=\"rId1\"/>" : "") +
              "</worksheet>");
}

void ChartSheets::writeDrawing(ZipStream &zip, std::size_t chartsSheet) const
{
    if (!anyDrawn())
        return;
    const std::string relations =
        std::string(kDeclaration) + R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)";
    const std::string type = "\" Type=\"" + std::string(kRelations) + '/';
    zip.add("xl/worksheets/_rels/sheet" + std::to_string(chartsSheet) + ".xml.rels",
            relations + "<Relationship Id=\"rId1" + type + "drawing\" Target=\"../drawings/drawing1.xml\"/></Relationships>");
    std::string drawing = std::string(kDeclaration) +
                          R"(<xdr:wsDr xmlns:xdr="http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing" )"
                          R"(xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main">)";
    std::string targets;
    std::size_t number = 0;
    for (const Chart &chart : m_charts) {
        if (!isDrawn(chart.spec->kind))
            continue;
        const std::string id = std::to_string(++number);
        const auto height = static_cast<std::int64_t>(heightOf(*chart.spec, *chart.data) * kEmuPerPoint);
        drawing += joined(
            {"<xdr:oneCellAnchor><xdr:from><xdr:col>0</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>", std::to_string(chart.anchorRow),
             "</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:from><xdr:ext cx=\"", std::to_string(kChartWidthEmu), "\" cy=\"",
             std::to_string(height), "\"/><xdr:graphicFrame macro=\"\"><xdr:nvGraphicFramePr><xdr:cNvPr id=\"", std::to_string(number + 1),
             "\" name=\"Chart ", id, "\" descr=\"", escapedText(chartDescription(*chart.spec, *chart.data)),
             R"("/><xdr:cNvGraphicFramePr/></xdr:nvGraphicFramePr><xdr:xfrm><a:off x="0" y="0"/><a:ext cx="0" cy="0"/></xdr:xfrm>)"
             R"(<a:graphic><a:graphicData uri="http://schemas.openxmlformats.org/drawingml/2006/chart">)"
             R"(<c:chart xmlns:c="http://schemas.openxmlformats.org/drawingml/2006/chart" xmlns:r=")",
             kRelations, "\" r:id=\"rId", id, "\"/></a:graphicData></a:graphic></xdr:graphicFrame><xdr:clientData/></xdr:oneCellAnchor>"});
        targets += joined({"<Relationship Id=\"rId", id, type, "chart\" Target=\"../charts/chart", id, ".xml\"/>"});
        zip.add("xl/charts/chart" + id + ".xml",
                std::string(kDeclaration) + chartPart(*chart.spec, *chart.data, m_figuresSheet, chart.headingRow));
    }
    zip.add("xl/drawings/_rels/drawing1.xml.rels", relations + targets + "</Relationships>");
    zip.add("xl/drawings/drawing1.xml", drawing + "</xdr:wsDr>");
}

} // namespace qm::xlsx
