#include "documents/html/ChartSvg.h"

#include "documents/NumberText.h"
#include "documents/TextScan.h"
#include "documents/html/HtmlText.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace qm {

namespace {

using textscan::joined;

void appendLength(double length, std::string &out)
{
    numbers::appendFixed(length, {0, 2, false, 0}, out);
}

void appendAttribute(std::string_view name, double value, std::string &out)
{
    out += joined({" ", name, "=\""});
    appendLength(value, out);
    out += '"';
}

/// The name of a colour in the style sheet.
std::string classOf(ChartColour colour)
{
    return std::to_string(static_cast<int>(colour));
}

class SvgPen final
{
public:
    explicit SvgPen(std::string &out) : m_out(out) {}

    void operator()(const ChartRect &rect)
    {
        m_out += "<rect";
        appendAttribute("x", rect.x, m_out);
        appendAttribute("y", rect.y, m_out);
        appendAttribute("width", rect.width, m_out);
        appendAttribute("height", rect.height, m_out);
        finish(rect.paint);
    }

    void operator()(const ChartPath &path)
    {
        m_out += "<path d=\"";
        for (const std::vector<ChartPoint> &part : path.parts) {
            char command = 'M';
            for (const ChartPoint &point : part) {
                m_out += command;
                appendPoint(point);
                command = 'L';
            }
            if (path.closed)
                m_out += 'Z';
        }
        m_out += '"';
        finish(path.paint);
    }

    void operator()(const ChartSlice &slice)
    {
        if (slice.sweep >= 1) {
            m_out += "<circle";
            appendAttribute("cx", slice.centre.x, m_out);
            appendAttribute("cy", slice.centre.y, m_out);
            appendAttribute("r", slice.radius, m_out);
            finish(slice.paint);
            return;
        }
        m_out += "<path d=\"M";
        appendPoint(slice.centre);
        m_out += 'L';
        appendPoint(onEdge(slice, slice.from));
        m_out += 'A';
        appendLength(slice.radius, m_out);
        m_out += ' ';
        appendLength(slice.radius, m_out);
        m_out += slice.sweep > 0.5 ? " 0 1 1 " : " 0 0 1 ";
        appendPoint(onEdge(slice, slice.from + slice.sweep));
        m_out += "Z\"";
        finish(slice.paint);
    }

    void operator()(const ChartText &text)
    {
        m_out += "<text";
        appendAttribute("x", text.at.x, m_out);
        appendAttribute("y", text.at.y, m_out);
        appendAttribute("font-size", text.size, m_out);
        if (text.bold)
            m_out += " font-weight=\"bold\"";
        if (text.anchor != ChartText::Anchor::Start)
            m_out += text.anchor == ChartText::Anchor::End ? " text-anchor=\"end\"" : " text-anchor=\"middle\"";
        appendColour("fill", "f", text.colour);
        m_out += '>' + escaped(text.text) + "</text>\n";
    }

private:
    static ChartPoint onEdge(const ChartSlice &slice, double turns)
    {
        const double angle = turns * 2 * std::numbers::pi;
        return {slice.centre.x + slice.radius * std::sin(angle), slice.centre.y - slice.radius * std::cos(angle)};
    }

    void appendPoint(const ChartPoint &point)
    {
        appendLength(point.x, m_out);
        m_out += ' ';
        appendLength(point.y, m_out);
    }

    void appendColour(std::string_view attribute, std::string_view prefix, ChartColour colour)
    {
        m_out += joined({" ", attribute, "=\"", chartHex(colour, ChartScheme::Light), "\" class=\"", prefix, classOf(colour), "\""});
    }

    /// A shape is filled, stroked, or both; the class stands once.
    void finish(const ChartPaint &paint)
    {
        m_out += joined({" fill=\"", paint.fill ? chartHex(*paint.fill, ChartScheme::Light) : "none", "\""});
        if (paint.stroke) {
            m_out += joined({" stroke=\"", chartHex(*paint.stroke, ChartScheme::Light), "\""});
            appendAttribute("stroke-width", paint.strokeWidth, m_out);
        }
        std::string classes;
        if (paint.fill)
            classes = 'f' + classOf(*paint.fill);
        if (paint.stroke)
            classes += (classes.empty() ? "s" : " s") + classOf(*paint.stroke);
        m_out += " class=\"" + classes + "\"/>\n";
    }

    std::string &m_out;
};

} // namespace

void appendChartSvg(std::string &out, const ChartSpec &spec, const ChartData &data, ChartSize size)
{
    constexpr double kPixelsPerPoint = 1.8;
    const ChartPicture picture = layoutChart(spec, data, size, approximateTextWidth);
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"chart\" role=\"img\" direction=\"ltr\"";
    appendAttribute("width", size.width * kPixelsPerPoint, out);
    appendAttribute("height", size.height * kPixelsPerPoint, out);
    out += " viewBox=\"0 0 ";
    appendLength(size.width, out);
    out += ' ';
    appendLength(size.height, out);
    out += "\">\n<title>" + escaped(picture.title) + "</title>\n<desc>" + escaped(picture.alternative) + "</desc>\n";
    SvgPen pen(out);
    for (const ChartShape &shape : picture.shapes)
        std::visit(pen, shape);
    out += "</svg>\n";
}

std::string chartStyleSheet()
{
    const auto colours = [](ChartScheme scheme) {
        std::string rule = ".chart{";
        for (int i = 0; i < kChartColours; ++i)
            rule += "--c" + std::to_string(i) + ':' + chartHex(static_cast<ChartColour>(i), scheme) + (i + 1 < kChartColours ? ";" : "}");
        return rule;
    };
    const std::string light = colours(ChartScheme::Light);
    std::string style = light + "\n@media screen and (prefers-color-scheme:dark){" + colours(ChartScheme::Dark) +
                        "}\nfigure{overflow-x:auto}\n"
                        ".chart{display:block;max-width:100%;min-width:30rem;height:auto;"
                        "font-family:\"DejaVu Sans Condensed\",\"Segoe UI\",Roboto,Arial,sans-serif}\n"
                        ".chart path{stroke-linejoin:round}\n"
                        ".chart text{unicode-bidi:plaintext;font-variant-numeric:tabular-nums}\n"
                        "@media print{.chart{min-width:0;break-inside:avoid;print-color-adjust:exact;-webkit-print-color-adjust:exact}}\n";
    for (int i = 0; i < kChartColours; ++i) {
        const std::string number = std::to_string(i);
        style += joined({".chart .f", number, "{fill:var(--c", number, ")}.chart .s", number, "{stroke:var(--c", number, ")}"});
    }
    return style + '\n';
}

} // namespace qm
