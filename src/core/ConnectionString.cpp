#include "core/ConnectionString.h"

#include "core/DataSourcePrefix.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace qm {

namespace {

/// What differs between the two syntaxes.
struct Rules
{
    QStringView open, close; ///< quotes: each opening one with the closing one at the same place
    bool doublesEquals;      ///< "==" in a key stands for "="
    bool laterReplaces;      ///< of two equal keys the later one counts
    bool closesAtEnd;        ///< a closing quote is one only where the value ends; elsewhere it stands for itself
};

constexpr Rules kAdo{u"\"'", u"\"'", true, true, false};
constexpr Rules kOdbc{u"{", u"}", false, false, true};

/// Reads the entries of one string.
class Reader final
{
public:
    Reader(const QString &text, const Rules &rules) : m_text(text), m_rules(rules) {}

    Properties read()
    {
        Properties properties;
        while (m_at < m_text.size()) {
            const QString key = takeKey();
            if (m_at >= m_text.size() || m_text[m_at] == u';') { // a key without a value says nothing
                ++m_at;
                continue;
            }
            ++m_at;
            const QString value = takeValue();
            ++m_at;
            const bool replaces = m_rules.laterReplaces && key.compare(QStringLiteral("Provider"), Qt::CaseInsensitive) != 0;
            if (!key.isEmpty() && (replaces || !properties.find(key)))
                properties.add(key, value);
        }
        return properties;
    }

private:
    QString takeKey()
    {
        QString key;
        for (; m_at < m_text.size() && m_text[m_at] != u';'; ++m_at) {
            if (m_text[m_at] == u'=') {
                if (!m_rules.doublesEquals || m_at + 1 >= m_text.size() || m_text[m_at + 1] != u'=')
                    break;
                ++m_at;
            }
            key += m_text[m_at];
        }
        return key.trimmed();
    }

    QString takeValue()
    {
        while (m_at < m_text.size() && m_text[m_at].isSpace())
            ++m_at;
        const qsizetype quote = m_at < m_text.size() ? m_rules.open.indexOf(m_text[m_at]) : -1;
        const QString value = quote < 0 ? QString() : takeQuoted(m_rules.close[quote]);
        const qsizetype semicolon = m_text.indexOf(u';', m_at);
        const qsizetype end = semicolon < 0 ? m_text.size() : semicolon;
        const QString bare = m_text.mid(m_at, end - m_at).trimmed();
        m_at = end;
        return quote < 0 ? bare : value;
    }

    /// Whether nothing but blanks stands between \p at and the end of the entry.
    [[nodiscard]] bool isEntryEnd(qsizetype at) const
    {
        while (at < m_text.size() && m_text[at].isSpace())
            ++at;
        return at >= m_text.size() || m_text[at] == u';';
    }

    /// From the opening quote to behind the closing one; a doubled closing quote stands for itself.
    QString takeQuoted(QChar close)
    {
        QString value;
        for (++m_at; m_at < m_text.size(); ++m_at) {
            if (m_text[m_at] == close) {
                const bool isDoubled = m_at + 1 < m_text.size() && m_text[m_at + 1] == close;
                if (!isDoubled && (!m_rules.closesAtEnd || isEntryEnd(m_at + 1))) {
                    ++m_at;
                    return value;
                }
                m_at += isDoubled ? 1 : 0;
            }
            value += m_text[m_at];
        }
        return value;
    }

    const QString &m_text;
    const Rules &m_rules;
    qsizetype m_at = 0;
};

/// A value may be a list of entries itself.
bool isSecret(const Properties::Entry &entry)
{
    return namesSecret(entry.first) || (entry.second.contains(u'=') && namesSecret(entry.second));
}

} // namespace

std::optional<QString> Properties::find(QStringView key) const
{
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry)
        if (key.compare(entry->first, Qt::CaseInsensitive) == 0)
            return entry->second;
    return std::nullopt;
}

Properties parseAdo(const QString &text)
{
    return Reader(text, kAdo).read();
}

Properties parseOdbc(const QString &text)
{
    return Reader(text, kOdbc).read();
}

std::optional<QString> escaped(const QString &value, Escaping escaping)
{
    if (escaping == Escaping::Bare) {
        if (!value.contains(u';') && !value.startsWith(u'{'))
            return value;
        if (value.contains(QStringLiteral("};")))
            return std::nullopt;
        return u'{' + value + u'}';
    }
    constexpr QStringView kSpecial = u"[]{}(),;?*=!@\"'";
    const bool plain = !value.isEmpty() && value == value.trimmed() &&
                       std::none_of(value.begin(), value.end(), [&](QChar c) { return kSpecial.contains(c); });
    if (plain || value.isEmpty())
        return value;
    QString doubled = value;
    return u'{' + doubled.replace(u'}', QStringLiteral("}}")) + u'}';
}

bool namesSecret(QStringView text)
{
    constexpr std::array kWords{u"pwd", u"password", u"passwd", u"passphrase", u"secret", u"token"};
    return std::any_of(kWords.begin(), kWords.end(),
                       [&](const char16_t *word) { return text.contains(QStringView(word), Qt::CaseInsensitive); });
}

bool holdsSecret(const QString &text)
{
    const Properties properties = parseOdbc(odbcConnection(text).value_or(text));
    return std::any_of(properties.entries().begin(), properties.entries().end(), isSecret);
}

QString redacted(const QString &text)
{
    const auto connection = odbcConnection(text);
    const QString &source = connection ? *connection : text;
    if (!source.contains(u'='))
        return text;
    QStringList shown;
    const Properties properties = parseOdbc(source);
    for (const auto &[key, value] : properties.entries())
        shown << key + u'=' + (isSecret({key, value}) ? QStringLiteral("***") : escaped(value, Escaping::Doubled).value_or(QString()));
    return (connection ? QLatin1StringView(kOdbcPrefix) : QLatin1StringView()) + shown.join(u';');
}

} // namespace qm
