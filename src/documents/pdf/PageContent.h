/// \file
/// What is drawn on one page until the page is written.
#pragma once

#include "documents/pdf/TextCanvas.h"

#include <string>
#include <vector>

namespace qm::pdf {

/// An area behind text.
enum class Fill : std::uint8_t { Zebra, Caption, Subtotal, Total, Notice, NoticeBar, FigureBar };
/// A line across, told apart by weight and colour.
enum class Stroke : std::uint8_t { Row, Hairline, Group, Navy, Total };

/// Text, areas, lines and form XObjects of one page. The end of it can be taken off and put on another page, so that rows that belong
/// together stay together although they were drawn before that was known.
class PageContent final
{
public:
    explicit PageContent(TextLayout &layout) : m_text(layout) {}

    void clear();
    [[nodiscard]] bool isEmpty() const { return m_text.content().empty() && m_fills.empty() && m_lines.empty() && m_forms.empty(); }

    TextCanvas &text() { return m_text; }
    [[nodiscard]] const TextCanvas &text() const { return m_text; }
    /// An area from \p top down.
    void fill(Fill kind, Tenths left, Tenths right, Tenths top, Tenths height) { m_fills.push_back({kind, left, right, top, height}); }
    void line(Stroke kind, Tenths left, Tenths right, Tenths y) { m_lines.push_back({kind, left, right, y}); }
    /// Draws the form XObject \p name with its origin at \p x, \p y, behind the text.
    void place(std::string_view name, Tenths x, Tenths y);
    /// The same at this point of the text, which decides about the order in which the page is read.
    void placeInText(std::string_view name);
    /// Draws \p text, made with 0, 0 for \p x, \p y, where the text was at \p at. \p at: of this content, neither moved nor taken off
    /// since.
    void insertText(const TextCanvas::Mark &at, const std::string &text, Tenths x, Tenths y);

    /// A point in time; what is drawn later can be moved.
    struct Mark
    {
        TextCanvas::Mark text;
        std::size_t fills = 0, lines = 0;
    };
    [[nodiscard]] Mark mark() const { return {m_text.mark(), m_fills.size(), m_lines.size()}; }
    /// How marks that lie in a moved end change.
    struct Moved
    {
        std::ptrdiff_t text = 0, fills = 0, lines = 0;
        Tenths dy = 0;
        void adjust(Mark &mark) const;
    };
    /// Takes what was drawn since \p from off and draws it on \p to, moved up by \p dy. Forms stay, but for those in the text.
    Moved moveTail(const Mark &from, PageContent &to, Tenths dy);

    /// Appends the operators that draw the page, in tenths of a point.
    void write(std::string &out) const;

private:
    struct Area
    {
        Fill kind;
        Tenths left, right, top, height;
    };
    struct Line
    {
        Stroke kind;
        Tenths left, right, y;
    };
    struct Insertion
    {
        TextCanvas::Mark at;
        std::string text;
        Tenths x = 0, y = 0;
        bool isForm = false;
    };
    void writeFills(std::string &out) const;
    void writeLines(std::string &out) const;
    void writeText(std::string &out) const;

    TextCanvas m_text;
    std::vector<Area> m_fills;
    std::vector<Line> m_lines;
    std::string m_forms;
    std::vector<Insertion> m_insertions;
};

} // namespace qm::pdf
