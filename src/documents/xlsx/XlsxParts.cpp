#include "documents/xlsx/XlsxParts.h"

#include "documents/IsoTime.h"
#include "documents/NumberText.h"
#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/xlsx/XlsxText.h"
#include "framework/LayoutWords.h"

#include <algorithm>
#include <optional>

namespace qm::xlsx {

namespace {

using textscan::joined;
constexpr std::string_view kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
/// Every part without an entry of its own is a sheet, so the list can be written before their number is known. Charts follow.
constexpr std::string_view kContentTypes =
    R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
    R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)"
    R"(<Default Extension="xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>)"
    R"(<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>)"
    R"(<Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/>)"
    R"(<Override PartName="/xl/sharedStrings.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml"/>)"
    R"(<Override PartName="/docProps/core.xml" ContentType="application/vnd.openxmlformats-package.core-properties+xml"/>)"
    R"(<Override PartName="/docProps/app.xml" ContentType="application/vnd.openxmlformats-officedocument.extended-properties+xml"/>)";

constexpr std::string_view kRootRelations =
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/>)"
    R"(<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties" Target="docProps/core.xml"/>)"
    R"(<Relationship Id="rId3" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties" Target="docProps/app.xml"/>)"
    R"(</Relationships>)";

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

std::string coreProperties(const ReportHead &head)
{
    std::string keywords;
    for (const Fact &fact : head.facts)
        if (fact.kind == Fact::Kind::Package || fact.kind == Fact::Kind::Group || fact.kind == Fact::Kind::Query)
            keywords += (keywords.empty() ? "" : "; ") + fact.value;
    std::string made;
    if (const std::optional<IsoTime> time = parseIsoTime(head.madeUtc); time && time->hasDate && time->hasTime)
        made = head.madeUtc.substr(0, 10) + 'T' + head.madeUtc.substr(11, 8) + 'Z';
    std::string xml = R"(<cp:coreProperties xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" )"
                      R"(xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/" )"
                      R"(xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">)";
    const auto add = [&xml](const char *element, const std::string &content, const char *attributes = "") {
        if (!content.empty())
            xml += joined({"<", element, attributes, ">", escapedText(content), "</", element, ">"});
    };
    add("dc:title", head.title);
    add("dc:subject", head.subtitle);
    add("dc:creator", head.author);
    add("cp:keywords", keywords);
    add("dc:language", head.language);
    add("dcterms:created", made, " xsi:type=\"dcterms:W3CDTF\"");
    return xml + "</cp:coreProperties>";
}

} // namespace

std::string pageElements(const ReportHead &head, bool landscape)
{
    const std::string bands = band("oddHeader", head.header) + band("oddFooter", head.footer);
    std::string side, top;
    numbers::appendFixed(head.page.marginMm / 25.4, {1, 4, false, 0}, side);
    // The bands stand within the margins at head and foot.
    numbers::appendFixed(std::max(head.page.marginMm / 25.4, bands.empty() ? 0.0 : 0.7), {1, 4, false, 0}, top);
    return joined({"<pageMargins left=\"", side, "\" right=\"", side, "\" top=\"", top, "\" bottom=\"", top,
                   "\" header=\"0.3\" footer=\"0.3\"/><pageSetup paperSize=\"",
                   std::to_string(paperNumber(head.page.widthMm, head.page.heightMm)), "\" fitToHeight=\"0\" orientation=\"",
                   landscape ? "landscape" : "portrait", "\"/>", bands.empty() ? "" : "<headerFooter>", bands,
                   bands.empty() ? "" : "</headerFooter>"});
}

std::string rowBreaks(std::span<const std::int64_t> rows)
{
    if (rows.empty())
        return {};
    const std::string count = std::to_string(rows.size());
    std::string xml = "<rowBreaks count=\"" + count + "\" manualBreakCount=\"" + count + "\">";
    for (const std::int64_t row : rows)
        xml += "<brk id=\"" + std::to_string(row) + "\" max=\"16383\" man=\"1\"/>";
    return xml + "</rowBreaks>";
}

void writeFirstParts(ZipStream &zip, std::size_t charts)
{
    std::string types = std::string(kDeclaration) + std::string(kContentTypes);
    const auto add = [&types](const std::string &part, const char *type) {
        types += joined(
            {"<Override PartName=\"/xl/", part, "\" ContentType=\"application/vnd.openxmlformats-officedocument.", type, "+xml\"/>"});
    };
    if (charts > 0)
        add("drawings/drawing1.xml", "drawing");
    for (std::size_t i = 1; i <= charts; ++i)
        add("charts/chart" + std::to_string(i) + ".xml", "drawingml.chart");
    zip.add("[Content_Types].xml", types + "</Types>");
    zip.add("_rels/.rels", std::string(kDeclaration) + std::string(kRootRelations));
}

void writeLastParts(ZipStream &zip, const ReportHead &head, const std::string &styles, std::span<const Sheet> sheets,
                    const std::string &summary)
{
    const std::string declaration(kDeclaration);
    zip.add("xl/sharedStrings.xml",
            declaration + "<sst xmlns=\"" + std::string(kMain) + "\" uniqueCount=\"1\"><si><t>" + escapedText(summary) + "</t></si></sst>");
    zip.add("xl/styles.xml", declaration + styles);
    zip.add("xl/workbook.xml", declaration + workbook(sheets));
    zip.add("xl/_rels/workbook.xml.rels", declaration + workbookRelations(sheets.size()));
    zip.add("docProps/core.xml", declaration + coreProperties(head));
    const std::string program = head.creator.empty() ? "Quillmark Report Generator" : escapedText(head.creator);
    zip.add("docProps/app.xml", declaration +
                                    R"(<Properties xmlns="http://schemas.openxmlformats.org/officeDocument/2006/extended-properties">)"
                                    "<Application>" +
                                    program + "</Application></Properties>");
}

} // namespace qm::xlsx
