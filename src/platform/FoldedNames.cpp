#include "platform/FoldedNames.h"

#include <algorithm>

namespace qm::files {

namespace {

qsizetype place(std::size_t at)
{
    return static_cast<qsizetype>(at);
}

std::uint64_t firstUnits(QStringView text)
{
    std::uint64_t key = 0;
    for (qsizetype i = 0; i < 4; ++i)
        key = key << 16 | (i < text.size() ? text[i].unicode() : 0U);
    return key;
}

} // namespace

QStringView FoldedNames::folded(const Entry &entry) const
{
    return QStringView(m_text).sliced(place(entry.at), place(entry.size));
}

void FoldedNames::add(QString name, const Pattern &pattern)
{
    const std::size_t start = m_text.size();
    const std::size_t size = fold(name);
    Entry entry{0, start, size, std::move(name)};
    if (pattern.matches(folded(entry)))
        m_entries.push_back(std::move(entry));
    else
        m_text.resize(start);
}

QStringList FoldedNames::ordered()
{
    const std::size_t common = commonStart();
    for (Entry &entry : m_entries)
        entry.key = firstUnits(folded(entry).sliced(place(common)));
    std::sort(m_entries.begin(), m_entries.end(), [this](const Entry &a, const Entry &b) {
        if (a.key != b.key)
            return a.key < b.key;
        const int order = folded(a).compare(folded(b));
        return order != 0 ? order < 0 : a.name < b.name;
    });
    QStringList names;
    names.reserve(static_cast<qsizetype>(m_entries.size()));
    for (Entry &entry : m_entries)
        names.append(std::move(entry.name));
    return names;
}

/// Appends the folded form of \p name. \returns its length.
std::size_t FoldedNames::fold(const QString &name)
{
    const std::size_t start = m_text.size();
    for (const QChar unit : name) {
        if (unit.unicode() >= 0x80) {
            const QString whole = name.toCaseFolded();
            m_text.replace(start, std::u16string::npos, reinterpret_cast<const char16_t *>(whole.utf16()),
                           static_cast<std::size_t>(whole.size()));
            break;
        }
        m_text.push_back(unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit.unicode() + ('a' - 'A')) : unit.unicode());
    }
    return m_text.size() - start;
}

/// How many units all folded names share at their start.
std::size_t FoldedNames::commonStart() const
{
    if (m_entries.empty())
        return 0;
    const QStringView first = folded(m_entries.front());
    auto shared = first.size();
    for (const Entry &entry : m_entries) {
        const QStringView other = folded(entry);
        const auto limit = std::min(shared, other.size());
        shared = std::mismatch(first.begin(), first.begin() + limit, other.begin()).first - first.begin();
    }
    return static_cast<std::size_t>(shared);
}

} // namespace qm::files
