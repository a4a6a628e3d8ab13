#include "documents/pdf/ReportPages.h"

#include "documents/Palette.h"
#include "documents/pdf/PdfSyntax.h"

#include <algorithm>

namespace qm::pdf {

namespace {
/// Lengths of a content stream are tenths of a point.
constexpr std::string_view kScale = "q .1 0 0 .1 0 0 cm\n";
} // namespace

ReportPages::ReportPages(PdfFile &file, TextLayout &layout, const PageGeometry &geometry)
    : m_file(file), m_geometry(geometry), m_contents{PageContent(layout), PageContent(layout)}, m_resources(file.reserve())
{
}

void ReportPages::newPage()
{
    settle();
    m_isWaiting = m_count > 0;
    ++m_count;
    m_cursor = m_geometry.top;
    const std::string &band = m_count == 1 ? m_firstBand : m_otherBand;
    if (!band.empty())
        content().place(band, 0, 0);
}

void ReportPages::settle()
{
    if (!m_isWaiting)
        return;
    m_isWaiting = false;
    writeContent(m_count - 1);
}

void ReportPages::closePage()
{
    settle();
    if (m_count > 0)
        writeContent(m_count);
}

void ReportPages::writeContent(int page)
{
    PageContent &content = contentOf(page);
    if (m_writeHandler)
        m_writeHandler(page, content);
    m_operators.assign(kScale);
    content.write(m_operators);
    m_operators += "Q\n";
    content.clear();
    // Nothing else takes object numbers between pages, so a page's content is found from its number.
    const int number = m_file.reserve();
    if (page == 1)
        m_firstContent = number;
    m_file.writeStream(number, "", m_operators);
}

void ReportPages::addForm(std::string_view name, const std::string &content, Tenths width, Tenths height)
{
    const int number = m_file.reserve();
    std::string entries = "/Type/XObject/Subtype/Form/BBox[0 0 ";
    appendOperand(entries, width);
    appendNumber(entries, height);
    entries += "]/Resources ";
    appendReference(entries, m_resources);
    m_file.writeStream(number, entries, content, PdfFile::Packing::Small);
    m_formResources.append("/").append(name).append(" ");
    appendReference(m_formResources, number);
}

void ReportPages::writeResources(std::string_view fonts)
{
    std::string body = "<</ProcSet[/PDF/Text]/Font";
    body += fonts;
    if (!m_formResources.empty())
        body += "/XObject<<" + m_formResources + ">>";
    body += ">>";
    m_file.writeObject(m_resources, body);
}

ReportPages::PageTree::PageTree(int pageCount, int firstPage, PdfFile &file) : pages(pageCount)
{
    levels.push_back({firstPage, pageCount});
    do {
        const int nodes = (levels.back().count + kKids - 1) / kKids;
        levels.push_back({file.reserve(nodes), nodes});
    } while (levels.back().count > 1);
}

void ReportPages::writePage(int number, int content, int parent, std::string_view late)
{
    int lateContent = 0;
    if (!late.empty()) {
        std::string stream(kScale);
        appendColour(stream, palette::kInk);
        stream.append("rg BT\n").append(late).append("ET\nQ\n");
        lateContent = m_file.reserve();
        m_file.writeStream(lateContent, "", stream, PdfFile::Packing::None);
    }
    std::string body = "<</Type/Page/Parent ";
    appendReference(body, parent);
    body += "/Contents[";
    appendReference(body, content);
    if (lateContent != 0) {
        body += ' ';
        appendReference(body, lateContent);
    }
    body += "]>>";
    m_file.writeObject(number, body);
}

int ReportPages::writeTree(const PageTree &tree)
{
    int pagesPerKid = 1;
    for (std::size_t level = 1; level < tree.levels.size(); ++level) {
        const auto &nodes = tree.levels[level];
        const auto &kids = tree.levels[level - 1];
        const bool isRoot = level + 1 == tree.levels.size();
        for (int node = 0; node < nodes.count; ++node) {
            const int firstKid = node * PageTree::kKids;
            const int kidCount = std::min(PageTree::kKids, kids.count - firstKid);
            std::string body = "<</Type/Pages/Count ";
            appendNumber(body, std::min(kidCount * pagesPerKid, tree.pages - firstKid * pagesPerKid));
            body += "/Kids[";
            for (int kid = 0; kid < kidCount; ++kid) {
                appendReference(body, kids.first + firstKid + kid);
                body += ' ';
            }
            body += ']';
            if (isRoot) {
                body += "/Resources ";
                appendReference(body, m_resources);
                body += "/MediaBox[0 0 ";
                appendNumber(body, m_geometry.width / 10);
                body += '.';
                appendOperand(body, m_geometry.width % 10);
                appendNumber(body, m_geometry.height / 10);
                body += '.';
                appendNumber(body, m_geometry.height % 10);
                body += ']';
            } else {
                body += "/Parent ";
                appendReference(body, tree.levels[level + 1].first + node / PageTree::kKids);
            }
            body += ">>";
            m_file.writeObject(nodes.first + node, body);
        }
        pagesPerKid *= PageTree::kKids;
    }
    return tree.levels.back().first;
}

} // namespace qm::pdf
