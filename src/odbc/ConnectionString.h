/// \file
/// Connection strings: read by ADO's rules or ODBC's, and written by the rules of the driver that is to read them.
#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace qm::odbc {

/// Keys and values in order; keys compare without letter case.
class Properties final
{
public:
    /// The value of the last entry named \p key.
    [[nodiscard]] std::optional<QString> find(QStringView key) const;
    [[nodiscard]] QString value(QStringView key) const { return find(key).value_or(QString()); }
    void add(const QString &key, const QString &value) { m_entries.emplace_back(key, value); }
    [[nodiscard]] const std::vector<std::pair<QString, QString>> &entries() const { return m_entries; }

private:
    std::vector<std::pair<QString, QString>> m_entries;
};

/// "key=value;...": blanks around keys and bare values are dropped; a value in "..." or '...' keeps everything, its own quote doubled
/// inside; "==" in a key is one "=". A later key replaces an earlier one of the same name, except "Provider". Braces mean nothing.
/// Source: "Connection String Syntax" of the OLE DB documentation.
[[nodiscard]] Properties parseAdo(const QString &text);

/// "key=value;...": a value in {...} keeps everything, "}" doubled inside. The first of two equal keys counts, so find() gives that.
[[nodiscard]] Properties parseOdbc(const QString &text);

/// How a driver wants a value that holds special characters.
enum class Escaping {
    Doubled, ///< {value} with "}" doubled: what ODBC says
    Bare,    ///< {value} with "}" as it is, closed by "};", only where the value holds ";" or begins with "{": FreeTDS up to 1.3
};

/// \p value as it is written behind "KEY=". \returns nothing when this way of escaping cannot carry it.
[[nodiscard]] std::optional<QString> escaped(const QString &value, Escaping escaping);

} // namespace qm::odbc
