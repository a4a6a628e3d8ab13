#include "documents/pdf/FontEmbedder.h"

#include "core/RuntimeError.h"
#include "core/Utf8.h"
#include "documents/pdf/PdfSyntax.h"

#include <hb-subset.h>

#include <algorithm>
#include <vector>

namespace qm::pdf {

namespace {

constexpr hb_tag_t tagOf(const char (&name)[5])
{
    return HB_TAG(name[0], name[1], name[2], name[3]);
}

/// The tables a TrueType font program of a PDF file needs (ISO 32000-1, 9.9).
constexpr hb_tag_t kKept[] = {tagOf("glyf"), tagOf("loca"), tagOf("head"), tagOf("hhea"), tagOf("hmtx"),
                              tagOf("maxp"), tagOf("cvt "), tagOf("fpgm"), tagOf("prep")};
/// Tables that would draw further glyphs into the subset, or variations that the default instance does without.
constexpr hb_tag_t kDropped[] = {tagOf("GSUB"), tagOf("GPOS"), tagOf("GDEF"), tagOf("kern"), tagOf("morx"), tagOf("mort"), tagOf("kerx"),
                                 tagOf("name"), tagOf("post"), tagOf("fvar"), tagOf("gvar"), tagOf("avar"), tagOf("HVAR"), tagOf("VVAR"),
                                 tagOf("MVAR"), tagOf("STAT"), tagOf("COLR"), tagOf("CPAL"), tagOf("SVG "), tagOf("sbix"), tagOf("CBDT"),
                                 tagOf("CBLC"), tagOf("hdmx"), tagOf("VDMX"), tagOf("LTSH"), tagOf("DSIG"), tagOf("MATH"), tagOf("JSTF")};

template <typename T, void (*destroy)(T *)>
struct Releaser
{
    void operator()(T *object) const { destroy(object); }
};
using FaceHandle = std::unique_ptr<hb_face_t, Releaser<hb_face_t, hb_face_destroy>>;
using BlobHandle = std::unique_ptr<hb_blob_t, Releaser<hb_blob_t, hb_blob_destroy>>;
using InputHandle = std::unique_ptr<hb_subset_input_t, Releaser<hb_subset_input_t, hb_subset_input_destroy>>;
using PlanHandle = std::unique_ptr<hb_subset_plan_t, Releaser<hb_subset_plan_t, hb_subset_plan_destroy>>;

std::string_view bytesOf(hb_blob_t *blob)
{
    unsigned length = 0;
    const char *data = hb_blob_get_data(blob, &length);
    return {data, length};
}

void appendShort(std::string &out, std::uint32_t number)
{
    out.push_back(static_cast<char>(number >> 8 & 0xFF));
    out.push_back(static_cast<char>(number & 0xFF));
}

void appendLong(std::string &out, std::uint32_t number)
{
    appendShort(out, number >> 16);
    appendShort(out, number & 0xFFFF);
}

/// A cmap table that gives glyph glyphs[code - first] for each one-byte code: once as Macintosh (1,0), once as symbol font (3,0)
/// with the codes at U+F000, which are the two that readers of symbolic fonts look for (ISO 32000-1, 9.6.6.4).
std::string symbolCmap(std::uint32_t first, const std::vector<std::uint32_t> &glyphs)
{
    constexpr std::uint32_t kSymbolBase = 0xF000;
    const auto count = static_cast<std::uint32_t>(glyphs.size());
    const std::uint32_t trimmedLength = 10 + 2 * count;          // format 6
    const std::uint32_t segmentsLength = 16 + 2 * 8 + 2 * count; // format 4 with two segments
    std::string table;
    appendShort(table, 0);
    appendShort(table, 2);
    for (const auto &[platform, offset] : {std::pair{1U, 20U}, std::pair{3U, 20U + trimmedLength}}) {
        appendShort(table, platform);
        appendShort(table, 0);
        appendLong(table, offset);
    }
    for (const std::uint32_t number : {6U, trimmedLength, 0U, first, count})
        appendShort(table, number);
    for (const std::uint32_t glyph : glyphs)
        appendShort(table, glyph);
    for (const std::uint32_t number : {4U, segmentsLength, 0U, 4U, 4U, 1U, 0U}) // two segments, with their search fields
        appendShort(table, number);
    for (const std::uint32_t number : {kSymbolBase + first + count - 1, 0xFFFFU, 0U, kSymbolBase + first, 0xFFFFU}) // ends, pad, starts
        appendShort(table, number);
    for (const std::uint32_t number : {0U, 1U, 4U, 0U}) // deltas; the glyph array begins four bytes after the first offset
        appendShort(table, number);
    for (const std::uint32_t glyph : glyphs)
        appendShort(table, glyph);
    return table;
}

/// Writes one EmbeddedFont and everything it consists of.
class Embedder final
{
public:
    Embedder(const FontBook &book, const EmbeddedFont &font, std::size_t index, PdfFile &file)
        : m_font(font), m_face(book.face(font.face)), m_file(file)
    {
        for (std::size_t code = 0; code < font.codes.size(); ++code)
            if (appears(code))
                m_codes.push_back(static_cast<std::uint32_t>(code));
        // Six letters mark a subset (ISO 32000-1, 9.6.4); they tell the subsets of one file apart.
        m_name = "AAAAAA+" + m_face.postScriptName();
        for (std::size_t letter = 5, rest = index; rest > 0; rest /= 26, --letter)
            m_name[letter] = static_cast<char>('A' + rest % 26);
    }

    [[nodiscard]] bool isNeeded() const { return !m_codes.empty(); }

    /// \returns the font's object number.
    int write()
    {
        subset();
        const int toUnicode = m_file.reserve();
        m_file.writeStream(toUnicode, "", toUnicodeMap(), PdfFile::Packing::Small);
        const int program = m_file.reserve();
        std::string entries = "/Length1 ";
        appendNumber(entries, static_cast<std::int64_t>(bytesOf(m_program.get()).size()));
        m_file.writeStream(program, entries, bytesOf(m_program.get()), PdfFile::Packing::Small);
        const int descriptor = m_file.reserve();
        m_file.writeObject(descriptor, descriptorBody(program));
        return m_font.wide ? writeWide(toUnicode, descriptor) : writeNarrow(toUnicode, descriptor);
    }

private:
    [[nodiscard]] bool appears(std::size_t code) const
    {
        if (m_font.ascii && code < 0x80)
            return m_font.used[code];
        return m_font.codes[code].glyph != 0;
    }

    [[nodiscard]] std::uint32_t newGlyph(std::uint32_t code) const
    {
        const hb_codepoint_t glyph = hb_map_get(hb_subset_plan_old_to_new_glyph_mapping(m_plan.get()), m_font.codes[code].glyph);
        return glyph == HB_MAP_VALUE_INVALID ? 0 : glyph;
    }

    void subset()
    {
        const InputHandle input(hb_subset_input_create_or_fail());
        if (input) {
            hb_set_t *glyphs = hb_subset_input_glyph_set(input.get());
            for (const std::uint32_t code : m_codes)
                hb_set_add(glyphs, m_font.codes[code].glyph);
            hb_set_t *dropped = hb_subset_input_set(input.get(), HB_SUBSET_SETS_DROP_TABLE_TAG);
            for (const hb_tag_t tag : kDropped)
                hb_set_add(dropped, tag);
            hb_subset_input_set_flags(input.get(), HB_SUBSET_FLAGS_NO_HINTING | HB_SUBSET_FLAGS_NOTDEF_OUTLINE);
            m_plan.reset(hb_subset_plan_create_or_fail(m_face.face(), input.get()));
        }
        const FaceHandle reduced(m_plan ? hb_subset_plan_execute_or_fail(m_plan.get()) : nullptr);
        if (!reduced)
            raise(err::outOfMemory,
                  QStringLiteral("The font \"%1\" could not be embedded in the PDF file.")
                      .arg(QString::fromStdString(m_face.postScriptName())),
                  kFrameworkSource);
        const FaceHandle program(hb_face_builder_create());
        for (const hb_tag_t tag : kKept) {
            const BlobHandle table(hb_face_reference_table(reduced.get(), tag));
            if (hb_blob_get_length(table.get()) > 0)
                hb_face_builder_add_table(program.get(), tag, table.get());
        }
        std::string cmap;
        if (!m_font.wide)
            addCmap(program.get(), cmap);
        m_program.reset(hb_face_reference_blob(program.get()));
    }

    void addCmap(hb_face_t *program, std::string &cmap) const
    {
        std::vector<std::uint32_t> glyphs(m_codes.back() - m_codes.front() + 1);
        for (const std::uint32_t code : m_codes)
            glyphs[code - m_codes.front()] = newGlyph(code);
        cmap = symbolCmap(m_codes.front(), glyphs);
        const BlobHandle table(hb_blob_create(cmap.data(), static_cast<unsigned>(cmap.size()), HB_MEMORY_MODE_DUPLICATE, nullptr, nullptr));
        hb_face_builder_add_table(program, tagOf("cmap"), table.get());
    }

    /// Only codes that appear are mapped, one or more UTF-16 units each.
    [[nodiscard]] std::string toUnicodeMap() const
    {
        const int digits = m_font.wide ? 4 : 2;
        std::string map = "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n/CIDSystemInfo<</Registry(Adobe)/Ordering(UCS)"
                          "/Supplement 0>>def\n/CMapName/Adobe-Identity-UCS def\n/CMapType 2 def\n1 begincodespacerange\n";
        map += m_font.wide ? "<0000><FFFF>\nendcodespacerange\n" : "<00><FF>\nendcodespacerange\n";
        std::vector<std::uint32_t> mapped;
        std::copy_if(m_codes.begin(), m_codes.end(), std::back_inserter(mapped),
                     [&](std::uint32_t code) { return !m_font.codes[code].text.empty(); });
        constexpr std::size_t kMostPerBlock = 100;
        for (std::size_t i = 0; i < mapped.size(); ++i) {
            if (i % kMostPerBlock == 0) {
                appendNumber(map, static_cast<std::int64_t>(std::min(kMostPerBlock, mapped.size() - i)));
                map += " beginbfchar\n";
            }
            map += '<';
            appendHex(map, mapped[i], digits);
            map += "><";
            for (std::string_view text = m_font.codes[mapped[i]].text; !text.empty();)
                appendUtf16Hex(map, utf8::take(text));
            map += ">\n";
            if (i % kMostPerBlock == kMostPerBlock - 1 || i + 1 == mapped.size())
                map += "endbfchar\n";
        }
        map += "endcmap\nCMapName currentdict/CMap defineresource pop\nend\nend\n";
        return map;
    }

    [[nodiscard]] std::string descriptorBody(int program) const
    {
        constexpr int kSymbolic = 4;
        std::string body = "<</Type/FontDescriptor/FontName/" + m_name + "/Flags ";
        appendNumber(body, kSymbolic);
        body += "/FontBBox[-1000 ";
        appendOperand(body, m_face.descender());
        body += "2000 ";
        appendNumber(body, m_face.ascender());
        body += "]/ItalicAngle 0/Ascent ";
        appendNumber(body, m_face.ascender());
        body += "/Descent ";
        appendNumber(body, m_face.descender());
        body += "/CapHeight 730/StemV ";
        appendNumber(body, m_face.isBold() ? 140 : 80);
        body += "/FontFile2 ";
        appendReference(body, program);
        body += ">>";
        return body;
    }

    int writeNarrow(int toUnicode, int descriptor)
    {
        std::string body = "<</Type/Font/Subtype/TrueType/BaseFont/" + m_name + "/FirstChar ";
        appendNumber(body, m_codes.front());
        body += "/LastChar ";
        appendNumber(body, m_codes.back());
        body += "/Widths[";
        for (std::uint32_t code = m_codes.front(); code <= m_codes.back(); ++code)
            appendOperand(body, m_font.codes[code].width);
        body += "]/FontDescriptor ";
        appendReference(body, descriptor);
        body += "/ToUnicode ";
        appendReference(body, toUnicode);
        body += ">>";
        const int number = m_file.reserve();
        m_file.writeObject(number, body);
        return number;
    }

    int writeWide(int toUnicode, int descriptor)
    {
        std::string glyphs(2 * m_font.codes.size(), '\0');
        std::string widths;
        for (const std::uint32_t code : m_codes) {
            const std::uint32_t glyph = newGlyph(code);
            glyphs[2 * code] = static_cast<char>(glyph >> 8);
            glyphs[2 * code + 1] = static_cast<char>(glyph & 0xFF);
        }
        for (std::size_t code = 1; code < m_font.codes.size(); ++code)
            appendOperand(widths, m_font.codes[code].width);
        const int glyphMap = m_file.reserve();
        m_file.writeStream(glyphMap, "", glyphs, PdfFile::Packing::Small);
        std::string body = "<</Type/Font/Subtype/CIDFontType2/BaseFont/" + m_name +
                           "/CIDSystemInfo<</Registry(Adobe)/Ordering(Identity)/Supplement 0>>/DW 1000/W[1[" + widths + "]]/CIDToGIDMap ";
        appendReference(body, glyphMap);
        body += "/FontDescriptor ";
        appendReference(body, descriptor);
        body += ">>";
        const int descendant = m_file.reserve();
        m_file.writeObject(descendant, body);
        body = "<</Type/Font/Subtype/Type0/BaseFont/" + m_name + "/Encoding/Identity-H/DescendantFonts[";
        appendReference(body, descendant);
        body += "]/ToUnicode ";
        appendReference(body, toUnicode);
        body += ">>";
        const int number = m_file.reserve();
        m_file.writeObject(number, body);
        return number;
    }

    const EmbeddedFont &m_font;
    const FontFace &m_face;
    PdfFile &m_file;
    std::string m_name;
    std::vector<std::uint32_t> m_codes; ///< those that appear, rising
    PlanHandle m_plan;
    BlobHandle m_program;
};

} // namespace

std::string embedFonts(const FontBook &book, PdfFile &file)
{
    std::string resources = "<<";
    for (std::size_t i = 0; i < book.fonts().size(); ++i) {
        Embedder embedder(book, *book.fonts()[i], i, file);
        if (!embedder.isNeeded())
            continue;
        resources += "/F";
        appendOperand(resources, static_cast<std::int64_t>(i));
        appendReference(resources, embedder.write());
    }
    resources += ">>";
    return resources;
}

} // namespace qm::pdf
