#include "documents/pdf/TextCanvas.h"

#include "core/Utf8.h"
#include "documents/Palette.h"
#include "documents/pdf/CharacterRules.h"
#include "documents/pdf/PdfSyntax.h"

#include <algorithm>
#include <array>

namespace qm::pdf {

namespace {

/// How a byte of plain text goes into a literal string.
enum class ByteKind : std::uint8_t { Plain, Escaped, Tab, Multibyte };

constexpr std::array<ByteKind, 256> byteKinds()
{
    std::array<ByteKind, 256> kinds{};
    for (std::size_t i = 0x80; i < kinds.size(); ++i)
        kinds[i] = ByteKind::Multibyte;
    kinds['('] = kinds[')'] = kinds['\\'] = ByteKind::Escaped;
    kinds['\t'] = ByteKind::Tab;
    return kinds;
}
constexpr std::array<ByteKind, 256> kByteKinds = byteKinds();

palette::Colour colourOf(Ink ink)
{
    switch (ink) {
    case Ink::Faint:
        return palette::kSoft;
    case Ink::Title:
        return palette::kNavy;
    case Ink::Notice:
        return palette::kNotice;
    case Ink::Alarm:
        return palette::kAlarm;
    case Ink::Text:
        break;
    }
    return palette::kInk;
}

} // namespace

void TextCanvas::clear()
{
    m_out.clear();
    m_x = m_y = m_size = 0;
    m_font = kNoFont;
    m_ink = Ink::Text;
}

void TextCanvas::setInk(Ink ink)
{
    if (ink == m_ink)
        return;
    m_ink = ink;
    appendColour(m_out, colourOf(ink));
    m_out += "rg\n";
}

std::ptrdiff_t TextCanvas::moveTail(const Mark &from, TextCanvas &to, Tenths dy)
{
    to.moveTo(from.x, from.y + dy);
    to.setInk(from.ink);
    if (from.font != kNoFont)
        to.setFont(static_cast<std::uint16_t>(from.font), from.size);
    const std::ptrdiff_t grown = static_cast<std::ptrdiff_t>(to.m_out.size()) - static_cast<std::ptrdiff_t>(from.at);
    to.m_out.append(m_out, from.at);
    to.m_x = m_x;
    to.m_y = m_y + dy;
    to.m_font = m_font;
    to.m_size = m_size;
    to.m_ink = m_ink;
    m_out.resize(from.at);
    m_x = from.x;
    m_y = from.y;
    m_font = from.font;
    m_size = from.size;
    m_ink = from.ink;
    return grown;
}

void TextCanvas::moveTo(Tenths x, Tenths y)
{
    appendOperand(m_out, x - m_x);
    appendOperand(m_out, y - m_y);
    m_out += "Td\n";
    m_x = x;
    m_y = y;
}

void TextCanvas::setFont(std::uint16_t font, Tenths size)
{
    if (m_font == font && m_size == size)
        return;
    closeString();
    m_out += "/F";
    appendOperand(m_out, font);
    appendOperand(m_out, size);
    m_out += "Tf\n";
    m_font = font;
    m_size = size;
}

/// Ends the string, and the array around it, that is being shown.
void TextCanvas::closeString()
{
    if (m_open == Open::Literal)
        m_out += m_inArray ? ")" : ")Tj\n";
    else if (m_open == Open::Hex)
        m_out += m_inArray ? ">" : ">Tj\n";
    m_open = Open::Nothing;
    if (m_inArray)
        m_out += "]TJ\n";
    m_inArray = false;
}

void TextCanvas::openLiteral()
{
    if (m_open == Open::Literal)
        return;
    closeString();
    m_out += '(';
    m_open = Open::Literal;
}

void TextCanvas::openHex()
{
    if (m_open == Open::Hex)
        return;
    closeString();
    m_out += '<';
    m_open = Open::Hex;
}

void TextCanvas::drawLine(const TextBlock &block, std::uint32_t index, Tenths left, Tenths right, Place place, Tenths y, Tenths size)
{
    const TextLine &line = m_layout.line(block, index);
    if (line.begin == line.end && !block.ellipsis)
        return;
    const Tenths spare = right - left - (line.width * size + 500) / 1000;
    Tenths x = left;
    if (place == Place::Right || (place == Place::Start && block.shaped && m_layout.isRightToLeft(block, index)))
        x += spare;
    else if (place == Place::Centre)
        x += spare / 2;
    x = std::max(x, left);
    // Blanks at the end of a right-to-left line stand left of it, outside its width.
    if (m_layout.isRightToLeft(block, index))
        x -= m_layout.hangingBlanks(line) * size / 1000;
    drawLine(block, index, x, y, size);
}

void TextCanvas::drawLine(const TextBlock &block, std::uint32_t index, Tenths x, Tenths y, Tenths size)
{
    const TextLine &line = m_layout.line(block, index);
    const bool cut = block.ellipsis && index + 1 == block.lineCount;
    moveTo(x, y);
    const bool ellipsisFirst = cut && m_layout.isRightToLeft(block, index);
    m_pen = 0;
    if (ellipsisFirst) {
        drawEllipsis(block.style, size);
        m_pen = m_fonts.slot(block.style, kEllipsis).width;
    }
    if (block.shaped)
        drawShaped(block, line, size);
    else
        drawPlain(block.text.substr(line.begin, line.end - line.begin), block.style, size);
    if (cut && !ellipsisFirst)
        drawEllipsis(block.style, size);
    closeString();
    drawMarks(size);
}

void TextCanvas::drawPlain(std::string_view text, TextStyle style, Tenths size)
{
    const FontBook::Ascii &ascii = m_fonts.ascii(style);
    std::size_t at = 0;
    Em tabPosition = 0;
    std::size_t tabMeasured = 0; // tabPosition is the width of the bytes before this
    while (at < text.size()) {
        const ByteKind kind = kByteKinds[static_cast<unsigned char>(text[at])];
        if (kind == ByteKind::Multibyte) {
            std::string_view rest = text.substr(at);
            const FontBook::Slot &slot = m_fonts.slot(style, utf8::take(rest));
            m_missing += slot.missing ? 1 : 0;
            appendSlot(slot, size);
            at = text.size() - rest.size();
            continue;
        }
        setFont(ascii.font, size);
        openLiteral();
        if (kind == ByteKind::Plain) {
            const std::size_t begin = at;
            do {
                ascii.used[static_cast<unsigned char>(text[at])] = true;
                ++at;
            } while (at < text.size() && kByteKinds[static_cast<unsigned char>(text[at])] == ByteKind::Plain);
            m_out.append(text, begin, at - begin);
            continue;
        }
        if (kind == ByteKind::Escaped) {
            ascii.used[static_cast<unsigned char>(text[at])] = true;
            m_out += '\\';
            m_out += text[at];
        } else {
            for (std::string_view before = text.substr(tabMeasured, at - tabMeasured); !before.empty();)
                tabPosition += m_fonts.slot(style, utf8::take(before)).width;
            const int blanks = tabBlanks(tabPosition, ascii.width[' ']);
            ascii.used[' '] = true;
            m_out.append(static_cast<std::size_t>(blanks), ' ');
            tabPosition += blanks * ascii.width[' '];
            tabMeasured = at + 1;
        }
        ++at;
    }
}

void TextCanvas::appendSlot(const FontBook::Slot &slot, Tenths size)
{
    setFont(slot.font, size);
    if (slot.wide) {
        openHex();
        appendHex(m_out, slot.code, 4);
        return;
    }
    // Narrow codes beyond ASCII need no escape; an ASCII character that comes this way may.
    openLiteral();
    const char code = static_cast<char>(slot.code);
    if (code == '(' || code == ')' || code == '\\')
        m_out += '\\';
    m_out += code;
}

void TextCanvas::drawEllipsis(TextStyle style, Tenths size)
{
    closeString();
    appendSlot(m_fonts.slot(style, kEllipsis), size);
    closeString();
}

/// The clusters of a line from left to right: rules L1 and L2 of the Unicode bidirectional algorithm.
const std::vector<std::uint32_t> &TextCanvas::visualOrder(const TextLine &line)
{
    const std::vector<TextCluster> &clusters = m_layout.shaped().clusters;
    m_order.clear();
    m_orderLevels.clear();
    std::uint8_t highest = 0;
    for (std::uint32_t i = line.begin; i < line.end; ++i) {
        m_order.push_back(i);
        m_orderLevels.push_back(clusters[i].level);
    }
    const std::uint8_t base = !m_order.empty() && clusters[line.begin].rightToLeft ? 1 : 0;
    for (std::size_t i = m_order.size(); i > 0 && clusters[m_order[i - 1]].rules == kSpace; --i)
        m_orderLevels[i - 1] = base;
    for (const std::uint8_t level : m_orderLevels)
        highest = std::max(highest, level);
    const auto offset = [&](std::size_t index) { return static_cast<std::ptrdiff_t>(index); };
    for (std::uint8_t level = highest; level > 0; --level)
        for (std::size_t i = 0; i < m_order.size(); ++i) {
            std::size_t end = i;
            while (end < m_order.size() && m_orderLevels[end] >= level)
                ++end;
            std::reverse(m_order.begin() + offset(i), m_order.begin() + offset(end));
            std::reverse(m_orderLevels.begin() + offset(i), m_orderLevels.begin() + offset(end));
            i = end;
        }
    return m_order;
}

void TextCanvas::drawShaped(const TextBlock &block, const TextLine &line, Tenths size)
{
    for (const std::uint32_t index : visualOrder(line))
        drawCluster(block, m_layout.shaped().clusters[index], size);
    setRise(0, size);
}

/// Draws the marks of the line just drawn. They are ink, not text: the characters they show have codes in the line.
void TextCanvas::drawMarks(Tenths size)
{
    if (m_marks.empty())
        return;
    const Tenths x = m_x;
    const Tenths y = m_y;
    const auto scaled = [&](Em distance) { return (distance * size + (distance < 0 ? -500 : 500)) / 1000; };
    m_out += "/Span<</ActualText<FEFF>>>BDC\n";
    for (const DrawnMark &mark : m_marks) {
        moveTo(x + scaled(mark.x + mark.glyph.dx), y + scaled(mark.glyph.dy));
        setFont(mark.glyph.font, size);
        openHex();
        appendHex(m_out, mark.glyph.code, 4);
        closeString();
    }
    m_out += "EMC\n";
    m_marks.clear();
}

void TextCanvas::drawCluster(const TextBlock &block, const TextCluster &cluster, Tenths size)
{
    m_missing += cluster.missing ? 1 : 0;
    const Ink ink = m_ink;
    if (cluster.control) {
        closeString();
        setInk(Ink::Faint);
    }
    if (cluster.actualText) {
        closeString();
        m_out += "/Span<</ActualText";
        appendTextString(m_out, block.text.substr(cluster.text, cluster.textEnd - cluster.text));
        m_out += ">>BDC\n";
    }
    for (std::uint32_t i = cluster.glyph; i < cluster.glyphEnd; ++i)
        drawGlyph(m_layout.shaped().glyphs[i], size);
    if (cluster.actualText) {
        closeString();
        m_out += "EMC\n";
    }
    if (cluster.control) {
        closeString();
        setInk(ink);
    }
}

void TextCanvas::drawGlyph(const ShapedGlyph &glyph, Tenths size)
{
    if (glyph.inkOnly)
        m_marks.push_back({glyph, m_pen});
    m_pen += glyph.advance;
    if (glyph.inkOnly && glyph.advance == 0)
        return;
    setRise(glyph.inkOnly ? 0 : glyph.dy, size);
    setFont(glyph.font, size);
    if (!m_inArray) {
        closeString();
        m_out += '[';
        m_inArray = true;
    }
    if (glyph.inkOnly) {
        adjust(glyph.advance);
        return;
    }
    adjust(glyph.dx);
    if (m_open != Open::Hex) {
        m_out += '<';
        m_open = Open::Hex;
    }
    EmbeddedFont &font = *m_fonts.fonts()[glyph.font];
    if (!font.wide && glyph.code < 0x80)
        font.used[glyph.code] = true;
    appendHex(m_out, glyph.code, font.wide ? 4 : 2);
    adjust(glyph.advance - glyph.width - glyph.dx);
}

/// Moves the pen by \p distance inside the array being shown.
void TextCanvas::adjust(Em distance)
{
    if (distance == 0)
        return;
    if (m_open == Open::Hex)
        m_out += '>';
    m_open = Open::Nothing;
    appendOperand(m_out, -distance);
}

void TextCanvas::setRise(Em rise, Tenths size)
{
    if (rise == m_rise)
        return;
    closeString();
    m_rise = rise;
    appendOperand(m_out, (rise * size + (rise < 0 ? -500 : 500)) / 1000);
    m_out += "Ts\n";
}

} // namespace qm::pdf
