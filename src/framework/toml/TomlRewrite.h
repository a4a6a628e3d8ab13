/// \file
/// Writing a file again without losing what the person who wrote it put there.
#pragma once

#include "framework/toml/TomlNode.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <initializer_list>
#include <map>
#include <optional>

namespace qm {

/// Which keys of a table a reader knows.
struct TomlSchema
{
    QStringList keys;
    std::map<QString, TomlSchema> children = {}; ///< of sub-tables and of the tables of a list
    QStringList identity = {};                   ///< keys that tell the tables of a list apart
    bool anyKey = false;                         ///< every key is known: a table of names
    bool goesWhole = false;                      ///< that the table is there means something: without it nothing of it stays
};

/// Fills a table key by key. A value that is the default is left out, unless the file as it was read has the key.
class TableWriter final
{
public:
    /// \p original is the table as it was read; null for a new one.
    TableWriter(TomlNode &table, const TomlNode *original) : m_table(table), m_original(original) {}

    void text(const char *key, const QString &value, const QString &otherwise = {});
    void texts(const char *key, const QStringList &values);
    void integer(const char *key, qint64 value, qint64 otherwise = 0);
    void number(const char *key, double value, double otherwise = 0);
    void boolean(const char *key, bool value, bool otherwise = false);
    void always(const char *key, TomlNode value);

private:
    void put(const char *key, TomlNode value, bool isDefault);

    TomlNode &m_table;
    const TomlNode *m_original;
};

/// Adds to \p target those keys of \p original that \p schema does not know.
void keepUnknown(TomlNode &target, const TomlNode &original, const TomlSchema &schema);

[[nodiscard]] QStringList wordList(std::initializer_list<const char *> words);
/// The member of \p table, which may be null.
[[nodiscard]] const TomlNode *childOf(const TomlNode *table, const char *key);

/// \p text with the values changed in which \p after differs from \p before, so that comments and lay-out stay; \p tree is \p text as
/// parsed. nullopt when more than values changed.
[[nodiscard]] std::optional<QByteArray> spliceChanges(const QByteArray &text, const TomlNode &tree, const TomlNode &before,
                                                      const TomlNode &after);

/// The text of a file whose contents are to be \p after: spliced into \p oldText (parsed: \p oldTree) where that does, else written anew.
/// \p treeOf parses a text strictly and gives the tree that its contents would be written as.
/// \throws RuntimeError 5 when the text would not read back as \p after.
[[nodiscard]] QByteArray rewrite(const QByteArray &oldText, const TomlNode &oldTree, const TomlNode &after, const QString &path,
                                 const std::function<TomlNode(const QByteArray &)> &treeOf);

} // namespace qm
