#include "documents/pdf/TextLayout.h"

#include "core/Utf8.h"
#include "documents/pdf/CharacterRules.h"
#include "documents/pdf/PdfSyntax.h"

#include <algorithm>
#include <array>

namespace qm::pdf {

namespace {

/// Walks over the pieces (characters or clusters) of one text and finds where its lines end.
class LineBreaker final
{
public:
    LineBreaker(std::vector<TextLine> &lines, std::uint32_t begin, Em limit) : m_lines(lines), m_limit(limit)
    {
        m_line.begin = m_breakAt = m_preferredAt = begin;
    }

    /// A visible piece from \p at to \p next.
    void add(std::uint32_t at, std::uint32_t next, Em advance)
    {
        while (m_width + advance > m_limit && at > m_line.begin)
            breakBefore(at);
        m_width += advance;
        m_line.width = m_width;
        m_line.end = next;
    }

    void addBlank(std::uint32_t next, Em advance)
    {
        m_width += advance;
        m_line.end = next;
        allowBreak(next);
    }

    /// A line may end at \p at, all of it having been added.
    void allowBreak(std::uint32_t at)
    {
        m_breakAt = at;
        m_breakWidth = m_width;
        m_inkAtBreak = m_line.width;
    }

    /// A word too wide for a line is best broken at \p at, all before it having been added.
    void preferBreak(std::uint32_t at)
    {
        m_preferredAt = at;
        m_preferredWidth = m_width;
    }

    /// The line ends before \p end; the next begins at \p next.
    void endLine(std::uint32_t end, std::uint32_t next)
    {
        m_lines.push_back({m_line.begin, end, m_line.width});
        m_line = {next, next, 0};
        m_width = 0;
        m_breakAt = m_preferredAt = next;
    }

    [[nodiscard]] Em width() const { return m_width; }

private:
    void breakBefore(std::uint32_t at)
    {
        if (m_breakAt > m_line.begin)
            carryOver(m_breakAt, m_inkAtBreak, m_breakWidth, at);
        else if (m_preferredAt > m_line.begin && m_preferredWidth * 2 > m_limit)
            carryOver(m_preferredAt, m_preferredWidth, m_preferredWidth, at);
        else
            endLine(at, at);
    }

    /// Ends the line at \p end, where it was \p ink wide without and \p width with its last blanks; the rest up to \p at begins the next.
    void carryOver(std::uint32_t end, Em ink, Em width, std::uint32_t at)
    {
        m_lines.push_back({m_line.begin, end, ink});
        m_line = {end, at, std::max(0, m_line.width - width)};
        m_width -= width;
        m_preferredWidth -= width;
        m_breakAt = end;
        m_preferredAt = std::max(m_preferredAt, end);
    }

    std::vector<TextLine> &m_lines;
    Em m_limit;
    TextLine m_line;
    Em m_width = 0;
    std::uint32_t m_breakAt = 0;
    Em m_breakWidth = 0, m_inkAtBreak = 0;
    std::uint32_t m_preferredAt = 0;
    Em m_preferredWidth = 0;
};

std::string_view withoutFinalBreaks(std::string_view text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

constexpr std::array<bool, 128> joints()
{
    std::array<bool, 128> table{};
    for (const char joint : std::string_view("-_/\\.,;:@=&?|+"))
        table[static_cast<std::size_t>(joint)] = true;
    return table;
}
/// ASCII characters after which paths, addresses and names are best broken.
constexpr std::array<bool, 128> kJoints = joints();

} // namespace

TextBlock TextLayout::wrap(std::string_view text, TextStyle style, Em limit)
{
    text = withoutFinalBreaks(text);
    TextBlock block{text, style, false, false, static_cast<std::uint32_t>(m_lines.size()), 0};
    if (!wrapPlain(text, style, limit)) {
        m_lines.resize(block.firstLine);
        const auto begin = static_cast<std::uint32_t>(m_shaped.clusters.size());
        m_shaper.shape(text, style, m_shaped);
        wrapShaped(text, begin, static_cast<std::uint32_t>(m_shaped.clusters.size()), limit);
        block.shaped = true;
    }
    block.lineCount = static_cast<std::uint32_t>(m_lines.size()) - block.firstLine;
    return block;
}

bool TextLayout::wrapPlain(std::string_view text, TextStyle style, Em limit)
{
    const FontBook::Ascii &ascii = m_fonts.ascii(style);
    LineBreaker breaker(m_lines, 0, limit);
    const auto size = static_cast<std::uint32_t>(text.size());
    std::uint8_t last = kNoRule;
    for (std::uint32_t at = 0; at < size;) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte > 0x20 && byte < 0x7F) {
            if (last != kNoRule && mayBreakBefore(kNoRule, last))
                breaker.allowBreak(at);
            breaker.add(at, at + 1, ascii.width[byte]);
            last = kNoRule;
            ++at;
            if (kJoints[byte])
                breaker.preferBreak(at);
        } else if (byte == ' ') {
            breaker.addBlank(++at, ascii.width[byte]);
            last = kNoRule;
        } else if (byte == '\t') {
            breaker.addBlank(++at, tabBlanks(breaker.width(), ascii.width[' ']) * ascii.width[' ']);
            last = kNoRule;
        } else if (byte == '\n' || byte == '\r') {
            const std::uint32_t next = byte == '\r' && at + 1 < size && text[at + 1] == '\n' ? at + 2 : at + 1;
            breaker.endLine(at, next);
            at = next;
            last = kNoRule;
        } else if (byte < 0x80) {
            return false;
        } else {
            std::string_view rest = text.substr(at);
            const FontBook::Slot &slot = m_fonts.slot(style, utf8::take(rest));
            if (slot.kind == FontBook::Kind::Complex)
                return false;
            const auto next = static_cast<std::uint32_t>(size - rest.size());
            if (slot.rules == kSpace) {
                breaker.addBlank(next, slot.width);
            } else {
                if (mayBreakBefore(slot.rules, last))
                    breaker.allowBreak(at);
                breaker.add(at, next, slot.width);
            }
            last = slot.rules;
            at = next;
        }
    }
    breaker.endLine(size, size);
    return true;
}

void TextLayout::wrapShaped(std::string_view text, std::uint32_t begin, std::uint32_t end, Em limit)
{
    LineBreaker breaker(m_lines, begin, limit);
    std::uint8_t last = kNoRule;
    for (std::uint32_t i = begin; i < end; ++i) {
        const TextCluster &cluster = m_shaped.clusters[i];
        if (cluster.lineBreak) {
            breaker.endLine(i, i + 1);
        } else if (cluster.rules == kSpace) {
            breaker.addBlank(i + 1, cluster.advance);
        } else {
            if (mayBreakBefore(cluster.rules, last))
                breaker.allowBreak(i);
            breaker.add(i, i + 1, cluster.advance);
            const auto byte = static_cast<unsigned char>(text[cluster.textEnd - 1]);
            if (byte < 0x80 && kJoints[byte])
                breaker.preferBreak(i + 1);
        }
        last = cluster.rules;
    }
    breaker.endLine(end, end);
}

TextBlock TextLayout::wrapAtMost(std::string_view text, TextStyle style, Em limit, std::uint32_t mostLines)
{
    TextBlock block = wrap(text, style, limit);
    if (block.lineCount > mostLines) {
        block.lineCount = mostLines;
        m_lines.resize(block.firstLine + mostLines);
        cutLine(block, limit);
    }
    return block;
}

TextBlock TextLayout::fit(std::string_view text, TextStyle style, Em limit)
{
    TextBlock block{text, style, false, false, static_cast<std::uint32_t>(m_lines.size()), 1};
    if (fitPlain(text, style, limit, block))
        return block;
    // No line holds more than this; a longer text need not be shaped to its end.
    constexpr std::size_t kMostBytes = 8192;
    bool longer = text.size() > kMostBytes;
    if (longer) {
        std::size_t cut = kMostBytes;
        while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
            --cut;
        text = text.substr(0, cut);
    }
    block.text = text;
    block.shaped = true;
    const auto begin = static_cast<std::uint32_t>(m_shaped.clusters.size());
    m_shaper.shape(text, style, m_shaped);
    fitShaped(begin, static_cast<std::uint32_t>(m_shaped.clusters.size()), limit, block);
    if (longer && !block.ellipsis)
        cutLine(block, limit);
    return block;
}

bool TextLayout::fitPlain(std::string_view text, TextStyle style, Em limit, TextBlock &block)
{
    const FontBook::Ascii &ascii = m_fonts.ascii(style);
    Em width = 0;
    Em ink = 0;
    std::string_view rest = text;
    while (!rest.empty()) {
        const auto byte = static_cast<unsigned char>(rest.front());
        Em advance = 0;
        bool blank = false;
        if (byte >= 0x20 && byte < 0x7F) {
            advance = ascii.width[byte];
            blank = byte == ' ';
            rest.remove_prefix(1);
        } else {
            if (byte < 0x80)
                return false;
            const FontBook::Slot &slot = m_fonts.slot(style, utf8::take(rest));
            if (slot.kind == FontBook::Kind::Complex)
                return false;
            advance = slot.width;
        }
        width += advance;
        if (!blank)
            ink = width;
        if (ink > limit)
            break;
    }
    m_lines.push_back({0, static_cast<std::uint32_t>(text.size() - rest.size()), ink});
    if (ink > limit)
        cutLine(block, limit);
    return true;
}

void TextLayout::fitShaped(std::uint32_t begin, std::uint32_t end, Em limit, TextBlock &block)
{
    TextLine line{begin, end, 0};
    Em width = 0;
    for (std::uint32_t i = begin; i < end; ++i) {
        width += m_shaped.clusters[i].advance;
        if (m_shaped.clusters[i].rules != kSpace)
            line.width = width;
    }
    m_lines.push_back(line);
    if (line.width > limit)
        cutLine(block, limit);
}

/// Shortens the last line of \p block until an ellipsis fits behind it.
void TextLayout::cutLine(TextBlock &block, Em limit)
{
    TextLine &line = m_lines[block.firstLine + block.lineCount - 1];
    const Em room = limit - m_fonts.slot(block.style, kEllipsis).width;
    Em width = 0;
    std::uint32_t at = line.begin;
    line.width = 0;
    while (at < line.end) {
        std::uint32_t next = at + 1;
        Em advance = 0;
        bool blank = false;
        if (block.shaped) {
            advance = m_shaped.clusters[at].advance;
            blank = m_shaped.clusters[at].rules == kSpace;
        } else {
            std::string_view rest = block.text.substr(at);
            const FontBook::Slot &slot = m_fonts.slot(block.style, utf8::take(rest));
            next = static_cast<std::uint32_t>(block.text.size() - rest.size());
            advance = slot.width;
            blank = slot.rules == kSpace;
        }
        if (width + advance > room)
            break;
        width += advance;
        at = next;
        if (!blank)
            line.width = width;
    }
    line.end = at;
    line.width += limit - room;
    block.ellipsis = true;
}

bool TextLayout::isRightToLeft(const TextBlock &block, std::uint32_t index) const
{
    if (!block.shaped)
        return false;
    const TextLine &found = line(block, index);
    return found.begin < found.end && m_shaped.clusters[found.begin].rightToLeft;
}

Em TextLayout::hangingBlanks(const TextLine &shapedLine) const
{
    Em width = 0;
    for (std::uint32_t i = shapedLine.end; i > shapedLine.begin && m_shaped.clusters[i - 1].rules == kSpace; --i)
        width += m_shaped.clusters[i - 1].advance;
    return width;
}

Em TextLayout::measure(std::string_view text, TextStyle style)
{
    const TextBlock block = fit(text, style, kEndless);
    return line(block, 0).width;
}

} // namespace qm::pdf
