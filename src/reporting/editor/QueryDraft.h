/// \file
/// A query as the editor's pages show it: whether it differs from another, what it would write, and why it cannot be saved.
#pragma once

#include "core/WallTime.h"
#include "engine/run/QueryHome.h"
#include "engine/sql/SqlLexer.h"
#include "framework/Query.h"
#include "framework/ReportLayout.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace qm {

/// A query and its layout as they are being edited.
struct QueryDraft
{
    Query query;
    ReportLayout layout;      ///< meaningful only where query.ReportFile is not empty
    QString unreadableLayout; ///< why the page's layout could not be read; empty when it could
};

/// What surrounds a draft.
struct DraftContext
{
    QueryHome home;
    QString savedSource; ///< the data source in the file
    bool isNew = false;
    WallTime now;
};

/// Where a problem is mended.
enum class DraftField { Description, Connection, Sql, Period, Parameters, Layout, Output };

struct DraftProblem
{
    DraftField field;
    QString text;
};

/// The first reason why \p draft cannot be saved. Reads at most the file of a saved data source; connects to nothing.
[[nodiscard]] std::optional<DraftProblem> findProblem(const QueryDraft &draft, const DraftContext &context);

/// Everything in \p draft that is saved, as bytes to compare with.
[[nodiscard]] QByteArray fingerprint(const QueryDraft &draft);

/// Of the source that \p dataSource names; the standard's when that cannot be found out.
[[nodiscard]] SqlDialect dialectOf(const QString &dataSource, const QueryHome &home);

/// Whether the SQL of \p query has a use for a period, or is still to be written.
[[nodiscard]] bool mayTakePeriod(const Query &query, SqlDialect dialect);

/// The name that a report file of \p query would have at \p now. \p periodPhrase: empty without a period.
/// \throws RuntimeError for an unknown field.
[[nodiscard]] QString exampleFileName(const Query &query, const QString &periodPhrase, const QueryHome &home, const WallTime &now);

} // namespace qm
