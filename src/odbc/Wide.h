/// \file
/// Texts as the wide ODBC calls take and give them.
#pragma once

#include "platform/OdbcApi.h"

#include <QString>

#include <vector>

namespace qm::odbc {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the driver manager's wide character must be UTF-16");

/// A copy of a text that a driver may be given: ODBC takes its in-parameters as not const.
class WideText final
{
public:
    explicit WideText(const QString &text);

    [[nodiscard]] SQLWCHAR *data() { return m_units.data(); }
    /// UTF-16 units without the NUL behind them.
    [[nodiscard]] SQLINTEGER length() const { return static_cast<SQLINTEGER>(m_units.size() - 1); }
    [[nodiscard]] SQLSMALLINT shortLength() const { return static_cast<SQLSMALLINT>(m_units.size() - 1); }

private:
    std::vector<SQLWCHAR> m_units;
};

[[nodiscard]] QString fromWide(const SQLWCHAR *text, qsizetype units);
/// Writes UTF-16 as UTF-8 to \p out, which has room for 3 bytes a unit; a surrogate without its other half becomes U+FFFD.
/// \returns the end of what was written.
char *writeUtf8(const SQLWCHAR *text, std::size_t units, char *out);

} // namespace qm::odbc
