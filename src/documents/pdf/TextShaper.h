/// \file
/// Sets text that needs more than one glyph after the other: right-to-left scripts, combining marks, Indic scripts, emoji sequences, hidden
/// controls.
#pragma once

#include "documents/pdf/FontBook.h"

#include <hb.h>

#include <string_view>
#include <vector>

namespace qm::pdf {

/// A placed glyph. dx and dy move it away from the pen, advance moves the pen on; width is what the font object states for the code.
struct ShapedGlyph
{
    std::uint16_t font = 0, code = 0;
    Em dx = 0, dy = 0, advance = 0, width = 0;
    bool inkOnly = false; ///< a mark whose character another code stands for: drawn after the line, outside its text
};

/// The smallest piece of shaped text that lines and reordering may move. Clusters are kept in reading order.
struct TextCluster
{
    std::uint32_t text = 0, textEnd = 0;   ///< bytes of the text
    std::uint32_t glyph = 0, glyphEnd = 0; ///< glyphs, from left to right
    Em advance = 0;
    std::uint8_t level = 0;     ///< bidirectional embedding level; odd: right to left
    std::uint8_t rules = 0;     ///< BreakRule bits
    bool lineBreak : 1 = false; ///< ends a line, shows nothing
    bool control : 1 = false;   ///< shows the name of a hidden control
    bool missing : 1 = false;
    bool actualText : 1 = false;  ///< its codes do not tell its text; say it beside them
    bool rightToLeft : 1 = false; ///< its paragraph runs from right to left
};

struct ShapedText
{
    std::vector<TextCluster> clusters;
    std::vector<ShapedGlyph> glyphs;

    void clear()
    {
        clusters.clear();
        glyphs.clear();
    }
};

/// Follows the Unicode bidirectional algorithm (by FriBidi) for each paragraph of the text; glyphs come from HarfBuzz.
class TextShaper final
{
public:
    explicit TextShaper(FontBook &fonts);
    ~TextShaper();
    TextShaper(const TextShaper &) = delete;
    TextShaper &operator=(const TextShaper &) = delete;

    /// Appends the clusters of \p text (UTF-8, below 4 GB) to \p out.
    void shape(std::string_view text, TextStyle style, ShapedText &out);

private:
    struct Run
    {
        std::size_t begin = 0, end = 0;
        std::uint8_t level = 0;
        hb_script_t script = HB_SCRIPT_COMMON;
        std::int16_t face = FontBook::kNoFace;
    };
    void decode(std::string_view text);
    void shapeParagraph(std::size_t begin, std::size_t end, ShapedText &out);
    void findLevels(std::size_t begin, std::size_t end);
    void findScripts(std::size_t begin, std::size_t end);
    [[nodiscard]] Run takeRun(std::size_t begin, std::size_t end);
    void shapeRun(const Run &run, std::size_t paragraphBegin, std::size_t paragraphEnd, ShapedText &out);
    void appendGroup(const Run &run, unsigned first, unsigned last, std::size_t begin, std::size_t end, ShapedText &out);
    void appendOneByOne(const Run &run, unsigned first, unsigned last, std::size_t begin, std::size_t end, ShapedText &out);
    [[nodiscard]] ShapedGlyph placed(const Run &run, unsigned index, const FontBook::GlyphCode &code) const;
    [[nodiscard]] FontBook::GlyphCode codeFor(const Run &run, std::uint32_t glyph, std::size_t begin, std::size_t end);
    [[nodiscard]] bool isNamed(std::uint32_t character);
    void appendNamed(std::size_t index, ShapedText &out);
    void appendMissing(std::size_t begin, std::size_t end, ShapedText &out);
    void appendTab(std::size_t index, ShapedText &out);
    TextCluster &appendCluster(std::size_t begin, std::size_t end, ShapedText &out) const;
    [[nodiscard]] std::string_view textOf(std::size_t begin, std::size_t end) const;

    FontBook &m_fonts;
    hb_buffer_t *m_buffer;
    std::string_view m_text;
    TextStyle m_style = TextStyle::Regular;
    bool m_rightToLeft = false;
    // By character of the text; reused from call to call.
    std::vector<std::uint32_t> m_characters, m_offsets, m_bidiTypes, m_bidiCharacters, m_brackets;
    std::vector<signed char> m_levels;
    std::vector<hb_script_t> m_scripts;
};

} // namespace qm::pdf
