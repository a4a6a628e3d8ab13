#include "documents/pdf/TextShaper.h"

#include "core/RuntimeError.h"
#include "core/Utf8.h"
#include "documents/pdf/CharacterRules.h"
#include "documents/pdf/PdfSyntax.h"

#include <fribidi.h>

#include <algorithm>
#include <array>

namespace qm::pdf {

namespace {

constexpr std::uint32_t kObjectReplacement = 0xFFFC; ///< neutral in the bidirectional algorithm

bool isMark(std::uint32_t character)
{
    const hb_unicode_general_category_t category = hb_unicode_general_category(hb_unicode_funcs_get_default(), character);
    return category == HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK || category == HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK ||
           category == HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK;
}

/// Scripts in which ligatures are a matter of taste. A reader searching for "office" must find it, so they stay off.
bool isPlainScript(hb_script_t script)
{
    return script == HB_SCRIPT_LATIN || script == HB_SCRIPT_GREEK || script == HB_SCRIPT_CYRILLIC || script == HB_SCRIPT_COMMON;
}

/// Readers stop at ToUnicode entries that are much longer. Such clusters are no writing, but a hostile text may have them.
constexpr std::size_t kMostMapped = 16;

constexpr std::uint32_t kControlPictures = 0x2400; ///< U+2400 and on show the C0 controls

/// "[NUL]" for the C0 controls and their pictures, "[U+202E]" for the others.
std::string nameOf(std::uint32_t character)
{
    static constexpr std::array<std::string_view, 34> kNames = {
        "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS", "TAB", "LF",  "VT", "FF", "CR", "SO", "SI", "DLE",
        "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB", "CAN", "EM", "SUB", "ESC", "FS", "GS", "RS", "US", "SP", "DEL"};
    const std::uint32_t control = character == 0x7F ? 0x21 : character >= kControlPictures ? character - kControlPictures : character;
    std::string name = "[";
    if (control < kNames.size()) {
        name += kNames[control];
    } else {
        name += "U+";
        appendHex(name, character, character > 0xFFFF ? 5 : 4);
    }
    name += ']';
    return name;
}

} // namespace

TextShaper::TextShaper(FontBook &fonts) : m_fonts(fonts), m_buffer(hb_buffer_create()) {}

TextShaper::~TextShaper()
{
    hb_buffer_destroy(m_buffer);
}

void TextShaper::decode(std::string_view text)
{
    m_text = text;
    m_characters.clear();
    m_offsets.clear();
    std::string_view rest = text;
    while (!rest.empty()) {
        m_offsets.push_back(static_cast<std::uint32_t>(text.size() - rest.size()));
        m_characters.push_back(utf8::take(rest));
    }
    m_offsets.push_back(static_cast<std::uint32_t>(text.size()));
}

void TextShaper::shape(std::string_view text, TextStyle style, ShapedText &out)
{
    decode(text);
    m_style = style;
    const std::size_t count = m_characters.size();
    m_levels.assign(count, 0);
    m_scripts.assign(count, HB_SCRIPT_COMMON);
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= count; ++i) {
        if (i < count && !isLineBreak(m_characters[i]))
            continue;
        shapeParagraph(begin, i, out);
        if (i == count)
            break;
        const bool pair = m_characters[i] == U'\r' && i + 1 < count && m_characters[i + 1] == U'\n';
        appendCluster(i, i + 1, out).lineBreak = true;
        i += pair ? 1 : 0;
        begin = i + 1;
    }
}

void TextShaper::shapeParagraph(std::size_t begin, std::size_t end, ShapedText &out)
{
    findLevels(begin, end);
    findScripts(begin, end);
    for (std::size_t i = begin; i < end;) {
        const std::uint32_t character = m_characters[i];
        if (isNamed(character)) {
            appendNamed(i++, out);
        } else if (character == U'\t') {
            appendTab(i++, out);
        } else {
            const Run run = takeRun(i, end);
            if (run.face == FontBook::kNoFace)
                appendMissing(run.begin, run.end, out);
            else
                shapeRun(run, begin, end, out);
            i = run.end;
        }
    }
}

void TextShaper::findLevels(std::size_t begin, std::size_t end)
{
    constexpr std::uint32_t kFirstRightToLeft = 0x590;
    m_rightToLeft = false;
    bool needed = false;
    m_bidiCharacters.clear();
    for (std::size_t i = begin; i < end; ++i) {
        const bool hidden = utf8::isHidden(m_characters[i]);
        m_bidiCharacters.push_back(hidden ? kObjectReplacement : m_characters[i]);
        needed |= !hidden && m_characters[i] >= kFirstRightToLeft;
    }
    if (!needed)
        return;
    const auto count = static_cast<FriBidiStrIndex>(end - begin);
    m_bidiTypes.resize(end - begin);
    m_brackets.resize(end - begin);
    fribidi_get_bidi_types(m_bidiCharacters.data(), count, m_bidiTypes.data());
    fribidi_get_bracket_types(m_bidiCharacters.data(), count, m_bidiTypes.data(), m_brackets.data());
    FriBidiParType direction = FRIBIDI_PAR_ON; // by the first strong character
    auto *levels = m_levels.data() + begin;
    if (fribidi_get_par_embedding_levels_ex(m_bidiTypes.data(), m_brackets.data(), count, &direction, levels) == 0)
        raise(err::outOfMemory, QStringLiteral("A cell of right-to-left text is too long to be set."), kFrameworkSource);
    m_rightToLeft = FRIBIDI_IS_RTL(direction);
}

void TextShaper::findScripts(std::size_t begin, std::size_t end)
{
    hb_unicode_funcs_t *unicode = hb_unicode_funcs_get_default();
    hb_script_t current = HB_SCRIPT_COMMON;
    std::size_t leading = begin; // characters before the first one of a definite script take that script
    for (std::size_t i = begin; i < end; ++i) {
        const hb_script_t script = hb_unicode_script(unicode, m_characters[i]);
        if (script != HB_SCRIPT_COMMON && script != HB_SCRIPT_INHERITED && script != HB_SCRIPT_UNKNOWN) {
            if (current == HB_SCRIPT_COMMON)
                for (; leading < i; ++leading)
                    m_scripts[leading] = script;
            current = script;
        }
        m_scripts[i] = current;
    }
}

TextShaper::Run TextShaper::takeRun(std::size_t begin, std::size_t end)
{
    Run run;
    run.begin = begin;
    run.level = static_cast<std::uint8_t>(m_levels[begin]);
    run.script = m_scripts[begin];
    run.face = m_fonts.slot(m_style, m_characters[begin]).face;
    std::size_t i = begin + 1;
    for (; i < end; ++i) {
        const std::uint32_t character = m_characters[i];
        if (m_levels[i] != m_levels[begin] || character == U'\t' || isNamed(character))
            break;
        if (run.face == FontBook::kNoFace) { // one box stands for a character and what modifies it
            if (i - begin == kMostMapped || (!isJoinerOrSelector(character) && !isMark(character)))
                break;
            continue;
        }
        if (m_scripts[i] != run.script)
            break;
        if (isJoinerOrSelector(character) || m_fonts.slot(m_style, character).face == run.face)
            continue;
        const bool dependent = character == U' ' || isMark(character);
        if (!dependent || m_fonts.face(static_cast<std::size_t>(run.face)).glyph(character) == 0)
            break;
    }
    run.end = i;
    return run;
}

void TextShaper::shapeRun(const Run &run, std::size_t paragraphBegin, std::size_t paragraphEnd, ShapedText &out)
{
    hb_buffer_clear_contents(m_buffer);
    hb_buffer_add_utf32(m_buffer, m_characters.data() + paragraphBegin, static_cast<int>(paragraphEnd - paragraphBegin),
                        static_cast<unsigned>(run.begin - paragraphBegin), static_cast<int>(run.end - run.begin));
    const bool backwards = (run.level & 1) != 0;
    hb_buffer_set_cluster_level(m_buffer,
                                backwards ? HB_BUFFER_CLUSTER_LEVEL_MONOTONE_GRAPHEMES : HB_BUFFER_CLUSTER_LEVEL_MONOTONE_CHARACTERS);
    hb_buffer_set_direction(m_buffer, backwards ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_buffer_set_script(m_buffer, run.script);
    static constexpr hb_feature_t kNoTaste[] = {{HB_TAG('l', 'i', 'g', 'a'), 0, 0, HB_FEATURE_GLOBAL_END},
                                                {HB_TAG('c', 'l', 'i', 'g'), 0, 0, HB_FEATURE_GLOBAL_END},
                                                {HB_TAG('k', 'e', 'r', 'n'), 0, 0, HB_FEATURE_GLOBAL_END}};
    hb_shape(m_fonts.face(static_cast<std::size_t>(run.face)).font(), m_buffer, kNoTaste, isPlainScript(run.script) ? 3 : 0);

    unsigned count = 0;
    const hb_glyph_info_t *infos = hb_buffer_get_glyph_infos(m_buffer, &count);
    const auto position = [&](unsigned glyph) { return paragraphBegin + infos[glyph].cluster; };
    const auto groupEnd = [&](unsigned glyph) {
        unsigned end = glyph + 1;
        while (end < count && infos[end].cluster == infos[glyph].cluster)
            ++end;
        return end;
    };
    // Reading order is that of the glyphs, or for right-to-left runs its reverse.
    if (!backwards) {
        for (unsigned i = 0; i < count;) {
            const unsigned end = groupEnd(i);
            appendGroup(run, i, end, position(i), end < count ? position(end) : run.end, out);
            i = end;
        }
        return;
    }
    for (unsigned end = count; end > 0;) {
        unsigned begin = end - 1;
        while (begin > 0 && infos[begin - 1].cluster == infos[end - 1].cluster)
            --begin;
        appendGroup(run, begin, end, position(begin), begin > 0 ? position(begin - 1) : run.end, out);
        end = begin;
    }
}

/// The code of a glyph that shows the characters from \p begin to \p end, which may be none.
FontBook::GlyphCode TextShaper::codeFor(const Run &run, std::uint32_t glyph, std::size_t begin, std::size_t end)
{
    if (glyph == 0)
        return m_fonts.missingGlyph(textOf(begin, end));
    if (end - begin == 1) {
        const FontBook::Slot &slot = m_fonts.slot(m_style, m_characters[begin]);
        if (slot.kind == FontBook::Kind::Simple && slot.face == run.face &&
            m_fonts.face(static_cast<std::size_t>(run.face)).glyph(m_characters[begin]) == glyph)
            return {slot.font, slot.code, slot.width};
    }
    return m_fonts.glyphCode(run.face, glyph, textOf(begin, end));
}

ShapedGlyph TextShaper::placed(const Run &run, unsigned index, const FontBook::GlyphCode &code) const
{
    const hb_glyph_position_t &position = hb_buffer_get_glyph_positions(m_buffer, nullptr)[index];
    const FontFace &face = m_fonts.face(static_cast<std::size_t>(run.face));
    const bool missing = hb_buffer_get_glyph_infos(m_buffer, nullptr)[index].codepoint == 0;
    return {code.font,
            code.code,
            face.toEm(position.x_offset),
            face.toEm(position.y_offset),
            missing ? Em{code.width} : face.toEm(position.x_advance),
            code.width};
}

/// Makes a cluster of the glyphs from \p first to \p last, which show the characters from \p begin to \p end.
void TextShaper::appendGroup(const Run &run, unsigned first, unsigned last, std::size_t begin, std::size_t end, ShapedText &out)
{
    const hb_glyph_info_t *infos = hb_buffer_get_glyph_infos(m_buffer, nullptr);
    TextCluster &cluster = appendCluster(begin, end, out);
    cluster.level = run.level;
    if (isMark(m_characters[begin]) || isJoinerOrSelector(m_characters[begin]))
        cluster.rules |= kNeverBefore;
    cluster.missing = std::any_of(infos + first, infos + last, [](const hb_glyph_info_t &info) { return info.codepoint == 0; });
    const std::size_t glyphs = last - first;
    if ((run.level & 1) != 0 && end - begin > 1 && !cluster.missing) {
        appendOneByOne(run, first, last, begin, end, out);
    } else {
        cluster.actualText = glyphs > 1 || end - begin > kMostMapped;
        end = std::min(end, begin + kMostMapped);
        for (unsigned i = first; i < last; ++i)
            out.glyphs.push_back(placed(run, i, codeFor(run, infos[i].codepoint, begin, i == first ? end : begin)));
    }
    for (auto glyph = out.glyphs.begin() + cluster.glyph; glyph != out.glyphs.end(); ++glyph)
        cluster.advance += glyph->advance;
    cluster.glyphEnd = static_cast<std::uint32_t>(out.glyphs.size());
}

/// Readers turn right-to-left text round character by character. So each code there stands for one character, the last one leftmost: the
/// glyph that takes room shares it with blanks for the other characters it shows, and marks are drawn outside the text.
void TextShaper::appendOneByOne(const Run &run, unsigned first, unsigned last, std::size_t begin, std::size_t end, ShapedText &out)
{
    const hb_glyph_info_t *infos = hb_buffer_get_glyph_infos(m_buffer, nullptr);
    const hb_glyph_position_t *positions = hb_buffer_get_glyph_positions(m_buffer, nullptr);
    unsigned widest = first;
    for (unsigned i = first; i < last; ++i)
        if (positions[i].x_advance > positions[widest].x_advance)
            widest = i;
    for (unsigned i = first; i < last; ++i) {
        if (i != widest) {
            out.glyphs.push_back(placed(run, i, m_fonts.glyphCode(run.face, infos[i].codepoint, {})));
            out.glyphs.back().inkOnly = true;
            continue;
        }
        ShapedGlyph glyph = placed(run, i, {});
        const Em part = glyph.advance / static_cast<Em>(end - begin);
        glyph.advance -= part * static_cast<Em>(end - begin - 1);
        const FontBook::GlyphCode code = m_fonts.partCode(run.face, infos[i].codepoint, textOf(end - 1, end), glyph.advance);
        glyph.font = code.font;
        glyph.code = code.code;
        glyph.width = code.width;
        out.glyphs.push_back(glyph);
        for (std::size_t shown = end - 1; shown > begin; --shown) {
            const FontBook::GlyphCode blank = m_fonts.blankCode(run.face, textOf(shown - 1, shown), part);
            out.glyphs.push_back({blank.font, blank.code, 0, 0, part, blank.width});
        }
    }
}

/// Controls are shown by their names, and so are pictures of controls that no shipped font has.
bool TextShaper::isNamed(std::uint32_t character)
{
    return utf8::isHidden(character) || (isControlPicture(character) && m_fonts.slot(m_style, character).missing);
}

void TextShaper::appendNamed(std::size_t index, ShapedText &out)
{
    TextCluster &cluster = appendCluster(index, index + 1, out);
    cluster.control = true;
    cluster.rules = kNoRule;
    for (const char letter : nameOf(m_characters[index])) {
        const FontBook::Slot &slot = m_fonts.slot(m_style, static_cast<unsigned char>(letter));
        out.glyphs.push_back({slot.font, slot.code, 0, 0, slot.width, slot.width});
        cluster.advance += slot.width;
    }
    cluster.glyphEnd = static_cast<std::uint32_t>(out.glyphs.size());
}

void TextShaper::appendTab(std::size_t index, ShapedText &out)
{
    constexpr int kSpaces = 4;
    const FontBook::Slot &space = m_fonts.slot(m_style, U' ');
    TextCluster &cluster = appendCluster(index, index + 1, out);
    cluster.rules = kSpace;
    for (int i = 0; i < kSpaces; ++i)
        out.glyphs.push_back({space.font, space.code, 0, 0, space.width, space.width});
    cluster.advance = kSpaces * space.width;
    cluster.glyphEnd = static_cast<std::uint32_t>(out.glyphs.size());
}

void TextShaper::appendMissing(std::size_t begin, std::size_t end, ShapedText &out)
{
    TextCluster &cluster = appendCluster(begin, end, out);
    if (isJoinerOrSelector(m_characters[begin]))
        return;
    const FontBook::GlyphCode box = m_fonts.missingGlyph(textOf(begin, end));
    cluster.missing = true;
    cluster.advance = box.width;
    out.glyphs.push_back({box.font, box.code, 0, 0, box.width, box.width});
    cluster.glyphEnd = static_cast<std::uint32_t>(out.glyphs.size());
}

TextCluster &TextShaper::appendCluster(std::size_t begin, std::size_t end, ShapedText &out) const
{
    TextCluster &cluster = out.clusters.emplace_back();
    cluster.text = m_offsets[begin];
    cluster.textEnd = m_offsets[end];
    cluster.glyph = cluster.glyphEnd = static_cast<std::uint32_t>(out.glyphs.size());
    cluster.level = static_cast<std::uint8_t>(m_levels[begin]);
    cluster.rules = breakRules(m_characters[begin]);
    cluster.rightToLeft = m_rightToLeft;
    return cluster;
}

std::string_view TextShaper::textOf(std::size_t begin, std::size_t end) const
{
    return m_text.substr(m_offsets[begin], m_offsets[end] - m_offsets[begin]);
}

} // namespace qm::pdf
