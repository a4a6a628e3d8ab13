/// \file
/// The {fields} that texts of layouts, file names and e-mails may name: the one list of them.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace qm {

struct RunFacts;

/// Where a field is offered; each is understood wherever its value is known.
enum class FieldPlace { Layout, FileName };

/// The values of the fields that \p facts know.
[[nodiscard]] QMap<QString, QString> fieldValues(const RunFacts &facts);
/// Names of the fields to offer, in the order in which an operator reads them.
[[nodiscard]] QStringList offeredFields(FieldPlace place);
/// Fields that a page band keeps, since only the pages know them.
[[nodiscard]] QStringList pageFields();
/// The file name field that is counted up until the name is free.
inline constexpr char kCounterField[] = "counter";

} // namespace qm
