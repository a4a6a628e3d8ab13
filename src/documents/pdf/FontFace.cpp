#include "documents/pdf/FontFace.h"

#include <hb-ot.h>

#include <QFile>

#include <algorithm>
#include <cctype>

namespace qm::pdf {

namespace {

/// A big-endian 16-bit number of an OpenType table; 0 beyond its end.
std::uint16_t tableNumber(hb_face_t *face, hb_tag_t tag, std::size_t offset)
{
    hb_blob_t *table = hb_face_reference_table(face, tag);
    unsigned length = 0;
    const char *bytes = hb_blob_get_data(table, &length);
    std::uint16_t number = 0;
    if (offset + 2 <= length)
        number = static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[offset]) << 8 | static_cast<unsigned char>(bytes[offset + 1]));
    hb_blob_destroy(table);
    return number;
}

bool hasTable(hb_face_t *face, hb_tag_t tag)
{
    hb_blob_t *table = hb_face_reference_table(face, tag);
    const bool present = hb_blob_get_length(table) > 0;
    hb_blob_destroy(table);
    return present;
}

/// The embedding rights of the OS/2 table (fsType): restricted licence, no subsetting, bitmaps only.
bool mayEmbed(hb_face_t *face)
{
    constexpr std::size_t kFsTypeOffset = 8;
    const unsigned rights = tableNumber(face, HB_TAG('O', 'S', '/', '2'), kFsTypeOffset);
    const bool restrictedOnly = (rights & 0xF) == 0x2;
    return !restrictedOnly && (rights & 0x300) == 0;
}

std::string nameOf(hb_face_t *face)
{
    char name[128];
    unsigned size = sizeof name;
    hb_ot_name_get_utf8(face, HB_OT_NAME_ID_POSTSCRIPT_NAME, HB_LANGUAGE_INVALID, &size, name);
    std::string clean;
    std::copy_if(name, name + size, std::back_inserter(clean),
                 [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-'; });
    return clean.empty() ? "Font" : clean;
}

} // namespace

FontFace::FontFace(hb_face_t *face)
    : m_face(face), m_font(hb_font_create(face)), m_name(nameOf(face)), m_unitsPerEm(static_cast<std::int32_t>(hb_face_get_upem(face)))
{
    hb_font_extents_t extents{};
    hb_font_get_h_extents(m_font.get(), &extents);
    m_ascender = toEm(extents.ascender);
    m_descender = toEm(extents.descender);
    constexpr std::size_t kMacStyleOffset = 44;
    m_bold = (tableNumber(face, HB_TAG('h', 'e', 'a', 'd'), kMacStyleOffset) & 1) != 0;
}

std::unique_ptr<FontFace> FontFace::load(const QString &path, unsigned index)
{
    hb_blob_t *blob = hb_blob_create_from_file_or_fail(QFile::encodeName(path).constData());
    if (!blob)
        return nullptr;
    hb_face_t *face = hb_face_create(blob, index);
    hb_blob_destroy(blob);
    if (hb_face_get_glyph_count(face) == 0 || !hasTable(face, HB_TAG('g', 'l', 'y', 'f')) || !mayEmbed(face)) {
        hb_face_destroy(face);
        return nullptr;
    }
    hb_face_make_immutable(face);
    return std::unique_ptr<FontFace>(new FontFace(face));
}

std::uint32_t FontFace::glyph(char32_t character) const
{
    hb_codepoint_t glyph = 0;
    hb_font_get_nominal_glyph(m_font.get(), character, &glyph);
    return glyph;
}

std::uint32_t FontFace::visibleGlyph(char32_t character) const
{
    const std::uint32_t found = glyph(character);
    hb_glyph_extents_t extents{};
    if (found == 0 || !hb_font_get_glyph_extents(m_font.get(), found, &extents))
        return 0;
    return extents.width != 0 && extents.height != 0 ? found : 0;
}

Em FontFace::advance(std::uint32_t glyph) const
{
    return toEm(hb_font_get_glyph_h_advance(m_font.get(), glyph));
}

Em FontFace::toEm(std::int32_t fontUnits) const
{
    const std::int64_t scaled = std::int64_t{fontUnits} * 2000 / m_unitsPerEm;
    return static_cast<Em>(scaled >= 0 ? (scaled + 1) / 2 : -((1 - scaled) / 2));
}

} // namespace qm::pdf
