#include "documents/pdf/CharacterRules.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace qm::pdf {

namespace {

struct Range
{
    char32_t first, last;
};

template <std::size_t N>
bool contains(const Range (&ranges)[N], char32_t character)
{
    const Range *found = std::lower_bound(std::begin(ranges), std::end(ranges), character,
                                          [](const Range &range, char32_t wanted) { return range.last < wanted; });
    return found != std::end(ranges) && found->first <= character;
}

/// Scripts and symbols whose characters stand alone; sorted.
constexpr Range kSimple[] = {
    {0x20, 0x7E},       {0xA0, 0xAC},       {0xAE, 0x2FF},      {0x370, 0x482},     {0x48A, 0x58F},     {0x10A0, 0x10FF},
    {0x1200, 0x135C},   {0x1360, 0x167F},   {0x1681, 0x16FF},   {0x1D00, 0x1DBF},   {0x1E00, 0x200A},   {0x2010, 0x2027},
    {0x202F, 0x205F},   {0x2070, 0x20CF},   {0x2100, 0x2CEE},   {0x2CF2, 0x2D7E},   {0x2D80, 0x2DDF},   {0x2E00, 0x3029},
    {0x3030, 0x3098},   {0x309B, 0xA66E},   {0xA673, 0xA673},   {0xA67E, 0xA69D},   {0xA6A0, 0xA6EF},   {0xA700, 0xA7FF},
    {0xAB30, 0xAB6F},   {0xAC00, 0xD7A3},   {0xE000, 0xFB17},   {0xFF01, 0xFFEE},   {0xFFFC, 0xFFFD},   {0x10000, 0x101FC},
    {0x1D400, 0x1D7FF}, {0x1F000, 0x1F1E5}, {0x1F200, 0x1F3FA}, {0x1F400, 0x1FBFF}, {0x20000, 0x3FFFF},
};

constexpr Range kIdeographs[] = {
    {0x2E80, 0x2FFF}, {0x3001, 0x30FF}, {0x3105, 0x4DBF}, {0x4E00, 0xA4CF}, {0xF900, 0xFAFF}, {0xFF01, 0xFF60}, {0x20000, 0x3FFFF},
};

constexpr std::u32string_view kClosing = U"、。，．！？：；）］｝」』】》〉〕〗’”…‥ー々ゝゞヽヾ・ぁぃぅぇぉっゃゅょゎァィゥェォッャュョヮ";
constexpr std::u32string_view kOpening = U"（［｛「『【《〈〔〖‘“";

} // namespace

bool isSimple(char32_t character)
{
    return contains(kSimple, character);
}

std::uint8_t breakRules(char32_t character)
{
    std::uint8_t rules = kNoRule;
    if (character == U' ' || character == 0x3000 || (character >= 0x2000 && character <= 0x200A && character != 0x2007))
        return kSpace;
    if (contains(kIdeographs, character))
        rules |= kBreakAround;
    if (kClosing.find(character) != std::u32string_view::npos)
        rules |= kNeverBefore;
    if (kOpening.find(character) != std::u32string_view::npos)
        rules |= kNeverAfter;
    return rules;
}

} // namespace qm::pdf
