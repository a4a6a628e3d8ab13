#include "odbc/ConnectionString.h"

#include <algorithm>

namespace qm::odbc {

namespace {

/// Reads a quoted value from its opening quote at \p at; a doubled closing quote stands for itself. Moves \p at behind the closing quote.
QString takeQuoted(const QString &text, qsizetype &at, QChar close)
{
    QString value;
    for (++at; at < text.size(); ++at) {
        if (text[at] == close) {
            if (at + 1 >= text.size() || text[at + 1] != close) {
                ++at;
                return value;
            }
            ++at;
        }
        value += text[at];
    }
    return value;
}

/// Reads up to the next semicolon, without outer blanks.
QString takeBare(const QString &text, qsizetype &at)
{
    const qsizetype semicolon = text.indexOf(u';', at);
    const QString value = text.mid(at, semicolon < 0 ? -1 : semicolon - at).trimmed();
    at = semicolon < 0 ? text.size() : semicolon;
    return value;
}

qsizetype skipBlanks(const QString &text, qsizetype at)
{
    while (at < text.size() && text[at].isSpace())
        ++at;
    return at;
}

QString takeAdoKey(const QString &text, qsizetype &at)
{
    QString key;
    for (; at < text.size() && text[at] != u';'; ++at) {
        if (text[at] == u'=') {
            if (at + 1 >= text.size() || text[at + 1] != u'=')
                break;
            ++at;
        }
        key += text[at];
    }
    return key.trimmed();
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
    Properties properties;
    qsizetype at = 0;
    while (at < text.size()) {
        const QString key = takeAdoKey(text, at);
        if (at >= text.size() || text[at] == u';') { // a key without a value says nothing
            ++at;
            continue;
        }
        at = skipBlanks(text, at + 1);
        QString value;
        if (at < text.size() && (text[at] == u'"' || text[at] == u'\'')) {
            const QChar quote = text[at];
            value = takeQuoted(text, at, quote);
            while (at < text.size() && text[at] != u';')
                ++at;
        } else {
            value = takeBare(text, at);
        }
        ++at;
        const bool firstCounts = key.compare(QStringLiteral("Provider"), Qt::CaseInsensitive) == 0;
        if (!key.isEmpty() && !(firstCounts && properties.find(key)))
            properties.add(key, value);
    }
    return properties;
}

Properties parseOdbc(const QString &text)
{
    Properties properties;
    qsizetype at = 0;
    while (at < text.size()) {
        const qsizetype equals = text.indexOf(u'=', at), semicolon = text.indexOf(u';', at);
        if (equals < 0)
            break;
        if (semicolon >= 0 && semicolon < equals) {
            at = semicolon + 1;
            continue;
        }
        const QString key = text.mid(at, equals - at).trimmed();
        at = skipBlanks(text, equals + 1);
        QString value;
        if (at < text.size() && text[at] == u'{') {
            value = takeQuoted(text, at, u'}');
            while (at < text.size() && text[at] != u';')
                ++at;
        } else {
            value = takeBare(text, at);
        }
        ++at;
        if (!properties.find(key))
            properties.add(key, value);
    }
    return properties;
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

} // namespace qm::odbc
