/// \file
/// Tables and columns of a data source, for browsing and completion.
#pragma once

#include "engine/rows/RowSources.h"

#include <QString>

#include <vector>

namespace qm {

class CancelFlag;

struct SchemaColumn
{
    QString name, type;
};

struct SchemaTable
{
    QString name;
    bool isView = false;
    std::vector<SchemaColumn> columns;
};

using SqlSchema = std::vector<SchemaTable>;

/// Reads the schema. \throws RuntimeError as the source does; cancelledByOperator.
[[nodiscard]] SqlSchema readSchema(const SourceDescription &source, std::shared_ptr<CancelFlag> cancel);

/// \p name as SQL writes it: quoted where it needs to be.
[[nodiscard]] QString quotedName(const QString &name);

/// What could be written at \p position of \p sql: after "table." or "alias." the table's columns, else keywords, parameters, tables and
/// the columns of the tables that the text names.
[[nodiscard]] QStringList completionsAt(const QString &sql, qsizetype position, SqlDialect dialect, const SqlSchema &schema);
/// Where the word begins that is being written at \p position.
[[nodiscard]] qsizetype wordStart(QStringView sql, qsizetype position);

} // namespace qm
