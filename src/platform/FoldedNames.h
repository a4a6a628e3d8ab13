/// \file
/// The order and the patterns of folder listings, the same on every platform.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <string>
#include <vector>

namespace qm::files {

/// A listing pattern: a star and a suffix, or a whole name.
class Pattern final
{
public:
    explicit Pattern(const QString &text) : m_star(text.startsWith(u'*')), m_rest(text.mid(m_star ? 1 : 0).toCaseFolded()) {}
    [[nodiscard]] bool matches(QStringView folded) const { return m_star ? folded.endsWith(m_rest) : folded == m_rest; }

private:
    bool m_star;
    QString m_rest;
};

/// Names with their case-folded forms, which lie one behind the other in one text: a big folder costs no allocation a name.
class FoldedNames final
{
public:
    /// Keeps \p name when it matches \p pattern.
    void add(QString name, const Pattern &pattern);
    /// In the order of the folded forms, then of the names themselves. Takes the names out.
    [[nodiscard]] QStringList ordered();

private:
    struct Entry
    {
        std::uint64_t key; ///< the first four units behind what all names share, as one number that orders as they do
        std::size_t at;
        std::size_t size;
        QString name;
    };

    [[nodiscard]] QStringView folded(const Entry &entry) const;
    std::size_t fold(const QString &name);
    [[nodiscard]] std::size_t commonStart() const;

    std::u16string m_text;
    std::vector<Entry> m_entries;
};

} // namespace qm::files
