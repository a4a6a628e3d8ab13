/// \file
/// Breaks texts into lines of a given width.
#pragma once

#include "documents/pdf/TextShaper.h"

#include <string_view>
#include <vector>

namespace qm::pdf {

/// A width that no text reaches.
inline constexpr Em kEndless = 1'000'000'000;

/// One line: bytes of a plain text, or clusters of a shaped one.
struct TextLine
{
    std::uint32_t begin = 0, end = 0; ///< blanks at the end are part of the line, for search and copy, but not of its width
    Em width = 0;
};

/// One text broken into lines. Refers to the text and to the TextLayout that made it.
struct TextBlock
{
    std::string_view text;
    TextStyle style = TextStyle::Regular;
    bool shaped = false;
    bool ellipsis = false; ///< the last line was cut
    std::uint32_t firstLine = 0, lineCount = 0;
};

/// Holds the lines of any number of blocks until clear(). Nothing is allocated once its vectors have grown to the largest row.
class TextLayout final
{
public:
    explicit TextLayout(FontBook &fonts) : m_fonts(fonts), m_shaper(fonts) {}

    void clear()
    {
        m_lines.clear();
        m_shaped.clear();
    }

    /// Breaks at blanks and around ideographs; words wider than a line where their parts join, else anywhere; line breaks of the text are
    /// kept, those at its end dropped. \param text   must stay where it is until clear(). \param limit  width of a line. At least one
    /// character goes on each line, however narrow.
    TextBlock wrap(std::string_view text, TextStyle style, Em limit);

    /// As wrap(), but keeps \p mostLines lines and marks the cut with an ellipsis.
    TextBlock wrapAtMost(std::string_view text, TextStyle style, Em limit, std::uint32_t mostLines);

    /// One line; what does not fit is cut and marked with an ellipsis. Line breaks and tabs in \p text must have been replaced by blanks.
    TextBlock fit(std::string_view text, TextStyle style, Em limit);

    [[nodiscard]] const TextLine &line(const TextBlock &block, std::uint32_t index) const { return m_lines[block.firstLine + index]; }
    [[nodiscard]] const ShapedText &shaped() const { return m_shaped; }
    [[nodiscard]] FontBook &fonts() const { return m_fonts; }
    /// True when the line belongs to a paragraph that runs from right to left.
    [[nodiscard]] bool isRightToLeft(const TextBlock &block, std::uint32_t index) const;
    /// Width of the blanks at the end of a shaped line.
    [[nodiscard]] Em hangingBlanks(const TextLine &shapedLine) const;
    /// Width of \p text on one line.
    [[nodiscard]] Em measure(std::string_view text, TextStyle style);

private:
    bool wrapPlain(std::string_view text, TextStyle style, Em limit);
    void wrapShaped(std::string_view text, std::uint32_t begin, std::uint32_t end, Em limit);
    bool fitPlain(std::string_view text, TextStyle style, Em limit, TextBlock &block);
    void fitShaped(std::uint32_t begin, std::uint32_t end, Em limit, TextBlock &block);
    void cutLine(TextBlock &block, Em limit);

    FontBook &m_fonts;
    TextShaper m_shaper;
    std::vector<TextLine> m_lines;
    ShapedText m_shaped;
};

/// Number of blanks that stand for a tab at \p position, so that tabs align within a cell.
[[nodiscard]] inline int tabBlanks(Em position, Em blank)
{
    const Em stop = 8 * blank;
    const Em gap = stop - position % stop;
    return static_cast<int>((gap + blank - 1) / blank);
}

inline constexpr char32_t kEllipsis = 0x2026;

} // namespace qm::pdf
