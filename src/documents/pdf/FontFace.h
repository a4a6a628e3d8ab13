/// \file
/// One TrueType font file: which characters it has, how wide they are, and HarfBuzz's view of it.
#pragma once

#include <QString>

#include <hb.h>

#include <cstdint>
#include <memory>
#include <string>

namespace qm::pdf {

/// Widths and positions of text are counted in thousandths of the font size, as PDF does.
using Em = std::int32_t;

/// A font whose outlines may be embedded. The file stays mapped, not read.
class FontFace final
{
public:
    /// Null when \p path has no TrueType outlines or forbids embedding a subset.
    static std::unique_ptr<FontFace> load(const QString &path, unsigned index = 0);

    /// The glyph that shows \p character, 0 when there is none.
    [[nodiscard]] std::uint32_t glyph(char32_t character) const;
    /// As glyph(), but 0 too when the glyph has no outline: a colour font's layers, for example.
    [[nodiscard]] std::uint32_t visibleGlyph(char32_t character) const;
    [[nodiscard]] Em advance(std::uint32_t glyph) const;
    /// Font units as thousandths of the font size, rounded.
    [[nodiscard]] Em toEm(std::int32_t fontUnits) const;

    [[nodiscard]] hb_face_t *face() const { return m_face.get(); }
    [[nodiscard]] hb_font_t *font() const { return m_font.get(); }
    [[nodiscard]] const std::string &postScriptName() const { return m_name; }
    [[nodiscard]] Em ascender() const { return m_ascender; }
    [[nodiscard]] Em descender() const { return m_descender; }
    [[nodiscard]] bool isBold() const { return m_bold; }

private:
    struct Release
    {
        void operator()(hb_face_t *face) const { hb_face_destroy(face); }
        void operator()(hb_font_t *font) const { hb_font_destroy(font); }
    };
    explicit FontFace(hb_face_t *face);

    std::unique_ptr<hb_face_t, Release> m_face;
    std::unique_ptr<hb_font_t, Release> m_font;
    std::string m_name;
    std::int32_t m_unitsPerEm;
    Em m_ascender = 0, m_descender = 0;
    bool m_bold = false;
};

} // namespace qm::pdf
