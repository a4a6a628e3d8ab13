#include "documents/pdf/ReportPages.h"

#include "documents/pdf/PdfSyntax.h"

#include <algorithm>

namespace qm::pdf {

namespace {
/// Lengths of a content stream are tenths of a point.
constexpr std::string_view kScale = "q .1 0 0 .1 0 0 cm\n";
} // namespace

ReportPages::ReportPages(PdfFile &file, TextLayout &layout, const PageGeometry &geometry)
    : m_file(file), m_geometry(geometry), m_text(layout), m_resources(file.reserve())
{
}

void ReportPages::newPage()
{
    closePage();
    m_open = true;
    m_cursor = m_geometry.top;
}

void ReportPages::closePage()
{
    if (!m_open)
        return;
    m_open = false;
    m_content.assign(kScale);
    if (!m_shades.empty())
        m_content.append(".945 .957 .97 rg\n").append(m_shades).append("f\n");
    m_content += m_forms;
    if (!m_rules.empty())
        m_content.append("4 w .55 .6 .66 RG\n").append(m_rules).append("S\n");
    m_content.append("0 g BT\n").append(m_text.content()).append("ET\nQ\n");
    m_shades.clear();
    m_rules.clear();
    m_forms.clear();
    m_text.clear();
    // Nothing else takes object numbers between pages, so a page's content is found from its number.
    const int number = m_file.reserve();
    if (m_count++ == 0)
        m_firstContent = number;
    m_file.writeStream(number, "", m_content);
}

void ReportPages::shade(Tenths left, Tenths right, Tenths top, Tenths height)
{
    for (const Tenths number : {left, top - height, right - left, height})
        appendOperand(m_shades, number);
    m_shades += "re\n";
}

void ReportPages::rule(Tenths left, Tenths right, Tenths y)
{
    appendOperand(m_rules, left);
    appendOperand(m_rules, y);
    m_rules += "m ";
    appendOperand(m_rules, right);
    appendOperand(m_rules, y);
    m_rules += "l\n";
}

void ReportPages::place(std::string_view name, Tenths x, Tenths y)
{
    m_forms += "q 1 0 0 1 ";
    appendOperand(m_forms, x);
    appendOperand(m_forms, y);
    m_forms.append("cm /").append(name).append(" Do Q\n");
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
        stream.append("0 g BT\n").append(late).append("ET\nQ\n");
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
