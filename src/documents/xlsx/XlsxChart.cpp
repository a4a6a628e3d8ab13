#include "documents/xlsx/XlsxChart.h"

#include "documents/CellFormat.h"
#include "documents/TextScan.h"
#include "documents/xlsx/XlsxStyles.h"
#include "documents/xlsx/XlsxText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace qm::xlsx {

namespace {

using textscan::joined;

constexpr std::array<std::string_view, 5> kSeriesColours{"1B4F8C", "2494FF", "B7381D", "68152B", "108761"};
constexpr std::string_view kOtherColour = "7B8794", kGrid = "C4CCD5", kSoft = "4A5563", kNavy = "12335C", kInk = "1C2430";
constexpr std::size_t kMostSlices = 5;

std::string text(double value)
{
    char digits[numbers::kMaxText];
    return {digits, numbers::writeShortest(value, digits)};
}

std::string shown(const CellFormatter &format, double value)
{
    std::string out;
    const bool whole = std::fabs(value) < 9e15 && value == std::floor(value);
    format.append(whole ? Value::of(static_cast<std::int64_t>(value)) : Value::of(value), out);
    return out;
}

std::string solid(std::string_view colour)
{
    return joined({"<a:solidFill><a:srgbClr val=\"", colour, "\"/></a:solidFill>"});
}

/// A line \p hundredths of a point wide.
std::string line(std::string_view colour, int hundredths)
{
    constexpr int kEmuPerPoint = 12700;
    return joined({"<a:ln w=\"", std::to_string(hundredths * kEmuPerPoint / 100), "\">", solid(colour), "</a:ln>"});
}

/// The rest is hatched as well, so that it is told from series without colour.
std::string fill(std::string_view colour)
{
    if (colour != kOtherColour)
        return solid(colour);
    return joined({R"(<a:pattFill prst="wdUpDiag"><a:fgClr><a:srgbClr val=")", colour,
                   R"("/></a:fgClr><a:bgClr><a:srgbClr val="FFFFFF"/></a:bgClr></a:pattFill>)"});
}

std::string letters(const char *element, int hundredths, bool bold, std::string_view colour)
{
    return joined(
        {"<a:", element, " sz=\"", std::to_string(hundredths), bold ? "\" b=\"1\">" : "\" b=\"0\">", solid(colour), "</a:", element, ">"});
}

std::string textProperties(int hundredths, bool bold, std::string_view colour)
{
    return "<c:txPr><a:bodyPr/><a:p><a:pPr>" + letters("defRPr", hundredths, bold, colour) + "</a:pPr><a:endParaRPr/></a:p></c:txPr>";
}

std::string paragraph(std::string_view words, int hundredths, bool bold, std::string_view colour)
{
    return joined({"<a:p><a:pPr>", letters("defRPr", hundredths, bold, colour), "</a:pPr><a:r>", letters("rPr", hundredths, bold, colour),
                   "<a:t>", escapedText(words), "</a:t></a:r></a:p>"});
}

std::string title(const std::string &paragraphs)
{
    return "<c:title><c:tx><c:rich><a:bodyPr/>" + paragraphs + "</c:rich></c:tx><c:overlay val=\"0\"/></c:title>";
}

/// Builds one chart.
class ChartXml final
{
public:
    ChartXml(const ChartSpec &spec, const ChartData &data, std::string_view sheet, std::int64_t headingRow)
        : m_spec(spec), m_data(data), m_sheet(sheet), m_headingRow(headingRow), m_kind(drawnKind(spec, data)),
          m_categories(data.categories.size()), m_format(numberFormat(spec.value))
    {
        m_format = m_format.empty() ? "General" : m_format;
    }

    std::string part() const
    {
        std::string heading = paragraph(m_spec.title, 1200, true, kNavy);
        if (const std::string note = chartNote(m_data); !note.empty())
            heading += paragraph(note, 900, false, kSoft);
        const bool legend = m_kind == ChartKind::Pie || m_data.series.size() > 1;
        return R"(<c:chartSpace xmlns:c="http://schemas.openxmlformats.org/drawingml/2006/chart" )"
               R"(xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main"><c:date1904 val="0"/><c:roundedCorners val="0"/><c:chart>)" +
               title(heading) + "<c:autoTitleDeleted val=\"0\"/><c:plotArea><c:layout/>" + plot() + "</c:plotArea>" +
               (legend ? "<c:legend><c:legendPos val=\"b\"/><c:overlay val=\"0\"/>" + textProperties(900, false, kInk) + "</c:legend>"
                       : std::string()) +
               "<c:plotVisOnly val=\"0\"/><c:dispBlanksAs val=\"gap\"/></c:chart><c:spPr>" + solid("FFFFFF") +
               "<a:ln><a:noFill/></a:ln></c:spPr>" + textProperties(900, false, kInk) + "</c:chartSpace>";
    }

private:
    [[nodiscard]] bool isBar() const { return m_kind == ChartKind::Bar || m_kind == ChartKind::StackedBar; }
    [[nodiscard]] bool isStacked() const { return m_kind == ChartKind::StackedBar || m_kind == ChartKind::StackedColumn; }
    [[nodiscard]] bool isOther(std::size_t category) const { return m_data.otherCategory && category + 1 == m_categories; }
    [[nodiscard]] bool isPartial(std::size_t category) const
    {
        return (m_data.firstPartial && category == 0) || (m_data.lastPartial && category + 1 == m_categories);
    }
    [[nodiscard]] std::string_view colourOf(std::size_t series) const
    {
        const bool rest = m_data.otherSeries && series + 1 == m_data.series.size();
        return rest ? kOtherColour : kSeriesColours[series % kSeriesColours.size()];
    }

    [[nodiscard]] std::string plot() const
    {
        std::string series;
        for (std::size_t i = 0; i < m_data.series.size(); ++i)
            series += one(i);
        const std::string axes = "<c:axId val=\"1\"/><c:axId val=\"2\"/>";
        switch (m_kind) {
        case ChartKind::Pie:
            return "<c:pieChart><c:varyColors val=\"1\"/>" + series + "<c:firstSliceAng val=\"0\"/></c:pieChart>";
        case ChartKind::Line:
            return "<c:lineChart><c:grouping val=\"standard\"/><c:varyColors val=\"0\"/>" + series + "<c:marker val=\"1\"/>" + axes +
                   "</c:lineChart>" + bothAxes();
        case ChartKind::Area:
            return std::string("<c:areaChart><c:grouping val=\"") + (m_data.series.size() > 1 ? "stacked" : "standard") +
                   "\"/><c:varyColors val=\"0\"/>" + series + axes + "</c:areaChart>" + bothAxes();
        case ChartKind::Bar:
        case ChartKind::Column:
        case ChartKind::StackedBar:
        case ChartKind::StackedColumn:
        case ChartKind::Histogram:
        case ChartKind::Heat:
            break;
        }
        // Bars take 60 % of their step.
        return std::string("<c:barChart><c:barDir val=\"") + (isBar() ? "bar" : "col") + "\"/><c:grouping val=\"" +
               (isStacked() ? "stacked" : "clustered") + "\"/><c:varyColors val=\"0\"/>" + series + "<c:gapWidth val=\"" +
               (m_kind == ChartKind::Histogram ? "4" : "67") + "\"/>" + (isStacked() ? "<c:overlap val=\"100\"/>" : "") + axes +
               "</c:barChart>" + bothAxes();
    }

    [[nodiscard]] std::string one(std::size_t index) const
    {
        const std::string number = std::to_string(index), column = columnLetters(index + 1);
        const std::string_view colour = colourOf(index);
        const std::string name = seriesName(m_spec, m_data, index);
        std::string xml = "<c:ser><c:idx val=\"" + number + "\"/><c:order val=\"" + number + "\"/><c:tx><c:strRef><c:f>" +
                          reference(column, m_headingRow, m_headingRow) + "</c:f><c:strCache><c:ptCount val=\"1\"/><c:pt idx=\"0\"><c:v>" +
                          escapedText(name) + "</c:v></c:pt></c:strCache></c:strRef></c:tx>";
        switch (m_kind) {
        case ChartKind::Line:
            xml += "<c:spPr>" + line(colour, 125) + "</c:spPr>" + marker(index, colour, false) + points(index) + labels() + figures(index) +
                   "<c:smooth val=\"0\"/>";
            break;
        case ChartKind::Pie:
            xml += "<c:spPr>" + line("FFFFFF", 75) + "</c:spPr>" + points(index) + labels() + figures(index);
            break;
        case ChartKind::Area:
            xml += "<c:spPr>" + fill(colour) + "</c:spPr>" + figures(index);
            break;
        default:
            xml += "<c:spPr>" + fill(colour) + (isStacked() ? line("FFFFFF", 75) : std::string()) +
                   "</c:spPr><c:invertIfNegative val=\"0\"/>" + points(index) + labels() + figures(index);
            break;
        }
        return xml + "</c:ser>";
    }

    /// Points that look otherwise than their series: slices, the rest, days that are not whole.
    [[nodiscard]] std::string points(std::size_t series) const
    {
        const std::string_view colour = colourOf(series);
        std::string xml;
        for (std::size_t i = 0; i < m_categories; ++i) {
            const std::string start = "<c:dPt><c:idx val=\"" + std::to_string(i) + "\"/>";
            if (m_kind == ChartKind::Pie)
                xml += start + "<c:bubble3D val=\"0\"/><c:spPr>" +
                       fill(isOther(i) ? kOtherColour : kSeriesColours[i % kSeriesColours.size()]) + line("FFFFFF", 75) +
                       "</c:spPr></c:dPt>";
            else if (m_kind == ChartKind::Line && isPartial(i))
                xml += start + marker(series, colour, true) + "<c:bubble3D val=\"0\"/><c:spPr>" + line(colour, 125) + "</c:spPr></c:dPt>";
            else if (m_kind != ChartKind::Line && isPartial(i))
                xml += start + "<c:invertIfNegative val=\"0\"/><c:bubble3D val=\"0\"/><c:spPr><a:noFill/>" + line(colour, 100) +
                       "</c:spPr></c:dPt>";
            else if (m_kind != ChartKind::Line && isOther(i) && m_data.series.size() == 1)
                xml += start + "<c:invertIfNegative val=\"0\"/><c:bubble3D val=\"0\"/><c:spPr>" + fill(kOtherColour) + "</c:spPr></c:dPt>";
        }
        return xml;
    }

    static std::string marker(std::size_t series, std::string_view colour, bool hollow)
    {
        static constexpr std::array<std::string_view, 5> kMarks{"circle", "square", "triangle", "diamond", "x"};
        return joined({"<c:marker><c:symbol val=\"", kMarks[series % kMarks.size()], "\"/><c:size val=\"5\"/><c:spPr>",
                       solid(hollow ? "FFFFFF" : colour), line(colour, 75), "</c:spPr></c:marker>"});
    }

    /// Values at the ends of bars, as long as there is room for them.
    [[nodiscard]] std::string labels() const
    {
        constexpr std::size_t kMostLabels = 31;
        const bool pie = m_kind == ChartKind::Pie;
        const bool bars = m_kind == ChartKind::Bar || m_kind == ChartKind::Column;
        if (!pie && !(bars && m_data.series.size() == 1 && m_categories <= kMostLabels))
            return {};
        return joined({"<c:dLbls><c:numFmt formatCode=\"", pie ? "0.0%" : escapedText(m_format), "\" sourceLinked=\"0\"/>",
                       textProperties(900, true, kInk), "<c:dLblPos val=\"outEnd\"/><c:showLegendKey val=\"0\"/><c:showVal val=\"",
                       pie ? "0" : "1", "\"/><c:showCatName val=\"0\"/><c:showSerName val=\"0\"/><c:showPercent val=\"", pie ? "1" : "0",
                       "\"/><c:showBubbleSize val=\"0\"/></c:dLbls>"});
    }

    [[nodiscard]] std::string figures(std::size_t series) const
    {
        const std::int64_t first = m_headingRow + 1;
        const std::int64_t last = m_headingRow + static_cast<std::int64_t>(std::max<std::size_t>(m_categories, 1));
        const std::string count = "<c:ptCount val=\"" + std::to_string(m_categories) + "\"/>";
        std::string xml = "<c:cat><c:strRef><c:f>" + reference("A", first, last) + "</c:f><c:strCache>" + count;
        for (std::size_t i = 0; i < m_categories; ++i)
            xml += joined({"<c:pt idx=\"", std::to_string(i), "\"><c:v>", escapedText(m_data.categories[i]), "</c:v></c:pt>"});
        xml += "</c:strCache></c:strRef></c:cat><c:val><c:numRef><c:f>" + reference(columnLetters(series + 1), first, last) +
               "</c:f><c:numCache><c:formatCode>" + escapedText(m_format) + "</c:formatCode>" + count;
        const std::vector<double> &values = m_data.series[series].values;
        for (std::size_t i = 0; i < m_categories && i < values.size(); ++i)
            if (std::isfinite(values[i]))
                xml += joined({"<c:pt idx=\"", std::to_string(i), "\"><c:v>", text(values[i]), "</c:v></c:pt>"});
        return xml + "</c:numCache></c:numRef></c:val>";
    }

    [[nodiscard]] std::string reference(const std::string &column, std::int64_t first, std::int64_t last) const
    {
        std::string quoted = "'";
        for (const char c : m_sheet)
            quoted += c == '\'' ? "''" : std::string(1, c);
        std::string range = "'!$" + column + '$' + std::to_string(first);
        if (last != first)
            range += ":$" + column + '$' + std::to_string(last);
        return escapedText(quoted + range);
    }

    [[nodiscard]] std::string bothAxes() const
    {
        // Bars begin above: with the categories turned round, the axis of the values would stand above, too.
        const char *const turned = isBar() ? "maxMin" : "minMax";
        bool negative = false;
        for (const ChartSeries &series : m_data.series)
            negative = negative || std::any_of(series.values.begin(), series.values.end(), [](double value) { return value < 0; });
        const auto axisTitle = [](const std::string &words) { return words.empty() ? words : title(paragraph(words, 900, false, kSoft)); };
        return std::string("<c:catAx><c:axId val=\"1\"/><c:scaling><c:orientation val=\"") + turned +
               "\"/></c:scaling><c:delete val=\"0\"/><c:axPos val=\"" + (isBar() ? "l" : "b") + "\"/>" + axisTitle(m_spec.categoryTitle) +
               R"(<c:numFmt formatCode="General" sourceLinked="0"/><c:majorTickMark val="none"/><c:minorTickMark val="none"/>)"
               R"(<c:tickLblPos val="low"/><c:spPr>)" +
               line(kSoft, 75) + "</c:spPr>" + textProperties(900, false, kInk) +
               R"(<c:crossAx val="2"/><c:crosses val="autoZero"/><c:auto val="0"/><c:lblAlgn val="ctr"/><c:lblOffset val="100"/>)"
               R"(<c:noMultiLvlLbl val="1"/></c:catAx><c:valAx><c:axId val="2"/><c:scaling><c:orientation val="minMax"/>)" +
               (negative ? "" : "<c:min val=\"0\"/>") + "</c:scaling><c:delete val=\"0\"/><c:axPos val=\"" + (isBar() ? "b" : "l") +
               "\"/><c:majorGridlines><c:spPr>" + line(kGrid, 35) + "</c:spPr></c:majorGridlines>" + axisTitle(m_spec.valueTitle) +
               "<c:numFmt formatCode=\"" + escapedText(m_format) +
               R"(" sourceLinked="0"/><c:majorTickMark val="none"/><c:minorTickMark val="none"/><c:tickLblPos val="nextTo"/>)"
               "<c:spPr><a:ln><a:noFill/></a:ln></c:spPr>" +
               textProperties(800, false, kSoft) + "<c:crossAx val=\"1\"/><c:crosses val=\"" + (isBar() ? "max" : "autoZero") +
               "\"/><c:crossBetween val=\"" + (m_kind == ChartKind::Area ? "midCat" : "between") + "\"/></c:valAx>";
    }

    const ChartSpec &m_spec;
    const ChartData &m_data;
    std::string_view m_sheet;
    std::int64_t m_headingRow;
    ChartKind m_kind;
    std::size_t m_categories;
    std::string m_format;
};

} // namespace

ChartKind drawnKind(const ChartSpec &spec, const ChartData &data)
{
    if (spec.kind != ChartKind::Pie)
        return spec.kind;
    bool negative = data.series.size() > 1;
    for (const ChartSeries &series : data.series)
        negative = negative || std::any_of(series.values.begin(), series.values.end(), [](double value) { return value < 0; });
    return data.categories.size() > kMostSlices || negative ? ChartKind::Bar : ChartKind::Pie;
}

std::string chartPart(const ChartSpec &spec, const ChartData &data, std::string_view sheet, std::int64_t headingRow)
{
    return ChartXml(spec, data, sheet, headingRow).part();
}

std::string chartNote(const ChartData &data)
{
    std::string note;
    const std::size_t shownOnes = data.categories.size() - (data.otherCategory && !data.categories.empty() ? 1 : 0);
    if (data.allCategories > shownOnes) {
        note = numbers::counted(static_cast<std::int64_t>(shownOnes), "largest", "largest") + " of " +
               numbers::counted(static_cast<std::int64_t>(data.allCategories), "", "");
        note.resize(note.find_last_not_of(' ') + 1);
        note += data.otherCategory ? "; the rest together as Other" : "";
    }
    if (data.firstPartial || data.lastPartial) {
        note += note.empty() ? "The " : "; the ";
        note += data.firstPartial && data.lastPartial ? "first and the last day are not whole"
                : data.firstPartial                   ? "first day is not whole"
                                                      : "last day is not whole";
    }
    return note;
}

std::string chartDescription(const ChartSpec &spec, const ChartData &data)
{
    constexpr std::size_t kMost = 5;
    const CellFormatter format(spec.value);
    struct Figure
    {
        double value;
        std::size_t category, series;
    };
    std::vector<Figure> all;
    for (std::size_t s = 0; s < data.series.size(); ++s)
        for (std::size_t c = 0; c < data.categories.size() && c < data.series[s].values.size(); ++c)
            if (std::isfinite(data.series[s].values[c]))
                all.push_back({data.series[s].values[c], c, s});
    const auto end = all.begin() + static_cast<std::ptrdiff_t>(std::min(kMost, all.size()));
    std::partial_sort(all.begin(), end, all.end(), [](const Figure &a, const Figure &b) {
        return a.value != b.value ? a.value > b.value : a.category != b.category ? a.category < b.category : a.series < b.series;
    });
    std::string out = spec.title + (all.empty() ? ". No figures" : ". Largest: ");
    for (auto figure = all.begin(); figure != end; ++figure) {
        out += figure == all.begin() ? "" : ", ";
        out += data.categories[figure->category];
        if (data.series.size() > 1)
            out += " (" + seriesName(spec, data, figure->series) + ')';
        out += ' ' + shown(format, figure->value);
    }
    return out + '.';
}

std::string seriesName(const ChartSpec &spec, const ChartData &data, std::size_t index)
{
    if (!data.series[index].name.empty())
        return data.series[index].name;
    return !spec.valueTitle.empty() ? spec.valueTitle : !spec.value.caption.empty() ? spec.value.caption : "Value";
}

} // namespace qm::xlsx
