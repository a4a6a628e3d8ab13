#include "documents/pdf/FontBook.h"

#include "core/RuntimeError.h"
#include "core/Utf8.h"
#include "documents/pdf/CharacterRules.h"
#include "documents/pdf/PdfSyntax.h"

#include <QDir>

#include <algorithm>

namespace qm::pdf {

namespace {

constexpr std::size_t kNarrowCodes = 256;
constexpr std::size_t kWideCodes = 65535;
constexpr char32_t kBox = 0x25A1;

/// Codes that readers treat alike everywhere: no controls, none that a string must escape, no blanks of the Latin-1 set.
bool isGoodNarrowCode(std::size_t code)
{
    return code > 0x20 && code != '(' && code != ')' && code != '\\' && code != 0x7F && code != 0xA0 && code != 0xAD;
}

std::uint16_t small(std::size_t number)
{
    return static_cast<std::uint16_t>(number);
}

} // namespace

FontBook::FontBook(const QString &folder) : m_folder(folder)
{
    if (loadShipped(QStringLiteral("DejaVuSansCondensed.ttf")) == kNoFace)
        raise(err::fileNotFound,
              QStringLiteral("The font \"%1\" is missing or unreadable. It belongs to the program: install the program again.")
                  .arg(QDir(folder).filePath(QStringLiteral("DejaVuSansCondensed.ttf"))),
              kFrameworkSource);
    m_styleFaces[0] = 0;
    // The other styles are faces of their own from the start, so that their fonts can be told from fallback fonts by position.
    std::size_t style = 1;
    for (const QString &name :
         {QStringLiteral("DejaVuSansCondensed-Bold.ttf"), QStringLiteral("DejaVuSansMono.ttf"), QStringLiteral("DejaVuSans-Bold.ttf")}) {
        const std::int16_t face = loadShipped(name);
        m_styleFaces[style++] = face == kNoFace ? std::int16_t{0} : face;
    }
    m_shippedFaces = m_faces.size();
}

FontBook::~FontBook() = default;

std::int16_t FontBook::loadShipped(const QString &name)
{
    return addFace(FontFace::load(QDir(m_folder).filePath(name)));
}

std::int16_t FontBook::addFace(std::unique_ptr<FontFace> face)
{
    if (!face || m_faces.size() >= kMaxFaces)
        return kNoFace;
    m_faces.push_back(std::move(face));
    return static_cast<std::int16_t>(m_faces.size() - 1);
}

std::int16_t FontBook::styleFace(TextStyle style)
{
    return m_styleFaces[static_cast<std::size_t>(style)];
}

std::int16_t FontBook::faceFor(TextStyle style, char32_t character)
{
    const std::int16_t own = styleFace(style);
    if (m_faces[static_cast<std::size_t>(own)]->glyph(character) != 0)
        return own;
    if (m_faces[0]->glyph(character) != 0)
        return 0;
    if (!m_fallbackLoaded) {
        m_fallbackLoaded = true;
        loadShipped(QStringLiteral("DroidSansFallbackFull.ttf"));
    }
    for (std::size_t i = m_shippedFaces; i < m_faces.size(); ++i)
        if (m_faces[i]->visibleGlyph(character) != 0 || ((breakRules(character) & kSpace) != 0 && m_faces[i]->glyph(character) != 0))
            return static_cast<std::int16_t>(i);
    const bool unassigned = (character >= 0xE000 && character <= 0xF8FF) || character > 0x3FFFF;
    if (unassigned || m_faces.size() >= kMaxFaces)
        return kNoFace;
    return addFace(m_system.find(character));
}

const FontBook::Slot &FontBook::resolve(TextStyle style, char32_t character)
{
    auto &page = m_pages[static_cast<std::size_t>(style)][character >> 8 & 0x1FFF];
    if (!page)
        page = std::make_unique<Page>();
    Slot &slot = (*page)[character & 0xFF];
    slot.rules = breakRules(character);
    slot.kind = isSimple(character) ? Kind::Simple : Kind::Complex;
    slot.face = utf8::isHidden(character) ? kNoFace : faceFor(style, character);
    slot.missing = slot.face == kNoFace;
    if (slot.missing && isControlPicture(character))
        slot.kind = Kind::Complex; // the shaper spells it out
    if (slot.kind == Kind::Complex)
        return slot;
    GlyphCode code;
    char bytes[4];
    const std::string text(bytes, utf8::encode(character, bytes));
    if (slot.face == kNoFace) {
        code = missingGlyph(text);
    } else if (character < 0x80) {
        const Ascii &table = ascii(style);
        code = {table.font, small(character), table.width[character]};
    } else {
        const auto face = static_cast<std::size_t>(slot.face);
        code = give(face < m_shippedFaces ? narrowFont(slot.face) : wideFont(slot.face), m_faces[face]->glyph(character), text);
    }
    slot.font = code.font;
    slot.code = code.code;
    slot.width = code.width;
    slot.wide = m_fonts[code.font]->wide;
    return slot;
}

const FontBook::Ascii &FontBook::ascii(TextStyle style)
{
    auto &table = m_ascii[static_cast<std::size_t>(style)];
    if (table)
        return *table;
    const std::int16_t index = styleFace(style);
    const FontFace &face = *m_faces[static_cast<std::size_t>(index)];
    auto font = std::make_unique<EmbeddedFont>();
    font->face = static_cast<std::size_t>(index);
    font->ascii = true;
    font->codes.resize(kNarrowCodes);
    font->next = 0x80;
    table = std::make_unique<Ascii>();
    for (char32_t character = 0x20; character < 0x7F; ++character) {
        const std::uint32_t glyph = face.glyph(character);
        font->codes[character] = {glyph, face.advance(glyph), std::string(1, static_cast<char>(character))};
        table->width[character] = small(static_cast<std::size_t>(face.advance(glyph)));
    }
    table->font = small(m_fonts.size());
    table->used = font->used.data();
    m_fonts.push_back(std::move(font));
    return *table;
}

std::uint16_t FontBook::narrowFont(std::int16_t face)
{
    for (std::size_t i = 0; i < m_fonts.size(); ++i)
        if (m_fonts[i]->face == static_cast<std::size_t>(face) && !m_fonts[i]->wide && m_fonts[i]->next < kNarrowCodes)
            return small(i);
    auto font = std::make_unique<EmbeddedFont>();
    font->face = static_cast<std::size_t>(face);
    font->codes.resize(kNarrowCodes);
    font->next = 0x21;
    m_fonts.push_back(std::move(font));
    return small(m_fonts.size() - 1);
}

std::uint16_t FontBook::wideFont(std::int16_t face)
{
    for (std::size_t i = 0; i < m_fonts.size(); ++i)
        if (m_fonts[i]->face == static_cast<std::size_t>(face) && m_fonts[i]->wide && m_fonts[i]->next < kWideCodes)
            return small(i);
    auto font = std::make_unique<EmbeddedFont>();
    font->face = static_cast<std::size_t>(face);
    font->wide = true;
    font->codes.resize(1); // code 0 stays the font's own box
    font->next = 1;
    m_fonts.push_back(std::move(font));
    return small(m_fonts.size() - 1);
}

FontBook::GlyphCode FontBook::give(std::uint16_t font, std::uint32_t glyph, std::string_view text)
{
    EmbeddedFont &target = *m_fonts[font];
    const std::size_t code = target.next++;
    if (target.wide)
        target.codes.emplace_back();
    else
        while (target.next < kNarrowCodes && !isGoodNarrowCode(target.next))
            ++target.next;
    const Em width = std::clamp(m_faces[target.face]->advance(glyph), 0, 65535);
    target.codes[code] = {glyph, width, std::string(text)};
    return {font, small(code), static_cast<std::uint16_t>(width)};
}

FontBook::GlyphCode FontBook::glyphCode(std::int16_t face, std::uint32_t glyph, std::string_view text)
{
    m_key.clear();
    appendHex(m_key, static_cast<std::uint32_t>(face), 4);
    appendHex(m_key, glyph, 8);
    m_key += text;
    const auto known = m_glyphCodes.find(m_key);
    if (known != m_glyphCodes.end())
        return known->second;
    const GlyphCode code = give(wideFont(face), glyph, text);
    m_glyphCodes.emplace(m_key, code);
    return code;
}

FontBook::GlyphCode FontBook::partCode(std::int16_t face, std::uint32_t glyph, std::string_view text, Em width)
{
    m_key.assign("part");
    for (const std::uint32_t number : {static_cast<std::uint32_t>(face), glyph, static_cast<std::uint32_t>(width)})
        appendHex(m_key, number, 8);
    m_key += text;
    const auto known = m_glyphCodes.find(m_key);
    if (known != m_glyphCodes.end())
        return known->second;
    GlyphCode code = give(wideFont(face), glyph, text);
    code.width = static_cast<std::uint16_t>(std::clamp(width, 0, 65535));
    m_fonts[code.font]->codes[code.code].width = code.width;
    m_glyphCodes.emplace(m_key, code);
    return code;
}

FontBook::GlyphCode FontBook::blankCode(std::int16_t face, std::string_view text, Em width)
{
    return partCode(face, m_faces[static_cast<std::size_t>(face)]->glyph(U' '), text, width);
}

FontBook::GlyphCode FontBook::missingGlyph(std::string_view text)
{
    return glyphCode(0, m_faces[0]->glyph(kBox), text);
}

} // namespace qm::pdf
