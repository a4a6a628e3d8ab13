#include "documents/pdf/ColumnMeasure.h"

#include "core/Utf8.h"
#include "documents/CellFormat.h"
#include "documents/pdf/CharacterRules.h"
#include "documents/pdf/ShownText.h"
#include "documents/pdf/TextCanvas.h"

#include <algorithm>
#include <cmath>

namespace qm::pdf {

namespace {

constexpr std::size_t kWordLetters = 24;     ///< longer words of a text may be broken
constexpr std::size_t kHeadingLetters = 40;  ///< longer words of a heading too
constexpr std::size_t kCodeLetters = 48;     ///< a longer value is no code; a number as long is set below its row
constexpr std::size_t kMeasuredBytes = 2000; ///< of each text: more lines decide nothing
constexpr std::uint32_t kHeadingLines = 3;
constexpr double kUnseen = 1000;     ///< a sum over all rows may be so many times that over the sample
constexpr Tenths kTotalLetters = 85; ///< of totals, which stand below the values in the same column

/// Measures one text after the other.
class Scanner final
{
public:
    explicit Scanner(TextLayout &layout) : m_layout(layout) {}

    /// The widest of all words, each up to its first kWordLetters or kHeadingLetters.
    [[nodiscard]] Em word() const { return m_word; }
    [[nodiscard]] Em headingWord() const { return m_headingWord; }

    /// Adds \p text as a cell to \p texts.
    void add(std::string_view text, TextStyle style, columns::SampleTexts &texts)
    {
        m_texts = &texts;
        m_piece = m_blank = m_line = 0;
        m_letters = 0;
        m_wordWidth = 0;
        text = text.substr(0, cutAt(text, kMeasuredBytes));
        if (isPlain(text, style))
            addPlain(text, style);
        else
            addShaped(text, style);
        endPiece();
        texts.endCell();
    }

private:
    static std::size_t cutAt(std::string_view text, std::size_t most)
    {
        if (text.size() <= most)
            return text.size();
        while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80)
            --most;
        return most;
    }

    bool isPlain(std::string_view text, TextStyle style)
    {
        while (!text.empty()) {
            const auto byte = static_cast<unsigned char>(text.front());
            if (byte >= 0x80) {
                if (m_layout.fonts().slot(style, utf8::take(text)).kind == FontBook::Kind::Complex)
                    return false;
                continue;
            }
            if (byte == 0x7F || (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r'))
                return false;
            text.remove_prefix(1);
        }
        return true;
    }

    void addPlain(std::string_view text, TextStyle style)
    {
        FontBook &fonts = m_layout.fonts();
        const FontBook::Ascii &ascii = fonts.ascii(style);
        std::uint8_t last = kNoRule;
        while (!text.empty()) {
            const auto byte = static_cast<unsigned char>(text.front());
            if (byte >= 0x80) {
                const FontBook::Slot &slot = fonts.slot(style, utf8::take(text));
                addCharacter(slot.width, slot.rules, last);
                last = slot.rules;
                continue;
            }
            text.remove_prefix(1);
            if (byte == '\n' || byte == '\r') {
                if (byte == '\r' && text.starts_with('\n'))
                    text.remove_prefix(1);
                endLine(text.empty());
            } else if (byte == '\t') {
                addBlank(tabBlanks(m_line, ascii.width[' ']) * ascii.width[' ']);
            } else {
                addCharacter(ascii.width[byte], byte == ' ' ? kSpace : kNoRule, last);
            }
            last = kNoRule;
        }
    }

    void addShaped(std::string_view text, TextStyle style)
    {
        m_layout.clear();
        static_cast<void>(m_layout.wrap(text, style, kEndless));
        std::uint8_t last = kNoRule;
        const auto &clusters = m_layout.shaped().clusters;
        for (std::size_t i = 0; i < clusters.size(); ++i) {
            if (clusters[i].lineBreak)
                endLine(i + 1 == clusters.size());
            else
                addCharacter(clusters[i].advance, clusters[i].rules, last);
            last = clusters[i].lineBreak ? std::uint8_t{kNoRule} : clusters[i].rules;
        }
    }

    void addCharacter(Em width, std::uint8_t rules, std::uint8_t last)
    {
        if (rules == kSpace) {
            addBlank(width);
            return;
        }
        if (m_blank > 0 || (m_piece > 0 && mayBreakBefore(rules, last)))
            endPiece();
        m_piece += width;
        m_line += width;
        ++m_letters;
        m_wordWidth += width;
        if (m_letters <= kWordLetters)
            m_word = std::max(m_word, m_wordWidth);
        if (m_letters <= kHeadingLetters)
            m_headingWord = std::max(m_headingWord, m_wordWidth);
    }

    void addBlank(Em width)
    {
        m_blank += width;
        m_line += width;
    }

    void endPiece()
    {
        if (m_piece > 0 || m_blank > 0)
            m_texts->addPiece(m_piece, m_blank);
        m_piece = m_blank = 0;
        m_letters = 0;
        m_wordWidth = 0;
    }

    void endLine(bool last)
    {
        endPiece();
        m_line = 0;
        if (!last)
            m_texts->endLine();
    }

    TextLayout &m_layout;
    columns::SampleTexts *m_texts = nullptr;
    Em m_piece = 0, m_blank = 0, m_line = 0;
    std::size_t m_letters = 0; ///< of the piece
    Em m_wordWidth = 0;
    Em m_word = 0, m_headingWord = 0;
};

bool isWholeType(const ReportColumn &column)
{
    switch (column.type) {
    case ColumnType::Integer:
    case ColumnType::Real:
    case ColumnType::Boolean:
    case ColumnType::Date:
    case ColumnType::DateTime:
    case ColumnType::Time:
        return column.words.empty();
    case ColumnType::Text:
    case ColumnType::Blob:
        break;
    }
    return false;
}

bool isCode(std::string_view text)
{
    if (text.size() > kCodeLetters)
        return false;
    bool digit = false;
    for (const char c : text) {
        const bool isDigit = c >= '0' && c <= '9';
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!isDigit && !isLetter && std::string_view("-_.:{}").find(c) == std::string_view::npos)
            return false;
        digit = digit || isDigit;
    }
    return digit;
}

/// Narrower than this a heading would break a word or take too many lines.
Em headingFloor(const std::string &caption, TextLayout &layout)
{
    Scanner scanner(layout);
    columns::SampleTexts texts;
    scanner.add(caption, TextStyle::Bold, texts);
    Em least = scanner.headingWord();
    Em most = std::max(least, texts.natural(0));
    const Em longest = std::max(least, static_cast<Em>(kHeadingLetters * 600));
    while (least < most) {
        const Em middle = least + (most - least) / 2;
        if (texts.lines(0, middle) <= kHeadingLines)
            most = middle;
        else
            least = middle + 1;
    }
    return std::min(least, longest);
}

class Measured final
{
public:
    Measured(const ReportColumn &column, TextLayout &layout)
        : m_formatter(column), m_scanner(layout), m_style(cellStyle(column)), m_whole(isWholeType(column)),
          m_maybeCode(column.type == ColumnType::Text && column.words.empty()),
          m_numeric(column.type == ColumnType::Integer || column.type == ColumnType::Real)
    {
    }

    void add(const Value &value)
    {
        m_text.clear();
        appendShown(value, m_formatter, m_text, m_numeric);
        m_scanner.add(m_text, m_style, m_texts);
        const bool shows = !value.isNull() && !m_text.empty();
        m_constant = m_constant && shows && (m_texts.cells() == 1 || m_text == m_first);
        if (m_texts.cells() == 1)
            m_first = m_text;
        if (m_text.size() <= kCodeLetters)
            m_widestWhole = std::max(m_widestWhole, m_texts.natural(m_texts.cells() - 1));
        if (!shows)
            return;
        m_shown.push_back(m_texts.natural(m_texts.cells() - 1));
        m_maybeCode = m_maybeCode && isCode(m_text);
    }

    [[nodiscard]] columns::Column result(Em heading)
    {
        columns::Column made;
        made.kind = m_whole || (m_maybeCode && !m_shown.empty()) ? columns::Kind::Whole : columns::Kind::Text;
        made.floor = std::max(heading, made.kind == columns::Kind::Whole ? m_widestWhole : m_scanner.word());
        made.wish = made.floor;
        if (made.kind == columns::Kind::Text && !m_shown.empty()) {
            const auto most = m_shown.begin() + static_cast<std::ptrdiff_t>((m_shown.size() * 9 + 9) / 10 - 1);
            std::nth_element(m_shown.begin(), most, m_shown.end());
            made.wish = std::max(made.wish, *most);
        }
        made.valueless = m_shown.empty();
        made.constant = m_constant && m_texts.cells() > 1;
        if (made.kind == columns::Kind::Text)
            made.texts = std::move(m_texts);
        return made;
    }

private:
    CellFormatter m_formatter;
    Scanner m_scanner;
    TextStyle m_style;
    bool m_whole, m_maybeCode, m_numeric;
    columns::SampleTexts m_texts;
    std::vector<Em> m_shown; ///< widths of the values
    Em m_widestWhole = 0;
    bool m_constant = true;
    std::string m_text, m_first;
};

/// Room for a sum that stands below the values of \p column: exact where the sample is all there is, else for a thousand times as much.
Em sumFloor(const Subtotal &subtotal, const SampleRows &sample, TextLayout &layout)
{
    double sum = 0;
    for (std::size_t i = 0; i < sample.rows; ++i) {
        const Value &value = sample.row(i)[*subtotal.column];
        sum += value.kind == Value::Kind::Integer ? static_cast<double>(value.integer) : value.kind == Value::Kind::Real ? value.real : 0.0;
    }
    if (!std::isfinite(sum))
        return 0;
    if (!sample.whole)
        sum *= kUnseen;
    std::string text;
    const bool integer = subtotal.value.type == ColumnType::Integer && std::fabs(sum) < 9e18;
    CellFormatter(subtotal.value).append(integer ? Value::of(static_cast<std::int64_t>(sum)) : Value::of(sum), text);
    columns::SampleTexts texts;
    Scanner(layout).add(text, TextStyle::Bold, texts);
    return text.size() > kCodeLetters ? 0 : texts.natural(0) * kTotalLetters / columns::kUsualLetters;
}

} // namespace

TextStyle cellStyle(const ReportColumn &column)
{
    return column.type == ColumnType::Blob ? TextStyle::Mono : TextStyle::Regular;
}

std::vector<columns::Column> measureColumns(const ReportShape &shape, const SampleRows &sample, TextLayout &layout)
{
    std::vector<columns::Column> measured;
    for (std::size_t i = 0; i < shape.columns.size(); ++i) {
        const ReportColumn &column = shape.columns[i];
        Measured cells(column, layout);
        for (std::size_t row = 0; row < sample.rows; ++row)
            cells.add(sample.row(row)[i]);
        columns::Column made = cells.result(headingFloor(column.caption, layout));
        made.right = column.alignment == CellAlignment::Right;
        made.given = column.fixedWidth && std::isfinite(column.widthMm) && column.widthMm > 0
                         ? static_cast<Tenths>(std::min(column.widthMm * kTenthsPerMm, 1e6))
                         : 0;
        measured.push_back(std::move(made));
    }
    const auto heed = [&](const Subtotal &subtotal) {
        if (!subtotal.column || *subtotal.column >= measured.size())
            return;
        columns::Column &column = measured[*subtotal.column];
        column.constant = column.valueless = false;
        if (subtotal.function == Aggregate::Sum)
            column.floor = std::max(column.floor, sumFloor(subtotal, sample, layout));
        column.wish = std::max(column.wish, column.floor);
    };
    for (const GroupLevel &level : shape.groups)
        std::for_each(level.subtotals.begin(), level.subtotals.end(), heed);
    std::for_each(shape.totals.begin(), shape.totals.end(), heed);
    layout.clear();
    return measured;
}

} // namespace qm::pdf
