/// \file
/// What a name is in SQL, so that the query file, the editor and the reader of the SQL agree on parameters.
#pragma once

#include <QString>

#include <algorithm>

namespace qm {

/// A letter of any script or "_"; half a character outside the basic plane counts as one, as the engines have it.
[[nodiscard]] inline bool isSqlNameStart(QChar c)
{
    return c.isLetter() || c == u'_' || c.isSurrogate();
}
/// The same, a digit, or a mark that belongs to the letter before it.
[[nodiscard]] inline bool isSqlNamePart(QChar c)
{
    return isSqlNameStart(c) || c.isDigit() || c.isMark();
}
/// Whether \p name can stand behind the mark of a parameter.
[[nodiscard]] inline bool isSqlName(QStringView name)
{
    return !name.isEmpty() && isSqlNameStart(name.front()) && std::all_of(name.begin(), name.end(), isSqlNamePart);
}

} // namespace qm
