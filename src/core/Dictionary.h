/// \file
/// A string-keyed dictionary in insertion order, with exact (case-sensitive) keys.
#pragma once

#include "core/RuntimeError.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace qm {

/// Keeps items under unique keys in the order they were added. Adding a key twice is error 457.
template <class Item>
class Dictionary final
{
public:
    void Add(const QString &key, Item item)
    {
        if (m_items.contains(key))
            raise(err::duplicateKey, key);
        m_keys.append(key);
        m_items.insert(key, std::move(item));
    }
    /// \throws RuntimeError 35601 when the key is not there.
    void Remove(const QString &key)
    {
        if (!m_items.remove(key))
            raise(err::elementNotFound, key);
        m_keys.removeOne(key);
    }
    void RemoveAll()
    {
        m_keys.clear();
        m_items.clear();
    }
    [[nodiscard]] bool Exists(const QString &key) const { return m_items.contains(key); }
    [[nodiscard]] int Count() const { return static_cast<int>(m_keys.size()); }
    [[nodiscard]] const QStringList &Keys() const { return m_keys; }
    /// \throws RuntimeError 35601 when the key is not there.
    [[nodiscard]] const Item &at(const QString &key) const
    {
        const auto found = m_items.constFind(key);
        if (found == m_items.constEnd())
            raise(err::elementNotFound, key);
        return *found;
    }
    [[nodiscard]] const Item &at(int index) const
    {
        if (index < 0 || index >= Count())
            raise(err::subscriptOutOfRange);
        return at(m_keys.at(index));
    }

private:
    QStringList m_keys;
    QHash<QString, Item> m_items;
};

} // namespace qm
