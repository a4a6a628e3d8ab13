#include "documents/html/HtmlCells.h"

#include "documents/TextScan.h"
#include "documents/html/HtmlText.h"

#include <algorithm>

namespace qm {

namespace {

using textscan::joined;
using textscan::put;

constexpr std::string_view kMinus = "\xE2\x88\x92";

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The class of a cell that adds up; those of the rows follow their column.
std::string_view sideClass(CellAlignment alignment)
{
    switch (alignment) {
    case CellAlignment::Left:
        return "";
    case CellAlignment::Centre:
        return "c";
    case CellAlignment::Right:
        return "r";
    }
    return "";
}

std::string_view openTag(Emphasis emphasis)
{
    switch (emphasis) {
    case Emphasis::Strong:
        return "<td class=\"strong\">";
    case Emphasis::Warning:
        return "<td class=\"warning\">";
    case Emphasis::Alarm:
        return "<td class=\"alarm\">";
    case Emphasis::None:
        break;
    }
    return "<td>";
}

} // namespace

void appendShown(const CellFormatter &format, const Value &value, std::string &out)
{
    const std::size_t start = out.size();
    format.append(value, out);
    if (value.kind != Value::Kind::Integer && value.kind != Value::Kind::Real)
        return;
    const std::size_t sign = start + format.prefix().size();
    if (out.size() > sign + 1 && out[sign] == '-' && (isDigit(out[sign + 1]) || out[sign + 1] == 'I'))
        out.replace(sign, 1, kMinus);
    const std::size_t exponent = out.find("e-", sign);
    if (value.kind == Value::Kind::Real && exponent != std::string::npos && exponent > sign && isDigit(out[exponent - 1]))
        out.replace(exponent + 1, 1, kMinus);
}

HtmlCell::HtmlCell(const ReportColumn &column)
    : m_format(column), m_plain(m_format.style() == CellFormatter::Style::Plain && column.words.empty() && column.rules.empty()),
      m_nullText(column.nullText.empty() ? std::string(kHtmlNull) : escaped(column.nullText)),
      m_null(joined({"<td class=\"null\">", m_nullText, "</td>"}))
{
}

void HtmlCell::writeFormatted(const Value &value, OutputFile &file)
{
    m_text.clear();
    appendShown(m_format, value, m_text);
    file.write(openTag(m_format.emphasisOf(value)));
    writeEscaped(file, m_text);
    file.write("</td>");
}

void HtmlCell::write(const Value &value, OutputFile &file)
{
    switch (value.kind) {
    case Value::Kind::Null:
        if (m_format.emphasisOf(value) != Emphasis::None) {
            file.write(joined({openTag(m_format.emphasisOf(value)), m_nullText, "</td>"}));
            return;
        }
        file.write(m_null);
        return;
    case Value::Kind::Integer:
        if (m_plain) {
            char *out = put(file.room(2 * numbers::kMaxText), "<td>");
            if (value.integer < 0) {
                char digits[numbers::kMaxText];
                const char *const end = numbers::writeInteger(value.integer, digits);
                out = put(put(out, kMinus), {digits + 1, end});
            } else {
                out = numbers::writeInteger(value.integer, out);
            }
            file.advanceTo(put(out, "</td>"));
            return;
        }
        break;
    case Value::Kind::Text:
        if (m_plain) {
            file.write("<td>");
            writeEscaped(file, value.text());
            file.write("</td>");
            return;
        }
        break;
    default:
        break;
    }
    writeFormatted(value, file);
}

HtmlSums::HtmlSums(std::span<const Subtotal> sums, std::size_t columns, bool labelled) : m_columns(columns), m_labelled(labelled)
{
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const Subtotal &sum = sums[i];
        m_formats.emplace_back(sum.value);
        m_captions.push_back(escaped(sum.caption));
        m_sides.push_back(sideClass(sum.value.alignment));
        const std::size_t column = sum.column.value_or(0);
        if (column == 0 || column >= columns) {
            if (m_rows.empty())
                m_rows.emplace_back();
            m_rows.front().beside.push_back(i);
            continue;
        }
        const auto isFree = [column](const Row &row) {
            return std::ranges::none_of(row.under, [&](auto &at) { return at.first == column; });
        };
        auto row = std::ranges::find_if(m_rows, isFree);
        if (row == m_rows.end())
            row = m_rows.emplace(row);
        row->under.emplace_back(column, i);
    }
    for (Row &row : m_rows) {
        std::ranges::sort(row.under);
        std::vector<std::string_view> said;
        for (const auto &[column, sum] : row.under) {
            const std::string &caption = m_captions[sum];
            if (caption.empty() || std::ranges::find(said, caption) != said.end())
                continue;
            row.captions += (said.empty() ? "" : ", ") + caption;
            said.push_back(caption);
        }
    }
}

std::string HtmlSums::shown(std::size_t sum, std::span<const Value> values) const
{
    if (sum >= values.size() || values[sum].isNull())
        return std::string(kHtmlNull);
    std::string text;
    appendShown(m_formats[sum], values[sum], text);
    return escaped(text);
}

void HtmlSums::write(std::string_view rowClass, std::string_view key, std::string_view mark, std::span<const Value> values,
                     OutputFile &file) const
{
    for (const Row &row : m_rows) {
        const std::size_t span = row.under.empty() ? m_columns : row.under.front().first;
        std::string text = joined({"<tr class=\"", rowClass, "\"><th scope=\"row\" colspan=\"", std::to_string(span), "\">", row.captions});
        if (!key.empty())
            text += joined({row.captions.empty() ? "" : ", ", "<bdi>", key, "</bdi>"});
        const char *separator = row.captions.empty() && key.empty() ? "" : "; ";
        for (const std::size_t sum : row.beside) {
            text += joined({separator, m_captions[sum], m_captions[sum].empty() ? "" : ": ", shown(sum, values)});
            separator = "; ";
        }
        text += joined({mark, "</th>"});
        std::size_t next = span;
        const auto blank = [&](std::size_t upTo) {
            if (upTo > next)
                text += joined({"<td colspan=\"", std::to_string(upTo - next), "\"></td>"});
        };
        for (const auto &[column, sum] : row.under) {
            blank(column);
            text += "<td";
            if (!m_sides[sum].empty())
                text += joined({" class=\"", m_sides[sum], "\""});
            if (m_labelled)
                text += joined({" data-label=\"", m_captions[sum], "\""});
            text += joined({">", shown(sum, values), "</td>"});
            next = column + 1;
        }
        blank(m_columns);
        text += "</tr>\n";
        file.write(text);
    }
}

} // namespace qm
