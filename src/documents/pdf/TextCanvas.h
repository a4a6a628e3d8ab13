/// \file
/// The text of a page's content stream.
#pragma once

#include "documents/pdf/TextLayout.h"

#include <string>

namespace qm::pdf {

/// Lengths on the page are counted in tenths of a point (1/720 inch); y grows upwards.
using Tenths = std::int32_t;

inline constexpr double kTenthsPerMm = 720.0 / 25.4;

/// What a colour is for, not what it is.
enum class Ink : std::uint8_t { Text, Faint, Title, Notice, Alarm };

/// Collects drawing operators for text. The result belongs between BT and ET, in a space scaled to tenths of a point.
class TextCanvas final
{
public:
    explicit TextCanvas(TextLayout &layout) : m_layout(layout), m_fonts(layout.fonts()) {}

    void clear();
    [[nodiscard]] const std::string &content() const { return m_out; }

    /// Draws one line with its left end at \p x and its baseline at \p y, in letters of \p size.
    void drawLine(const TextBlock &block, std::uint32_t index, Tenths x, Tenths y, Tenths size);
    /// Draws one line inside the space from \p left to \p right. A left-aligned line of a right-to-left paragraph goes to the right.
    enum class Place : std::uint8_t { Start, Centre, Right };
    void drawLine(const TextBlock &block, std::uint32_t index, Tenths left, Tenths right, Place place, Tenths y, Tenths size);
    void setInk(Ink ink);

    /// A place in the content, with what is set there.
    struct Mark
    {
        std::size_t at = 0; ///< in content()
        Tenths x = 0, y = 0, size = 0;
        int font = -1;
        Ink ink = Ink::Text;
    };
    [[nodiscard]] Mark mark() const { return {m_out.size(), m_x, m_y, m_size, m_font, m_ink}; }
    /// Takes what was drawn since \p from out of this canvas and draws it on \p to, moved up by \p dy.
    /// \returns by how much places in the content have grown.
    std::ptrdiff_t moveTail(const Mark &from, TextCanvas &to, Tenths dy);

    /// Characters drawn as a box because no font has them.
    [[nodiscard]] std::int64_t missingGlyphs() const { return m_missing; }

private:
    void moveTo(Tenths x, Tenths y);
    void setFont(std::uint16_t font, Tenths size);
    void closeString();
    void openLiteral();
    void openHex();
    void drawPlain(std::string_view text, TextStyle style, Tenths size);
    void drawEllipsis(TextStyle style, Tenths size);
    void appendSlot(const FontBook::Slot &slot, Tenths size);
    void drawShaped(const TextBlock &block, const TextLine &line, Tenths size);
    void drawCluster(const TextBlock &block, const TextCluster &cluster, Tenths size);
    void drawGlyph(const ShapedGlyph &glyph, Tenths size);
    void drawMarks(Tenths size);
    void adjust(Em distance);
    void setRise(Em rise, Tenths size);
    const std::vector<std::uint32_t> &visualOrder(const TextLine &line);

    enum class Open : std::uint8_t { Nothing, Literal, Hex };
    static constexpr int kNoFont = -1;
    TextLayout &m_layout;
    FontBook &m_fonts;
    std::string m_out;
    Tenths m_x = 0, m_y = 0, m_size = 0;
    int m_font = kNoFont;
    Open m_open = Open::Nothing;
    bool m_inArray = false; ///< between [ and ]TJ
    Em m_rise = 0;
    Ink m_ink = Ink::Text;
    std::int64_t m_missing = 0;
    struct DrawnMark
    {
        ShapedGlyph glyph;
        Em x = 0;
    };
    std::vector<DrawnMark> m_marks; ///< of the line being drawn
    Em m_pen = 0;                   ///< within that line
    std::vector<std::uint32_t> m_order;
    std::vector<std::uint8_t> m_orderLevels;
};

} // namespace qm::pdf
