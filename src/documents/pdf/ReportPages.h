/// \file
/// The pages of a report, written one after the other.
#pragma once

#include "documents/pdf/PageGeometry.h"
#include "documents/pdf/PdfFile.h"

#include <string>

namespace qm::pdf {

/// Lays content on the current page from top to bottom and writes each full page at once. What depends on the number of pages comes with
/// writePages().
class ReportPages final
{
public:
    ReportPages(PdfFile &file, TextLayout &layout, const PageGeometry &geometry);

    /// Closes the current page, if any, and begins the next.
    void newPage();
    void closePage();

    [[nodiscard]] Tenths cursor() const { return m_cursor; } ///< top of what comes next
    void moveDown(Tenths distance) { m_cursor -= distance; }
    [[nodiscard]] Tenths room() const { return m_cursor - m_geometry.bottom; }
    [[nodiscard]] int count() const { return m_count; }
    [[nodiscard]] bool isOpen() const { return m_open; }

    TextCanvas &text() { return m_text; }
    /// A light band behind text, from \p top down.
    void shade(Tenths left, Tenths right, Tenths top, Tenths height);
    /// A fine line across the page.
    void rule(Tenths left, Tenths right, Tenths y);
    /// Draws the form XObject \p name with its origin at \p x, \p y.
    void place(std::string_view name, Tenths x, Tenths y);

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
        return writeTree(tree);
    }

    /// Writes what all pages share: \p fonts is the font resource dictionary. Comes after all text.
    void writeResources(std::string_view fonts);

    [[nodiscard]] std::int64_t missingGlyphs() const { return m_text.missingGlyphs(); }

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
    void writePage(int number, int content, int parent, std::string_view late);
    int writeTree(const PageTree &tree);

    PdfFile &m_file;
    const PageGeometry &m_geometry;
    TextCanvas m_text;
    std::string m_shades, m_rules, m_forms, m_content, m_formResources;
    Tenths m_cursor = 0;
    int m_resources, m_count = 0, m_firstContent = 0;
    bool m_open = false;
};

} // namespace qm::pdf
