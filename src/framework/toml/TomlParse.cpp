// The one source that includes the TOML library: its header is slow to compile.
#include "framework/toml/TomlNode.h"

#include "core/RuntimeError.h"
#include "framework/toml/TomlText.h"

#include <toml++/toml.h>

#include <algorithm>
#include <sstream>

namespace qm {
namespace {

/// Deepest nesting of tables and lists that a document may have; the program's own files use four levels.
constexpr int kMaxDepth = 64;

[[noreturn]] void fail(const QString &path, qint64 line, const QString &what)
{
    raise(err::invalidFileFormat,
          QStringLiteral("%1, line %2: %3 Correct the line in a text editor.").arg(path, QString::number(line), what), kFrameworkSource);
}

QString sentence(std::string_view text)
{
    QString result = toml_text::fromUtf8(text);
    if (!result.endsWith(u'.'))
        result += u'.';
    return result;
}

/// Turns the library's tree into ours and its line and column places into byte offsets.
class Converter
{
public:
    Converter(std::string_view text, QString path) : m_text(text), m_path(std::move(path))
    {
        m_lines.push_back(0);
        for (std::size_t at = m_text.find('\n'); at != std::string_view::npos; at = m_text.find('\n', at + 1))
            m_lines.push_back(at + 1);
    }

    TomlNode convert(const toml::node &from, int depth = 0) const
    {
        TomlNode node = contents(from, depth);
        const toml::source_region &place = from.source();
        node.line = static_cast<int>(place.begin.line);
        node.begin = offset(place.begin);
        node.end = offset(place.end);
        return node;
    }

private:
    TomlNode contents(const toml::node &from, int depth) const
    {
        if (depth > kMaxDepth)
            fail(m_path, from.source().begin.line, QStringLiteral("tables or lists are nested more than %1 deep.").arg(kMaxDepth));
        if (const auto *table = from.as_table())
            return ofTable(*table, depth);
        if (const auto *array = from.as_array()) {
            TomlNode node = TomlNode::array();
            for (const toml::node &item : *array)
                node.items.push_back(convert(item, depth + 1));
            return node;
        }
        if (const auto *text = from.as_string())
            return TomlNode::ofText(toml_text::fromUtf8(text->get()));
        if (const auto *integer = from.as_integer())
            return TomlNode::ofInteger(integer->get());
        if (const auto *number = from.as_floating_point())
            return TomlNode::ofNumber(number->get());
        if (const auto *boolean = from.as_boolean())
            return TomlNode::ofBoolean(boolean->get());
        std::ostringstream spelling;
        if (const auto *date = from.as_date())
            spelling << date->get();
        else if (const auto *time = from.as_time())
            spelling << time->get();
        else if (const auto *both = from.as_date_time())
            spelling << both->get();
        return TomlNode::ofTime(toml_text::fromUtf8(spelling.str()));
    }

    TomlNode ofTable(const toml::table &table, int depth) const
    {
        std::vector<std::pair<const toml::key *, const toml::node *>> ordered;
        for (auto it = table.begin(); it != table.end(); ++it)
            ordered.emplace_back(&it->first, &it->second);
        std::stable_sort(ordered.begin(), ordered.end(), [](const auto &a, const auto &b) {
            const toml::source_position &left = a.first->source().begin;
            const toml::source_position &right = b.first->source().begin;
            return std::pair(left.line, left.column) < std::pair(right.line, right.column);
        });
        TomlNode node;
        for (const auto &[key, value] : ordered)
            node.put(toml_text::fromUtf8(key->str()), convert(*value, depth + 1));
        return node;
    }

    /// Columns count code points from 1. -1 for a place that is not in the text.
    qsizetype offset(const toml::source_position &place) const
    {
        if (place.line == 0 || place.line > m_lines.size())
            return -1;
        std::size_t at = m_lines[place.line - 1];
        for (toml::source_index column = 1; column < place.column; ++column) {
            if (at >= m_text.size())
                return -1;
            ++at;
            while (at < m_text.size() && (static_cast<unsigned char>(m_text[at]) & 0xC0) == 0x80)
                ++at;
        }
        return static_cast<qsizetype>(at);
    }

    std::string_view m_text;
    QString m_path;
    std::vector<std::size_t> m_lines;
};

/// A dotted key of absurd length nests as deep as it is long; the library's tree would be too deep to take apart.
void refuseDeepKeys(std::string_view text, const QString &path)
{
    qint64 line = 1;
    int parts = 0;
    char before = '\n';
    for (const char c : text) {
        const bool keyCharacter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
                                  c == '"' || c == '\'' || c == ' ' || c == '\t';
        if (c == '.' && before != '.')
            ++parts;
        else if (!keyCharacter)
            parts = 0;
        if (parts > 8 * kMaxDepth)
            fail(path, line, QStringLiteral("a key has more than %1 parts.").arg(8 * kMaxDepth));
        line += c == '\n' ? 1 : 0;
        before = c;
    }
}

} // namespace

TomlNode parseToml(const QByteArray &bytes, const QString &path)
{
    std::string_view text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    constexpr std::string_view mark("\xEF\xBB\xBF");
    const std::size_t skipped = text.substr(0, mark.size()) == mark ? mark.size() : 0;
    text.remove_prefix(skipped);
    if (const qsizetype bad = toml_text::firstBadUtf8(text); bad >= 0) {
        const auto line = 1 + std::count(text.begin(), text.begin() + bad, '\n');
        raise(
            err::invalidFileFormat,
            QStringLiteral("%1, line %2: the text is not UTF-8. Save the file as UTF-8 in a text editor.").arg(path, QString::number(line)),
            kFrameworkSource);
    }
    refuseDeepKeys(text, path);
    try {
        const toml::table table = toml::parse(text);
        const Converter converter(text, path);
        TomlNode root = converter.convert(table);
        root.line = 1;
        return root;
    } catch (const toml::parse_error &error) {
        fail(path, error.source().begin.line, sentence(error.description()));
    }
}

} // namespace qm
