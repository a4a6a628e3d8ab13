#include "documents/xlsx/XlsxAbout.h"

#include "documents/xlsx/XlsxParts.h"
#include "documents/xlsx/XlsxText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace qm::xlsx {

namespace {

constexpr std::array<double, 4> kWidths{24, 66, 16, 10};
constexpr std::size_t kFactCharacters = 62, kLineCharacters = 108;

class AboutSheet final
{
public:
    AboutSheet(ZipStream &zip, CellWriter &cells, Styles &styles) : m_zip(zip), m_cells(cells), m_styles(styles) {}

    void heading(const ReportHead &head)
    {
        m_zip.write(kSheetStart);
        m_zip.write("<sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr><sheetViews><sheetView showGridLines=\"0\" workbookViewId=\"0\"/>"
                    "</sheetViews><sheetFormatPr defaultRowHeight=\"13.5\"/>");
        m_zip.write(columnWidths(kWidths));
        m_zip.write("<sheetData>");
        m_cells.restart();
        m_cells.line(m_styles.attribute({.font = Font::Title}), head.title, 24);
        if (!head.subtitle.empty())
            m_cells.line(m_styles.attribute({.font = Font::Subtitle}), head.subtitle, 16);
        gap();
    }

    void notices(std::span<const std::string> sentences)
    {
        const std::string style =
            m_styles.attribute({.font = Font::Notice, .fill = Fill::Notice, .border = Border::Notice, .centred = true, .wrap = true});
        const std::string rest = m_styles.attribute({.font = Font::Notice, .fill = Fill::Notice});
        for (const std::string &sentence : sentences) {
            m_cells.beginRow(heightOf(sentence, kLineCharacters) + 6, 0, true);
            m_cells.text(style, sentence);
            for (std::size_t i = 1; i < kWidths.size(); ++i)
                m_cells.empty(rest);
            m_cells.endRow();
            const std::string row = std::to_string(m_cells.at());
            m_merged.push_back("A" + row + ":" + columnLetters(kWidths.size() - 1) + row);
        }
        if (!sentences.empty())
            gap();
    }

    void figures(std::span<const KeyFigure> figures, std::span<const Value> values)
    {
        const std::string caption = m_styles.attribute({.font = Font::Subtitle, .centred = true, .wrap = true});
        for (std::size_t i = 0; i < figures.size() && i < values.size(); ++i) {
            SheetColumn kind(figures[i].value,
                             m_styles.attribute({.font = Font::Figure, .centred = true, .format = numberFormat(figures[i].value)}));
            m_cells.beginRow(std::max(21.0, heightOf(figures[i].caption, 18)), 0, true);
            m_cells.text(caption, figures[i].caption);
            m_cells.cell(values[i], kind);
            m_cells.endRow();
        }
        if (!figures.empty())
            gap();
    }

    void fact(std::string_view name, std::string_view value)
    {
        m_cells.beginRow(heightOf(value, kFactCharacters));
        m_cells.text(m_styles.attribute({.font = Font::Strong}), name);
        m_cells.text(m_styles.attribute({.wrap = true}), value);
        m_cells.endRow();
    }

    /// The largest with their shares, where what they are shares of is known.
    void top(const TopList &list, const ChartData &data)
    {
        if (data.series.empty() || data.categories.empty())
            return;
        const std::vector<double> &values = data.series.front().values;
        double sum = 0;
        bool isShare = data.otherCategory || data.allCategories <= data.categories.size();
        for (const double value : values) {
            sum += std::isfinite(value) ? value : 0;
            isShare = isShare && !(value < 0);
        }
        isShare = isShare && sum > 0;
        gap();
        m_cells.line(m_styles.attribute({.font = Font::Group1}), list.caption, 18);
        m_cells.beginRow();
        const Look head{.font = Font::Heading, .fill = Fill::Heading, .border = Border::Heading};
        Look right = head;
        right.alignment = CellAlignment::Right;
        m_cells.text(m_styles.attribute(head), "");
        m_cells.text(m_styles.attribute(head), list.category.caption);
        m_cells.text(m_styles.attribute(right), list.value.caption);
        m_cells.text(m_styles.attribute(right), isShare ? "Share" : "");
        m_cells.endRow();
        const std::string text = m_styles.attribute({.border = Border::Row, .wrap = true});
        const auto number = [&](std::string format) {
            return m_styles.attribute({.border = Border::Row, .alignment = CellAlignment::Right, .fit = true, .format = std::move(format)});
        };
        const std::string rank = number({}), share = number("0.0%");
        SheetColumn kind(list.value, number(numberFormat(list.value)));
        SheetColumn part(ReportColumn{}, share);
        for (std::size_t i = 0; i < data.categories.size() && i < values.size(); ++i) {
            m_cells.beginRow(heightOf(data.categories[i], kFactCharacters));
            if (data.otherCategory && i + 1 == data.categories.size())
                m_cells.empty(rank);
            else
                m_cells.number(rank, std::to_string(i + 1));
            m_cells.text(text, data.categories[i]);
            m_cells.cell(std::isfinite(values[i]) ? Value::of(values[i]) : Value::ofNull(), kind);
            m_cells.cell(isShare && std::isfinite(values[i]) ? Value::of(values[i] / sum) : Value::ofNull(), part);
            m_cells.endRow();
        }
    }

    void end(const ReportHead &head)
    {
        m_zip.write("</sheetData>");
        if (!m_merged.empty()) {
            m_zip.write("<mergeCells count=\"" + std::to_string(m_merged.size()) + "\">");
            for (const std::string &range : m_merged)
                m_zip.write("<mergeCell ref=\"" + range + "\"/>");
            m_zip.write("</mergeCells>");
        }
        m_zip.write(pageElements(head, false) + "</worksheet>");
    }

private:
    static double heightOf(std::string_view text, std::size_t characters)
    {
        return kLineHeight * static_cast<double>(lineCount(text, characters));
    }
    void gap()
    {
        m_cells.beginRow();
        m_cells.endRow();
    }

    ZipStream &m_zip;
    CellWriter &m_cells;
    Styles &m_styles;
    std::vector<std::string> m_merged;
};

} // namespace

void writeAbout(ZipStream &zip, CellWriter &cells, Styles &styles, const ReportHead &head, const ReportShape &shape, const ReportTail &tail,
                std::span<const Statement> more)
{
    AboutSheet sheet(zip, cells, styles);
    sheet.heading(head);
    std::vector<std::string> notices = head.notices;
    notices.insert(notices.end(), tail.notices.begin(), tail.notices.end());
    sheet.notices(notices);
    sheet.figures(shape.keyFigures, tail.keyFigures);
    for (const Fact &fact : head.facts)
        sheet.fact(fact.label, fact.value);
    for (const Statement &statement : more)
        sheet.fact(statement.first, statement.second);
    if (shape.top && tail.top)
        sheet.top(*shape.top, *tail.top);
    sheet.end(head);
}

} // namespace qm::xlsx
