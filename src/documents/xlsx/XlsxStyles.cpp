#include "documents/xlsx/XlsxStyles.h"

#include "documents/TextScan.h"
#include "documents/xlsx/XlsxText.h"

#include <array>

namespace qm::xlsx {

namespace {

using textscan::joined;
using Style = CellFormatter::Style;

constexpr std::size_t kFirstOwnFormat = 164;

struct FontLook
{
    const char *size, *colour;
    bool bold;
};

/// In the order of Font.
constexpr std::array<FontLook, 12> kFonts{{{"10", "1C2430", false},
                                           {"16", "12335C", true},
                                           {"11", "4A5563", false},
                                           {"10", "12335C", true},
                                           {"10", "1C2430", true},
                                           {"12", "12335C", true},
                                           {"11", "1C2430", true},
                                           {"11", "12335C", true},
                                           {"10", "7A1B14", true},
                                           {"10", "B7381D", true},
                                           {"14", "12335C", true},
                                           {"10", "FFFFFF", false}}};

/// In the order of Fill, behind the two that the format wants.
constexpr std::array<const char *, 9> kFills{"E3E9F0", "EDF1F5", "D5DEE8", "FDF0E7", "DCE8F5", "A6C8EC", "6CA4E0", "3A76BC", "1B4F8C"};

/// In the order of Border.
constexpr std::string_view kBorders =
    R"(<borders count="8"><border><left/><right/><top/><bottom/><diagonal/></border>)"
    R"(<border><left/><right/><top/><bottom style="hair"><color rgb="FFD5DBE2"/></bottom><diagonal/></border>)"
    R"(<border><left/><right/><top style="thin"><color rgb="FF12335C"/></top><bottom style="thin"><color rgb="FF12335C"/></bottom><diagonal/></border>)"
    R"(<border><left/><right/><top/><bottom style="thin"><color rgb="FF76828F"/></bottom><diagonal/></border>)"
    R"(<border><left/><right/><top/><bottom style="hair"><color rgb="FF76828F"/></bottom><diagonal/></border>)"
    R"(<border><left/><right/><top style="thin"><color rgb="FF76828F"/></top><bottom/><diagonal/></border>)"
    R"(<border><left/><right/><top style="medium"><color rgb="FF12335C"/></top><bottom style="double"><color rgb="FF12335C"/></bottom><diagonal/></border>)"
    R"(<border><left style="thick"><color rgb="FF7A1B14"/></left><right/><top/><bottom/><diagonal/></border></borders>)";

/// Text in a number format: quoted, but for the percent sign, which must act.
std::string literal(const std::string &text)
{
    std::string code;
    bool quoted = false;
    for (const char c : text) {
        const bool bare = c == '%' || c == '"';
        if (quoted == bare) {
            code += '"';
            quoted = !bare;
        }
        code += c == '"' ? "\\\"" : std::string(1, c);
    }
    return quoted ? code + '"' : code;
}

} // namespace

Styles::Styles()
{
    m_looks.emplace_back(R"(<xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"/>)");
}

std::string Styles::attribute(const Look &look)
{
    static constexpr std::array<std::string_view, 3> kAlignments{"left", "center", "right"};
    std::size_t format = 0;
    if (!look.format.empty()) {
        const auto [known, isNew] = m_formatNumbers.try_emplace(look.format, kFirstOwnFormat + m_formats.size());
        if (isNew)
            m_formats.push_back(look.format);
        format = known->second;
    }
    std::string xml =
        joined({"<xf numFmtId=\"", std::to_string(format), "\" fontId=\"", std::to_string(static_cast<int>(look.font)), "\" fillId=\"",
                std::to_string(static_cast<int>(look.fill)), "\" borderId=\"", std::to_string(static_cast<int>(look.border)),
                "\" xfId=\"0\" applyNumberFormat=\"1\" applyFont=\"1\" applyFill=\"1\" applyBorder=\"1\" "
                "applyAlignment=\"1\"><alignment horizontal=\"",
                kAlignments[static_cast<std::size_t>(look.alignment)], "\" vertical=\"", look.centred ? "center" : "top",
                look.wrap ? "\" wrapText=\"1" : "", look.fit && !look.wrap ? "\" shrinkToFit=\"1" : "",
                look.alignment == CellAlignment::Right ? "\" indent=\"1" : "", "\"/></xf>"});
    const auto [known, isNew] = m_lookNumbers.try_emplace(xml, m_looks.size());
    if (isNew)
        m_looks.push_back(std::move(xml));
    return " s=\"" + std::to_string(known->second) + '"';
}

std::string Styles::part() const
{
    std::string xml = R"(<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)";
    if (!m_formats.empty()) {
        xml += "<numFmts count=\"" + std::to_string(m_formats.size()) + "\">";
        for (std::size_t i = 0; i < m_formats.size(); ++i)
            xml += "<numFmt numFmtId=\"" + std::to_string(kFirstOwnFormat + i) + "\" formatCode=\"" + escapedText(m_formats[i]) + "\"/>";
        xml += "</numFmts>";
    }
    xml += "<fonts count=\"" + std::to_string(kFonts.size()) + "\">";
    for (const FontLook &font : kFonts)
        xml += joined({"<font>", font.bold ? "<b/>" : "", "<sz val=\"", font.size, "\"/><color rgb=\"FF", font.colour,
                       "\"/><name val=\"Calibri\"/><family val=\"2\"/></font>"});
    xml += "</fonts><fills count=\"" + std::to_string(kFills.size() + 2) +
           R"("><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill>)";
    for (const char *const fill : kFills)
        xml += joined(
            {R"(<fill><patternFill patternType="solid"><fgColor rgb="FF)", fill, R"("/><bgColor indexed="64"/></patternFill></fill>)"});
    xml += "</fills>" + std::string(kBorders) +
           R"(<cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/></cellStyleXfs><cellXfs count=")" +
           std::to_string(m_looks.size()) + "\">";
    for (const std::string &look : m_looks)
        xml += look;
    return xml + R"(</cellXfs><cellStyles count="1"><cellStyle name="Normal" xfId="0" builtinId="0"/></cellStyles></styleSheet>)";
}

CellFormatter::Style temporalStyle(const CellFormatter &format, ColumnType type)
{
    switch (format.style()) {
    case Style::Date:
    case Style::Time:
    case Style::DateTime:
    case Style::DateTimeMs:
        return format.style();
    case Style::Plain:
        return type == ColumnType::Date       ? Style::Date
               : type == ColumnType::Time     ? Style::Time
               : type == ColumnType::DateTime ? Style::DateTime
                                              : Style::Plain;
    default:
        return Style::Plain;
    }
}

std::string numberFormat(const ReportColumn &column)
{
    const CellFormatter format(column);
    switch (temporalStyle(format, column.type)) {
    case Style::Date:
        return "yyyy\\-mm\\-dd";
    case Style::Time:
        return "hh:mm:ss";
    case Style::DateTime:
        return "yyyy\\-mm\\-dd\\ hh:mm:ss";
    case Style::DateTimeMs:
        return "yyyy\\-mm\\-dd\\ hh:mm:ss.000";
    default:
        break;
    }
    if (format.style() == Style::Bytes)
        return "#,##0";
    if (format.style() != Style::Number && format.style() != Style::Percent)
        return {};
    std::string code = literal(format.prefix()) + (format.pattern().grouping ? "#,##0" : "0");
    for (int i = 0; i < format.pattern().maxDecimals; ++i) {
        code += i == 0 ? "." : "";
        code += i < format.pattern().minDecimals ? '0' : '#';
    }
    return code + literal(format.suffix());
}

} // namespace qm::xlsx
