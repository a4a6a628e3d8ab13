/// \file
/// The pages of a report, written one after the other.
#pragma once

#include "documents/pdf/PageContent.h"
#include "documents/pdf/PageGeometry.h"
#include "documents/pdf/PdfFile.h"

#include <array>
#include <functional>
#include <string>

namespace qm::pdf {

/// Lays content on the current page from top to bottom. The page before it waits, so that its end can still be moved; a page is written
/// when the next but one begins, or at settle(). What depends on the number of pages comes with writePages().
class ReportPages final
{
public:
    ReportPages(PdfFile &file, TextLayout &layout, const PageGeometry &geometry);

    /// Begins the next page.
    void newPage();
    /// Writes all pages begun.
    void closePage();
    /// Writes the page before the current one, if it still waits.
    void settle();
    /// The page before the current one while it waits, else null.
    [[nodiscard]] PageContent *waiting() { return m_isWaiting ? &contentOf(m_count - 1) : nullptr; }
    /// Is told of each page, by its number, just before it is written: the last time to draw on it.
    void setWriteHandler(std::function<void(int page, PageContent &content)> handler) { m_writeHandler = std::move(handler); }
    /// The form XObjects of header and footer, on the first page and on the others; empty for none.
    void setBands(std::string first, std::string others)
    {
        m_firstBand = std::move(first);
        m_otherBand = std::move(others);
    }

    [[nodiscard]] Tenths cursor() const { return m_cursor; } ///< top of what comes next
    void moveDown(Tenths distance) { m_cursor -= distance; }
    void setCursor(Tenths cursor) { m_cursor = cursor; }
    [[nodiscard]] Tenths top() const { return m_geometry.height; } ///< of the paper
    [[nodiscard]] Tenths room() const { return m_cursor - m_geometry.bottom; }
    [[nodiscard]] int count() const { return m_count; } ///< of the pages begun: the number of the current one

    PageContent &content() { return contentOf(m_count); }
    TextCanvas &text() { return content().text(); }

    /// Puts a form XObject into the file, for drawing with place(). \p content is in tenths of a point, from 0, 0 to \p width, \p height.
    void addForm(std::string_view name, const std::string &content, Tenths width, Tenths height);

    /// Writes the page objects once the last page is closed. \p lateText gives the text operators drawn on page n (from 1) beyond its
    /// content, empty for nothing. \returns the object number of the page tree's root.
    template <typename LateText>
    int writePages(LateText lateText)
    {
        const int firstPage = m_file.reserve(m_count);
        const PageTree tree(m_count, firstPage, m_file);
        for (int page = 1; page <= m_count; ++page)
            writePage(firstPage + page - 1, m_firstContent + page - 1, tree.parentOf(page - 1), lateText(page));
        m_firstPage = firstPage;
        return writeTree(tree);
    }
    /// The object of page \p number, from 1. Known once writePages() is done.
    [[nodiscard]] int pageObject(int number) const { return m_firstPage + number - 1; }

    /// Writes what all pages share: \p fonts is the font resource dictionary. Comes after all text.
    void writeResources(std::string_view fonts);

    [[nodiscard]] std::int64_t missingGlyphs() const { return m_contents[0].text().missingGlyphs() + m_contents[1].text().missingGlyphs(); }

private:
    /// A page tree whose nodes have the same number of kids, numbered level by level.
    struct PageTree
    {
        struct Level
        {
            int first = 0, count = 0; ///< object numbers
        };
        static constexpr int kKids = 40;
        std::vector<Level> levels; ///< pages first, root last
        int pages = 0;

        PageTree(int pageCount, int firstPage, PdfFile &file);
        [[nodiscard]] int parentOf(int page) const { return levels[1].first + page / kKids; }
    };
    [[nodiscard]] PageContent &contentOf(int page) { return m_contents[static_cast<std::size_t>(page) % 2]; }
    void writeContent(int page);
    void writePage(int number, int content, int parent, std::string_view late);
    int writeTree(const PageTree &tree);

    PdfFile &m_file;
    const PageGeometry &m_geometry;
    std::array<PageContent, 2> m_contents; ///< of the current page and the one before it
    std::function<void(int, PageContent &)> m_writeHandler;
    std::string m_firstBand, m_otherBand, m_operators, m_formResources;
    Tenths m_cursor = 0;
    int m_resources, m_count = 0, m_firstContent = 0, m_firstPage = 0;
    bool m_isWaiting = false;
};

} // namespace qm::pdf
