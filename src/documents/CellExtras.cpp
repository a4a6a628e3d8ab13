#include "documents/CellExtras.h"

#include "core/Utf8.h"
#include "documents/NumberText.h"

#include <QString>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <compare>

namespace qm {

namespace {

template <typename Number>
std::optional<Number> numberOf(std::string_view text)
{
    Number number = 0;
    const char *const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (text.empty() || read.ec != std::errc() || read.ptr != end)
        return std::nullopt;
    if constexpr (std::is_floating_point_v<Number>)
        if (!std::isfinite(number))
            return std::nullopt;
    return number;
}

/// Without letter case, for comparing.
std::string folded(std::string_view text)
{
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    std::string folded(text);
    if (!std::all_of(text.begin(), text.end(), isAscii))
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toCaseFolded().toStdString();
    for (char &c : folded)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

/// The text of a number or text; \p room holds a number's.
std::string_view textOf(const Value &value, char (&room)[numbers::kMaxText])
{
    switch (value.kind) {
    case Value::Kind::Integer:
        return {room, static_cast<std::size_t>(numbers::writeInteger(value.integer, room) - room)};
    case Value::Kind::Real:
        return {room, static_cast<std::size_t>(numbers::writeShortest(value.real, room) - room)};
    default:
        return value.text();
    }
}

bool meets(CellRule::Test test, std::partial_ordering order)
{
    switch (test) {
    case CellRule::Test::Equal:
        return order == 0;
    case CellRule::Test::NotEqual:
        return order != 0;
    case CellRule::Test::Less:
        return order < 0;
    case CellRule::Test::LessOrEqual:
        return order <= 0;
    case CellRule::Test::Greater:
        return order > 0;
    case CellRule::Test::GreaterOrEqual:
        return order >= 0;
    case CellRule::Test::Contains:
    case CellRule::Test::Null:
        break;
    }
    return false;
}

} // namespace

CellExtras::CellExtras(const ReportColumn &column) : m_nullText(utf8::sanitized(column.nullText))
{
    for (const auto &[code, word] : column.words) {
        m_words.insert_or_assign(code, utf8::sanitized(word));
        m_foldedWords.emplace(folded(code), utf8::sanitized(word));
    }
    for (const CellRule &rule : column.rules)
        m_rules.push_back(
            {rule.test, rule.emphasis, folded(rule.operand), numberOf<double>(rule.operand), numberOf<std::int64_t>(rule.operand)});
}

bool CellExtras::areIn(const ReportColumn &column)
{
    return !column.words.empty() || !column.rules.empty() || !column.nullText.empty();
}

bool CellExtras::append(const Value &value, std::string &out) const
{
    if (value.kind == Value::Kind::Null) {
        out += m_nullText;
        return !m_nullText.empty();
    }
    if (m_words.empty() || value.kind == Value::Kind::Blob)
        return false;
    char room[numbers::kMaxText];
    const std::string_view text = textOf(value, room);
    auto word = m_words.find(text);
    if (word == m_words.end()) {
        word = m_foldedWords.find(folded(text));
        if (word == m_foldedWords.end())
            return false;
    }
    out += word->second;
    return true;
}

bool CellExtras::holds(const Rule &rule, const Value &value)
{
    if (value.kind == Value::Kind::Null)
        return rule.test == CellRule::Test::Null;
    if (value.kind == Value::Kind::Blob || rule.test == CellRule::Test::Null)
        return false;
    char room[numbers::kMaxText];
    const std::string_view text = textOf(value, room);
    if (rule.test == CellRule::Test::Contains)
        return folded(text).find(rule.text) != std::string::npos;
    if (rule.number) {
        if (value.kind == Value::Kind::Integer && rule.integer)
            return meets(rule.test, value.integer <=> *rule.integer);
        const std::optional<double> number = value.kind == Value::Kind::Integer ? std::optional(static_cast<double>(value.integer))
                                             : value.kind == Value::Kind::Real  ? std::optional(value.real)
                                                                                : numberOf<double>(text);
        if (number)
            return meets(rule.test, *number <=> *rule.number);
    }
    return meets(rule.test, folded(text) <=> rule.text);
}

Emphasis CellExtras::emphasisOf(const Value &value) const
{
    for (const Rule &rule : m_rules)
        if (holds(rule, value))
            return rule.emphasis;
    return Emphasis::None;
}

} // namespace qm
