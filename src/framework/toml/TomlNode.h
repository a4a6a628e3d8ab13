/// \file
/// A TOML document as a plain tree, without the library that parsed it; its text forms are in TomlText.h.
#pragma once

#include <QByteArray>
#include <QString>

#include <utility>
#include <vector>

namespace qm {

/// One value of a document. Tables keep the order of their keys as the file has it.
///
/// A value type. Comparison looks at contents only, neither at places in the file nor at the order of keys.
class TomlNode
{
public:
    enum class Kind {
        String,
        Integer,
        Float,
        Boolean,
        Time, ///< a date, a time or both: \c text is its TOML spelling
        Array,
        Table
    };
    using Member = std::pair<QString, TomlNode>;

    TomlNode() = default; ///< an empty table
    [[nodiscard]] static TomlNode ofText(const QString &value);
    [[nodiscard]] static TomlNode ofInteger(qint64 value);
    [[nodiscard]] static TomlNode ofNumber(double value);
    [[nodiscard]] static TomlNode ofBoolean(bool value);
    [[nodiscard]] static TomlNode ofTime(const QString &spelling);
    [[nodiscard]] static TomlNode array();

    /// The member of that exact name; null when this is no table or has none.
    [[nodiscard]] const TomlNode *find(const QString &key) const;
    TomlNode &put(const QString &key, TomlNode value);
    /// Whether this is an array of at least one table and nothing else.
    [[nodiscard]] bool isTableArray() const;
    /// "a text", "a whole number", ... for messages.
    [[nodiscard]] QString kindText() const;

    friend bool operator==(const TomlNode &a, const TomlNode &b);

    Kind kind = Kind::Table;
    QString text;
    qint64 integer = 0;
    double number = 0;
    bool boolean = false;
    std::vector<TomlNode> items; ///< of an array
    std::vector<Member> members; ///< of a table

    int line = 0;         ///< from 1; 0: not read from a file
    qsizetype begin = -1; ///< place of the value in the file's bytes, -1 unknown
    qsizetype end = -1;
};

/// Parses a whole document.
/// \throws RuntimeError 321 with \p path and the line, for text that is not TOML 1.0 or not UTF-8. A leading byte-order mark is accepted.
[[nodiscard]] TomlNode parseToml(const QByteArray &bytes, const QString &path);

} // namespace qm
