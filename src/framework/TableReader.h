/// \file
/// Typed access to the keys of a table, with errors that name file, line, key and what is expected.
#pragma once

#include "core/WallTime.h"
#include "framework/toml/TomlNode.h"

#include <QStringList>

#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace qm {

/// Reads one table of a file. Every failure is RuntimeError 321.
///
/// Holds references: the tree and the path outlive it.
class TableReader final
{
public:
    TableReader(const TomlNode &table, const QString &path) : m_table(table), m_path(path) {}

    [[nodiscard]] bool has(const char *key) const { return find(key) != nullptr; }
    [[nodiscard]] QString text(const char *key, const QString &otherwise = {}) const;
    [[nodiscard]] QString requiredText(const char *key) const;
    [[nodiscard]] QStringList texts(const char *key) const;
    [[nodiscard]] bool boolean(const char *key, bool otherwise) const;
    [[nodiscard]] qint64 integer(const char *key, qint64 otherwise, qint64 least, qint64 most) const;
    /// A number with or without a fraction.
    [[nodiscard]] double number(const char *key, double otherwise, double least, double most) const;
    [[nodiscard]] WallTime requiredLocalTime(const char *key) const;
    /// The position in \p words of the text, compared without letter case.
    [[nodiscard]] int word(const char *key, int otherwise, const QStringList &words) const;
    /// The members of a table of texts, in the order of the file.
    [[nodiscard]] std::vector<std::pair<QString, QString>> textTable(const char *key) const;
    /// A text, number, truth value or time as text; nullopt without the key.
    [[nodiscard]] std::optional<QString> scalarAsText(const char *key) const;

    /// The sub-table, or an empty one.
    [[nodiscard]] const TomlNode &table(const char *key) const;
    /// The tables of a list; none without the key.
    [[nodiscard]] const std::vector<TomlNode> &tables(const char *key) const;

    /// Checks `format`: missing or 1 is this version's.
    void checkFormat() const;
    /// Refuses keys that are not in \p known: a misspelt key must not be passed over.
    void refuseUnknown(const QStringList &known) const;
    /// Refuses the value of \p key (the table when it is missing) for the reason \p what.
    [[noreturn]] void fail(const char *key, const QString &what) const;
    [[noreturn]] void failAt(int line, const QString &what) const;

private:
    [[nodiscard]] const TomlNode *find(const char *key) const;
    [[nodiscard]] QString misspelling(const char *key) const;
    [[noreturn]] void wrongKind(const char *key, const TomlNode &found, const char *expected) const;

    const TomlNode &m_table;
    const QString &m_path;
};

/// A local date and time, "2026-11-21T14:05:37" or with a blank; nullopt for anything else (a fraction, an offset, no such day).
[[nodiscard]] std::optional<WallTime> localTimeOf(QStringView spelling);

} // namespace qm
