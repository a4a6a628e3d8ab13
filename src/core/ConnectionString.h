/// \file
/// Connection strings: read by ADO's rules or ODBC's, written by the rules of the driver that is to read them, and shown without secrets.
#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace qm {

/// Keys and values in order; keys compare without letter case.
class Properties final
{
public:
    using Entry = std::pair<QString, QString>;

    /// The value of the last entry named \p key.
    [[nodiscard]] std::optional<QString> find(QStringView key) const;
    [[nodiscard]] QString value(QStringView key) const { return find(key).value_or(QString()); }
    void add(const QString &key, const QString &value) { m_entries.emplace_back(key, value); }
    [[nodiscard]] const std::vector<Entry> &entries() const { return m_entries; }

private:
    std::vector<Entry> m_entries;
};

/// "key=value;...": blanks around keys and bare values are dropped; a value in "..." or '...' keeps everything, its own quote doubled
/// inside; "==" in a key is one "=". A later key replaces an earlier one of the same name, except "Provider". Braces mean nothing.
/// Source: "Connection String Syntax" of the OLE DB documentation.
[[nodiscard]] Properties parseAdo(const QString &text);

/// "key=value;...": a value in {...} keeps everything, "}" doubled inside or, as FreeTDS up to 1.3 has it, single; quotes mean nothing. The
/// first of two equal keys counts, and is the only one in the result.
[[nodiscard]] Properties parseOdbc(const QString &text);

/// How a driver wants a value that holds special characters.
enum class Escaping {
    Doubled, ///< {value} with "}" doubled: what ODBC says
    Bare,    ///< {value} with "}" as it is, closed by "};", only where the value holds ";" or begins with "{": FreeTDS up to 1.3
};

/// \p value as it is written behind "KEY=". \returns nothing when this way of escaping cannot carry it.
[[nodiscard]] std::optional<QString> escaped(const QString &value, Escaping escaping);

/// Whether \p text, a key or a whole string, holds one of the words under which passwords are given.
[[nodiscard]] bool namesSecret(QStringView text);

/// Whether an entry of \p text gives a password.
[[nodiscard]] bool holdsSecret(const QString &text);

/// \p text (a connection string by ODBC's rules, or any data source) for people: built from the entries that were read, with "***" for
/// each value of a password's key. What is no entry is left out; a text without "=" stays as it is.
[[nodiscard]] QString redacted(const QString &text);

} // namespace qm
