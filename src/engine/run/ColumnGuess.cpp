#include "engine/run/ColumnGuess.h"

#include "documents/CellFormat.h"
#include "documents/IsoTime.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace qm {

namespace {

constexpr double kMmPerCharacter = 1.75, kPaddingMm = 3;
constexpr std::size_t kFewestCharacters = 4, kMostCharacters = 60, kUsualCharacters = 40;
constexpr int kMostDecimals = 3;

/// Words of captions that are abbreviations.
constexpr std::array kAbbreviations{u"id",  u"ip",  u"utc",  u"url",   u"uri",  u"kb",   u"mb",   u"gb",   u"dns", u"sid", u"guid", u"os",
                                    u"cpu", u"sql", u"http", u"https", u"smtp", u"imap", u"pop3", u"ldap", u"rdp", u"tcp", u"udp"};

bool isAbbreviation(const QString &word)
{
    return std::any_of(kAbbreviations.begin(), kAbbreviations.end(), [&](const char16_t *known) { return word == QStringView(known); });
}

/// What the values of one column are, seen together.
struct Seen
{
    std::size_t integers = 0, reals = 0, texts = 0, blobs = 0;
    std::size_t dates = 0, dateTimes = 0, times = 0; ///< of the texts
    [[nodiscard]] std::size_t values() const { return integers + reals + texts + blobs; }
};

Seen look(const RowSample &sample, std::size_t index)
{
    Seen seen;
    for (std::size_t i = 0; i < sample.rows(); ++i) {
        const Value &value = sample.row(i)[index];
        switch (value.kind) {
        case Value::Kind::Null:
            break;
        case Value::Kind::Integer:
            ++seen.integers;
            break;
        case Value::Kind::Real:
            ++seen.reals;
            break;
        case Value::Kind::Blob:
            ++seen.blobs;
            break;
        case Value::Kind::Text:
            ++seen.texts;
            if (const auto time = parseIsoTime(value.text()))
                ++(time->hasDate && time->hasTime ? seen.dateTimes : time->hasDate ? seen.dates : seen.times);
            break;
        }
    }
    return seen;
}

ColumnType typeOfValues(const Seen &seen)
{
    if (seen.blobs > 0)
        return seen.blobs == seen.values() ? ColumnType::Blob : ColumnType::Text;
    if (seen.texts == 0)
        return seen.reals > 0 ? ColumnType::Real : seen.integers > 0 ? ColumnType::Integer : ColumnType::Text;
    if (seen.texts != seen.values())
        return ColumnType::Text;
    if (seen.dates == seen.texts)
        return ColumnType::Date;
    if (seen.times == seen.texts)
        return ColumnType::Time;
    return seen.dates + seen.dateTimes == seen.texts ? ColumnType::DateTime : ColumnType::Text;
}

std::optional<ColumnType> typeOfDeclaration(const std::string &declared)
{
    const auto has = [&](const char *word) { return declared.find(word) != std::string::npos; };
    if (has("BOOL"))
        return ColumnType::Boolean;
    if (has("DATETIME") || has("TIMESTAMP"))
        return ColumnType::DateTime;
    if (has("DATE"))
        return ColumnType::Date;
    if (has("TIME"))
        return ColumnType::Time;
    if (has("INT"))
        return ColumnType::Integer;
    if (has("CHAR") || has("TEXT") || has("CLOB"))
        return ColumnType::Text;
    if (has("REAL") || has("FLOA") || has("DOUB") || has("DEC") || has("NUMERIC"))
        return ColumnType::Real;
    if (has("BLOB"))
        return ColumnType::Blob;
    return std::nullopt;
}

/// Whether values of type \p seen may stand in a column declared as \p declared.
bool agrees(ColumnType declared, ColumnType seen)
{
    return declared == seen || (declared == ColumnType::Boolean && seen == ColumnType::Integer) ||
           (declared == ColumnType::DateTime && seen == ColumnType::Date) || (declared == ColumnType::Real && seen == ColumnType::Integer);
}

/// Decimals of the shortest text that reads back as \p number, and 0 for whole numbers.
int decimalsOf(double number)
{
    std::array<char, 400> text{};
    const auto [end, failure] = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (failure != std::errc())
        return 0;
    const auto *point = std::find(text.data(), end, '.');
    return point == end ? 0 : static_cast<int>(end - point) - 1;
}

/// One number of decimals for the whole column; none for values that it would round to nothing.
std::string realFormat(const RowSample &sample, std::size_t index)
{
    int decimals = 0;
    for (std::size_t i = 0; i < sample.rows(); ++i) {
        const Value &value = sample.row(i)[index];
        if (value.kind != Value::Kind::Real || !std::isfinite(value.real))
            continue;
        if (value.real != 0 && (std::fabs(value.real) < 0.001 || std::fabs(value.real) >= 1e15))
            return {};
        decimals = std::max(decimals, std::min(kMostDecimals, decimalsOf(value.real)));
    }
    return decimals == 0 ? std::string("0") : "0." + std::string(static_cast<std::size_t>(decimals), '0');
}

bool hasFractions(const RowSample &sample, std::size_t index)
{
    for (std::size_t i = 0; i < sample.rows(); ++i) {
        const Value &value = sample.row(i)[index];
        if (value.kind != Value::Kind::Text)
            continue;
        if (const auto time = parseIsoTime(value.text()); time && time->millisecond != 0)
            return true;
    }
    return false;
}

bool isWide(char32_t c)
{
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
           (c >= 0xFE30 && c <= 0xFE6F) || (c >= 0xFF00 && c <= 0xFF60) || (c >= 0x1F300 && c <= 0x1FAFF) || (c >= 0x20000 && c <= 0x3FFFD);
}

/// Characters of the longest line of \p text, wide ones counted twice; looks no further than a line of the widest column needs.
std::size_t longestLine(const std::string &text)
{
    std::size_t longest = 0, line = 0;
    for (const char32_t c : QString::fromUtf8(text.data(), static_cast<qsizetype>(std::min<std::size_t>(text.size(), 4096))).toUcs4()) {
        line = c == U'\n' ? 0 : line + (isWide(c) ? 2 : 1);
        longest = std::max(longest, line);
    }
    return longest;
}

std::size_t captionCharacters(const std::string &caption)
{
    std::size_t longest = 0;
    const QString text = QString::fromStdString(caption);
    for (const QString &word : text.split(u' '))
        longest = std::max(longest, longestLine(word.toStdString()));
    // A caption may take two lines.
    return std::max(longest, longestLine(caption) / 2 + 1) + 1;
}

} // namespace

QString captionOf(const QString &field)
{
    const bool isName =
        !field.isEmpty() && std::all_of(field.begin(), field.end(), [](QChar c) { return c.isLetterOrNumber() || c == u'_'; });
    if (!isName)
        return field;
    QString spaced;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (i > 0 && field[i].isUpper() && field[i - 1].isLower())
            spaced += u' ';
        spaced += field[i] == u'_' ? QChar(u' ') : field[i];
    }
    QStringList words = spaced.simplified().split(u' ', Qt::SkipEmptyParts);
    if (words.isEmpty())
        return field;
    for (QString &word : words) {
        const QString lower = word.toLower();
        const bool shouted = word.size() > 1 && word == word.toUpper() && field != field.toUpper();
        word = isAbbreviation(lower) ? lower.toUpper() : shouted ? word : lower;
    }
    words.first()[0] = words.first()[0].toUpper();
    return words.join(u' ');
}

ColumnType guessType(const ResultColumn &column, const RowSample &sample, std::size_t index)
{
    const Seen seen = look(sample, index);
    const auto declared = typeOfDeclaration(column.declaredType);
    if (seen.values() == 0)
        return declared.value_or(ColumnType::Text);
    const ColumnType values = typeOfValues(seen);
    return declared && agrees(*declared, values) ? *declared : values;
}

std::string guessFormat(ColumnType type, const RowSample &sample, std::size_t index)
{
    switch (type) {
    case ColumnType::Real:
        return realFormat(sample, index);
    case ColumnType::Boolean:
        return "boolean";
    case ColumnType::Date:
        return "date";
    case ColumnType::Time:
        return hasFractions(sample, index) ? "" : "time";
    case ColumnType::DateTime:
        return hasFractions(sample, index) ? "datetime-ms" : "datetime";
    case ColumnType::Integer:
    case ColumnType::Text:
    case ColumnType::Blob:
        break;
    }
    return {};
}

CellAlignment defaultAlignment(ColumnType type)
{
    switch (type) {
    case ColumnType::Integer:
    case ColumnType::Real:
        return CellAlignment::Right;
    case ColumnType::Boolean:
        return CellAlignment::Centre;
    default:
        return CellAlignment::Left;
    }
}

double guessWidth(const ReportColumn &column, const RowSample &sample, std::size_t index)
{
    const CellFormatter formatter(column);
    std::vector<std::size_t> lengths;
    std::string shown;
    for (std::size_t i = 0; i < sample.rows(); ++i) {
        shown.clear();
        formatter.append(sample.row(i)[index], shown);
        lengths.push_back(longestLine(shown));
    }
    std::size_t characters = 0;
    if (!lengths.empty()) {
        std::sort(lengths.begin(), lengths.end());
        characters = lengths.back() <= kUsualCharacters ? lengths.back() : std::max(kUsualCharacters, lengths[lengths.size() * 9 / 10]);
    }
    characters = std::clamp(std::max(characters, captionCharacters(column.caption)), kFewestCharacters, kMostCharacters);
    return kPaddingMm + kMmPerCharacter * static_cast<double>(characters);
}

} // namespace qm
