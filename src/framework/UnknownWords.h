/// \file
/// What a file says and its reader does not know, told with the nearest that it does.
#pragma once

#include <QString>
#include <QStringList>

namespace qm {

class TomlNode;
struct TomlSchema;

/// The one of \p words that \p word was most likely meant to be, without regard to letter case; empty when none is near: more
/// than a third of its letters would have to be added, left out, exchanged or swapped with their neighbour.
[[nodiscard]] QString nearestWord(const QString &word, const QStringList &words);
/// "; did you mean "x"?", or "; known are x, y." where none is near.
[[nodiscard]] QString nearestAdvice(const QString &word, const QStringList &words);
/// A sentence with its line for each key in the tables of \p root that \p schema does not know. Keys that begin with "x_" are a person's
/// own and not told; in \p root itself, where other programs may have tables, only those near to a known key are.
[[nodiscard]] QStringList unknownKeys(const TomlNode &root, const TomlSchema &schema);

} // namespace qm
