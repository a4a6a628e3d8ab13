/// \file
/// All fonts of one PDF file: which font shows a character, and under which code.
#pragma once

#include "documents/pdf/FontFace.h"
#include "documents/pdf/SystemFonts.h"

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qm::pdf {

/// Regular and Bold are narrow, for all that is read in columns; Display is bold and of full width, for titles and key figures.
enum class TextStyle : std::uint8_t { Regular, Bold, Mono, Display };

/// One font object of the file: a part of a face under codes of its own, given out as characters first appear.
/// Narrow fonts have one-byte codes, for the scripts of the shipped sans and mono; wide fonts have two-byte codes, for all other glyphs.
struct EmbeddedFont
{
    struct Code
    {
        std::uint32_t glyph = 0;
        Em width = 0;
        std::string text; ///< what search and copy give back, UTF-8
    };
    std::size_t face = 0;
    bool wide = false;
    bool ascii = false;           ///< ASCII characters are their own codes here
    std::size_t next = 0;         ///< the first code not given out
    std::vector<Code> codes;      ///< by code
    std::array<bool, 128> used{}; ///< of the ASCII codes, which appear
};

/// Chooses fonts for characters and gives out codes. Looking up a known character costs two array accesses.
class FontBook final
{
public:
    /// \param folder  the shipped fonts. DejaVuSansCondensed.ttf must be there; the others may be missing.
    /// \throws RuntimeError 53 when DejaVuSansCondensed.ttf is missing or unreadable.
    explicit FontBook(const QString &folder);
    ~FontBook();

    enum class Kind : std::uint8_t { Unknown, Simple, Complex };
    struct Slot
    {
        std::uint16_t font = 0, code = 0, width = 0;
        std::int16_t face = kNoFace;
        Kind kind = Kind::Unknown;
        std::uint8_t rules = 0; ///< BreakRule bits
        bool missing = false;   ///< shown as a box
        bool wide = false;
    };
    static constexpr std::int16_t kNoFace = -1;

    /// Simple: set it with font, code and width. Complex: the text holding it needs the shaper.
    const Slot &slot(TextStyle style, char32_t character)
    {
        auto &page = m_pages[static_cast<std::size_t>(style)][character >> 8 & 0x1FFF];
        if (page) {
            const Slot &known = (*page)[character & 0xFF];
            if (known.kind != Kind::Unknown)
                return known;
        }
        return resolve(style, character);
    }

    /// The ASCII part of a style, for loops that must not call anything.
    struct Ascii
    {
        std::uint16_t font = 0;
        std::array<std::uint16_t, 128> width{};
        bool *used = nullptr;
    };
    const Ascii &ascii(TextStyle style);

    /// Font and code for a glyph that the shaper chose. \p text: the characters it stands for, may be empty.
    struct GlyphCode
    {
        std::uint16_t font = 0, code = 0, width = 0;
    };
    GlyphCode glyphCode(std::int16_t face, std::uint32_t glyph, std::string_view text);
    /// As glyphCode(), but the code takes only \p width: for a ligature that shares its place with blankCode()s, one for each of its
    /// characters.
    GlyphCode partCode(std::int16_t face, std::uint32_t glyph, std::string_view text, Em width);
    GlyphCode blankCode(std::int16_t face, std::string_view text, Em width);
    /// The box that stands for a character no font has.
    GlyphCode missingGlyph(std::string_view text);

    [[nodiscard]] const FontFace &face(std::size_t index) const { return *m_faces[index]; }
    [[nodiscard]] const std::vector<std::unique_ptr<EmbeddedFont>> &fonts() const { return m_fonts; }

private:
    const Slot &resolve(TextStyle style, char32_t character);
    std::int16_t faceFor(TextStyle style, char32_t character);
    std::int16_t styleFace(TextStyle style);
    std::int16_t addFace(std::unique_ptr<FontFace> face);
    std::int16_t loadShipped(const QString &name);
    std::uint16_t narrowFont(std::int16_t face);
    std::uint16_t wideFont(std::int16_t face);
    GlyphCode give(std::uint16_t font, std::uint32_t glyph, std::string_view text);

    static constexpr std::size_t kStyles = 4;
    static constexpr std::size_t kMaxFaces = 64; ///< a hostile text must not open every font of the system
    using Page = std::array<Slot, 256>;
    QString m_folder;
    std::array<std::array<std::unique_ptr<Page>, 0x2000>, kStyles> m_pages;
    std::array<std::int16_t, kStyles> m_styleFaces{kNoFace, kNoFace, kNoFace, kNoFace};
    std::array<std::unique_ptr<Ascii>, kStyles> m_ascii;
    std::vector<std::unique_ptr<FontFace>> m_faces;
    std::size_t m_shippedFaces = 0; ///< those of the styles, at the front of m_faces
    bool m_fallbackLoaded = false;
    std::vector<std::unique_ptr<EmbeddedFont>> m_fonts;
    std::unordered_map<std::string, GlyphCode> m_glyphCodes;
    std::string m_key;
    SystemFonts m_system;
};

} // namespace qm::pdf
