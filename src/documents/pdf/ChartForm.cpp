#include "documents/pdf/ChartForm.h"

#include "documents/NumberText.h"
#include "documents/pdf/PdfSyntax.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <variant>

namespace qm::pdf {

namespace {

TextStyle styleOf(bool bold)
{
    return bold ? TextStyle::Bold : TextStyle::Regular;
}

Tenths tenths(double points)
{
    return static_cast<Tenths>(std::lround(points * 10));
}

/// Draws shapes other than texts; texts are drawn behind all of them, in a text object.
class OperatorPen final
{
public:
    OperatorPen(std::string &out, double height) : m_out(out), m_height(height) {}

    void operator()(const ChartRect &rect)
    {
        begin(rect.paint);
        point({rect.x, rect.y + rect.height});
        number(rect.width * 10);
        number(rect.height * 10);
        m_out += "re\n";
        finish(rect.paint);
    }

    void operator()(const ChartPath &path)
    {
        begin(path.paint);
        for (const std::vector<ChartPoint> &part : path.parts) {
            const char *command = "m\n";
            for (const ChartPoint &at : part) {
                point(at);
                m_out += command;
                command = "l\n";
            }
            if (path.closed)
                m_out += "h\n";
        }
        finish(path.paint);
    }

    void operator()(const ChartSlice &slice)
    {
        // A curve of a quarter or less is that of a circle but for some thousandths of the radius.
        const int curves = std::max(1, static_cast<int>(std::ceil(slice.sweep * 4)));
        const double turn = slice.sweep / curves * 2 * std::numbers::pi;
        const double handle = 4.0 / 3 * std::tan(turn / 4) * slice.radius;
        const auto edge = [&](double angle) {
            return ChartPoint{slice.centre.x + slice.radius * std::sin(angle), slice.centre.y - slice.radius * std::cos(angle)};
        };
        const auto beside = [&](double angle, double distance) {
            const ChartPoint at = edge(angle);
            return ChartPoint{at.x + distance * std::cos(angle), at.y + distance * std::sin(angle)};
        };
        begin(slice.paint);
        double angle = slice.from * 2 * std::numbers::pi;
        if (slice.sweep < 1) {
            point(slice.centre);
            m_out += "m\n";
        }
        point(edge(angle));
        m_out += slice.sweep < 1 ? "l\n" : "m\n";
        for (int i = 0; i < curves; ++i, angle += turn) {
            point(beside(angle, handle));
            point(beside(angle + turn, -handle));
            point(edge(angle + turn));
            m_out += "c\n";
        }
        m_out += "h\n";
        finish(slice.paint);
    }

    void operator()(const ChartText &) {}

    void colour(ChartColour of, const char *command)
    {
        const ChartRgb rgb = chartRgb(of, ChartScheme::Light);
        for (const std::uint8_t part : {rgb.red, rgb.green, rgb.blue}) {
            numbers::appendFixed(part / 255.0, {0, 3, false, 0}, m_out);
            m_out += ' ';
        }
        m_out += command;
    }

private:
    void number(double value)
    {
        numbers::appendFixed(value, {0, 1, false, 0}, m_out);
        m_out += ' ';
    }

    void point(const ChartPoint &at)
    {
        number(at.x * 10);
        number((m_height - at.y) * 10);
    }

    void begin(const ChartPaint &paint)
    {
        if (paint.fill)
            colour(*paint.fill, "rg\n");
        if (!paint.stroke)
            return;
        colour(*paint.stroke, "RG\n");
        number(paint.strokeWidth * 10);
        m_out += "w\n";
    }

    void finish(const ChartPaint &paint) { m_out += paint.fill ? (paint.stroke ? "B\n" : "f\n") : paint.stroke ? "S\n" : "n\n"; }

    std::string &m_out;
    double m_height;
};

} // namespace

ChartTextWidth chartTextWidth(TextLayout &layout)
{
    return [&layout](std::string_view text, double size, bool bold) {
        layout.clear(); // else it would keep the lines of all that is measured
        return layout.measure(text, styleOf(bold)) * size / 1000;
    };
}

std::string chartOperators(const ChartPicture &picture, TextLayout &layout, std::int64_t &missing)
{
    constexpr Em kAnyWidth = 10'000'000; // the texts fit already
    std::string out = "1 j\n";
    OperatorPen pen(out, picture.size.height);
    for (const ChartShape &shape : picture.shapes)
        std::visit(pen, shape);
    TextCanvas texts(layout);
    for (const ChartShape &shape : picture.shapes) {
        const auto *const text = std::get_if<ChartText>(&shape);
        if (!text)
            continue;
        layout.clear();
        texts.clear();
        const TextBlock block = layout.fit(text->text, styleOf(text->bold), kAnyWidth);
        const Tenths size = tenths(text->size);
        const double width = layout.line(block, 0).width * text->size / 1000;
        const double left = text->anchor == ChartText::Anchor::End      ? text->at.x - width
                            : text->anchor == ChartText::Anchor::Middle ? text->at.x - width / 2
                                                                        : text->at.x;
        texts.drawLine(block, 0, tenths(left), tenths(picture.size.height - text->at.y), size);
        pen.colour(text->colour, "rg\n");
        out += "BT\n" + texts.content() + "ET\n";
    }
    layout.clear();
    missing += texts.missingGlyphs();
    return out;
}

ChartForm::ChartForm(std::string name, ReportPages &pages, Tenths left, Tenths top, Tenths width, Tenths height)
    : m_name(std::move(name)), m_left(left), m_bottom(top - height), m_width(width), m_height(height)
{
    pages.content().placeInText(m_name);
}

std::int64_t ChartForm::write(const ChartPicture &picture, const PageGeometry &geometry, TextLayout &layout, ReportPages &pages) const
{
    std::int64_t missing = 0;
    std::string content = "q 1 0 0 1 ";
    appendOperand(content, m_left);
    appendOperand(content, m_bottom);
    content += "cm\n" + chartOperators(picture, layout, missing) + "Q\n";
    pages.addForm(m_name, content, geometry.width, geometry.height);
    return missing;
}

} // namespace qm::pdf
