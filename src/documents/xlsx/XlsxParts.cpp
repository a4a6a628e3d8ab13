#include "documents/xlsx/XlsxParts.h"

#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/xlsx/XlsxText.h"

#include <array>

namespace qm::xlsx {

namespace {

using textscan::joined;
using Style = CellFormatter::Style;

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::string_view kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr std::string_view kRelations = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

/// Every part without an entry of its own is a sheet, so the list can be written before their number is known.
constexpr std::string_view kContentTypes =
    R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
    R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)"
    R"(<Default Extension="xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>)"
    R"(<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>)"
    R"(<Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/>)"
    R"(<Override PartName="/xl/sharedStrings.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml"/>)"
    R"(<Override PartName="/docProps/core.xml" ContentType="application/vnd.openxmlformats-package.core-properties+xml"/>)"
    R"(<Override PartName="/docProps/app.xml" ContentType="application/vnd.openxmlformats-officedocument.extended-properties+xml"/></Types>)";

constexpr std::string_view kRootRelations =
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/>)"
    R"(<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties" Target="docProps/core.xml"/>)"
    R"(<Relationship Id="rId3" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties" Target="docProps/app.xml"/>)"
    R"(</Relationships>)";

constexpr std::string_view kFonts = R"(<fonts count="5"><font><sz val="10"/><name val="Calibri"/><family val="2"/></font>)"
                                    R"(<font><b/><sz val="16"/><color rgb="FF25405F"/><name val="Calibri"/><family val="2"/></font>)"
                                    R"(<font><sz val="11"/><color rgb="FF5B6675"/><name val="Calibri"/><family val="2"/></font>)"
                                    R"(<font><b/><sz val="10"/><color rgb="FFFFFFFF"/><name val="Calibri"/><family val="2"/></font>)"
                                    R"(<font><b/><sz val="10"/><name val="Calibri"/><family val="2"/></font></fonts>)";

constexpr std::string_view kFillsAndBorders =
    R"(<fills count="3"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill>)"
    R"(<fill><patternFill patternType="solid"><fgColor rgb="FF25405F"/><bgColor indexed="64"/></patternFill></fill></fills>)"
    R"(<borders count="2"><border><left/><right/><top/><bottom/><diagonal/></border>)"
    R"(<border><left/><right/><top/><bottom style="hair"><color rgb="FFB8C0CA"/></bottom><diagonal/></border></borders>)"
    R"(<cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/></cellStyleXfs>)";

/// In the order of the numbers in namespace style.
constexpr std::string_view kFixedStyles =
    R"(<xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"/>)"
    R"(<xf numFmtId="0" fontId="1" fillId="0" borderId="0" xfId="0" applyFont="1"/>)"
    R"(<xf numFmtId="0" fontId="2" fillId="0" borderId="0" xfId="0" applyFont="1"/>)"
    R"(<xf numFmtId="0" fontId="2" fillId="0" borderId="0" xfId="0" applyFont="1" applyAlignment="1"><alignment vertical="top"/></xf>)"
    R"(<xf numFmtId="0" fontId="3" fillId="2" borderId="0" xfId="0" applyFont="1" applyFill="1" applyAlignment="1">)"
    R"(<alignment horizontal="left" vertical="center" wrapText="1"/></xf>)"
    R"(<xf numFmtId="0" fontId="3" fillId="2" borderId="0" xfId="0" applyFont="1" applyFill="1" applyAlignment="1">)"
    R"(<alignment horizontal="center" vertical="center" wrapText="1"/></xf>)"
    R"(<xf numFmtId="0" fontId="3" fillId="2" borderId="0" xfId="0" applyFont="1" applyFill="1" applyAlignment="1">)"
    R"(<alignment horizontal="right" vertical="center" wrapText="1" indent="1"/></xf>)"
    R"(<xf numFmtId="0" fontId="4" fillId="0" borderId="0" xfId="0" applyFont="1" applyAlignment="1"><alignment vertical="top"/></xf>)"
    R"(<xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0" applyAlignment="1"><alignment vertical="top" wrapText="1"/></xf>)";

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

std::string formatCode(const CellFormatter &format, ColumnType type)
{
    switch (temporalStyle(format, type)) {
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

std::string styles(std::span<const ReportColumn> columns)
{
    constexpr std::size_t kFirstOwnFormat = 164;
    static constexpr std::array<std::string_view, 3> kAlignments{"left", "center", "right"};
    std::vector<std::string> codes;
    std::string cellStyles;
    for (const ReportColumn &column : columns) {
        const std::string code = formatCode(CellFormatter(column), column.type);
        std::size_t number = 0;
        if (!code.empty()) {
            codes.push_back(code);
            number = kFirstOwnFormat + codes.size() - 1;
        }
        const bool wraps = column.wrap && column.type == ColumnType::Text;
        cellStyles += "<xf numFmtId=\"" + std::to_string(number) +
                      "\" fontId=\"0\" fillId=\"0\" borderId=\"1\" xfId=\"0\" applyNumberFormat=\"1\"" +
                      " applyBorder=\"1\" applyAlignment=\"1\"><alignment horizontal=\"" +
                      std::string(kAlignments[static_cast<std::size_t>(column.alignment)]) + "\" vertical=\"top\"" +
                      (wraps ? " wrapText=\"1\"" : "") + (column.alignment == CellAlignment::Right ? " indent=\"1\"" : "") + "/></xf>";
    }
    std::string formats;
    for (std::size_t i = 0; i < codes.size(); ++i)
        formats += "<numFmt numFmtId=\"" + std::to_string(kFirstOwnFormat + i) + "\" formatCode=\"" + escapedText(codes[i]) + "\"/>";
    if (!formats.empty())
        formats = "<numFmts count=\"" + std::to_string(codes.size()) + "\">" + formats + "</numFmts>";
    return "<styleSheet xmlns=\"" + std::string(kMain) + "\">" + formats + std::string(kFonts) + std::string(kFillsAndBorders) +
           "<cellXfs count=\"" + std::to_string(columns.size() + style::firstColumn) + "\">" + std::string(kFixedStyles) + cellStyles +
           R"(</cellXfs><cellStyles count="1"><cellStyle name="Normal" xfId="0" builtinId="0"/></cellStyles></styleSheet>)";
}

/// A sheet's name in a reference, within XML.
std::string quotedName(const std::string &name)
{
    std::string quoted = "'";
    for (const char c : name)
        quoted += c == '\'' ? "''" : std::string(1, c);
    return escapedText(quoted + '\'');
}

std::string workbook(std::span<const Sheet> sheets)
{
    std::string list, names;
    for (std::size_t i = 0; i < sheets.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        list += joined({"<sheet name=\"", escapedText(sheets[i].name), "\" sheetId=\"", number, "\" r:id=\"rId", number, "\"/>"});
    }
    const auto addNames = [&](const char *attributes, std::string Sheet::*range) {
        for (std::size_t i = 0; i < sheets.size(); ++i)
            if (!(sheets[i].*range).empty())
                names += std::string("<definedName ") + attributes + " localSheetId=\"" + std::to_string(i) + "\">" +
                         quotedName(sheets[i].name) + '!' + sheets[i].*range + "</definedName>";
    };
    addNames("name=\"_xlnm._FilterDatabase\" hidden=\"1\"", &Sheet::filter);
    addNames("name=\"_xlnm.Print_Titles\"", &Sheet::titles);
    return "<workbook xmlns=\"" + std::string(kMain) + "\" xmlns:r=\"" + std::string(kRelations) +
           "\"><bookViews><workbookView xWindow=\"0\" yWindow=\"0\" windowWidth=\"24000\" windowHeight=\"12000\"/></bookViews><sheets>" +
           list + "</sheets>" + (names.empty() ? "" : "<definedNames>" + names + "</definedNames>") + "</workbook>";
}

std::string workbookRelations(std::size_t sheets)
{
    const std::string type = "\" Type=\"" + std::string(kRelations) + '/';
    std::string list;
    for (std::size_t i = 1; i <= sheets; ++i) {
        const std::string number = std::to_string(i);
        list += joined({"<Relationship Id=\"rId", number, type, "worksheet\" Target=\"worksheets/sheet", number, ".xml\"/>"});
    }
    list += "<Relationship Id=\"rId" + std::to_string(sheets + 1) + type + "styles\" Target=\"styles.xml\"/>";
    list += "<Relationship Id=\"rId" + std::to_string(sheets + 2) + type + "sharedStrings\" Target=\"sharedStrings.xml\"/>";
    return R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)" + list + "</Relationships>";
}

/// One text of a page band with the field codes of spreadsheets.
std::string bandText(std::string_view text)
{
    std::string out;
    forEachBandPart(text, [&out](BandPart part, std::string_view piece) {
        out += part == BandPart::Page ? "&P" : part == BandPart::Pages ? "&N" : "";
        for (const char c : piece)
            out += c == '&' ? "&&" : std::string(1, c);
    });
    return out;
}

std::string band(const char *element, const PageBand &texts)
{
    constexpr qsizetype kMaxBandUnits = 255;
    std::string text;
    const auto part = [&text](const char *place, const std::string &content) {
        if (!content.empty())
            text += place + bandText(content);
    };
    part("&L", texts.left);
    part("&C", texts.centre);
    part("&R", texts.right);
    if (text.empty() || QString::fromStdString(text).size() > kMaxBandUnits)
        return {};
    return std::string("<") + element + '>' + escapedText(text) + "</" + element + '>';
}

} // namespace

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

std::string headerFooter(const ReportHead &head)
{
    const std::string bands = band("oddHeader", head.header) + band("oddFooter", head.footer);
    return bands.empty() ? bands : "<headerFooter>" + bands + "</headerFooter>";
}

void writeFirstParts(ZipStream &zip)
{
    zip.add("[Content_Types].xml", std::string(kDeclaration) + std::string(kContentTypes));
    zip.add("_rels/.rels", std::string(kDeclaration) + std::string(kRootRelations));
}

void writeLastParts(ZipStream &zip, const std::string &title, std::span<const ReportColumn> columns, std::span<const Sheet> sheets,
                    const std::string &summary)
{
    const std::string declaration(kDeclaration);
    zip.add("xl/sharedStrings.xml",
            declaration + "<sst xmlns=\"" + std::string(kMain) + "\" uniqueCount=\"1\"><si><t>" + escapedText(summary) + "</t></si></sst>");
    zip.add("xl/styles.xml", declaration + styles(columns));
    zip.add("xl/workbook.xml", declaration + workbook(sheets));
    zip.add("xl/_rels/workbook.xml.rels", declaration + workbookRelations(sheets.size()));
    zip.add("docProps/core.xml",
            declaration +
                R"(<cp:coreProperties xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" )"
                R"(xmlns:dc="http://purl.org/dc/elements/1.1/"><dc:title>)" +
                escapedText(title) + "</dc:title></cp:coreProperties>");
    zip.add("docProps/app.xml", declaration +
                                    R"(<Properties xmlns="http://schemas.openxmlformats.org/officeDocument/2006/extended-properties">)"
                                    R"(<Application>Quillmark Report Generator</Application></Properties>)");
}

} // namespace qm::xlsx
