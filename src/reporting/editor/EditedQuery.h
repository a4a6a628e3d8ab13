/// \file
/// The query that an editor works on: read from its file or new, with its layout, and written back.
#pragma once

#include "engine/run/QueryHome.h"
#include "framework/Query.h"
#include "framework/ReportLayout.h"
#include "reporting/editor/QueryDraft.h"

#include <QString>

namespace qm {

struct ReportingUiServices;

/// A name for a new query file in \p folder (with trailing separator) that the folder's listing returns after every query that is there.
[[nodiscard]] QString newQueryPath(const QString &folder);

/// Reads and writes the edited files. Nothing is written before save().
class EditedQuery final
{
public:
    /// \p target: a group folder with trailing separator for a new query, or a query file.
    /// \throws RuntimeError as the readers do; a layout that cannot be read is told by layoutProblem() instead.
    EditedQuery(ReportingUiServices &services, const QString &target);

    [[nodiscard]] const QueryDraft &saved() const { return m_saved; }
    [[nodiscard]] bool isNew() const { return m_path.isEmpty(); }
    [[nodiscard]] const QString &path() const { return m_path; } ///< empty until a new query was saved
    [[nodiscard]] const QueryHome &home() const { return m_home; }
    [[nodiscard]] const QString &layoutProblem() const { return m_layoutProblem; }

    [[nodiscard]] ReportLayout readLayout(const QString &reportFile) const;
    /// A layout path of its own for a query described \p description, relative to the package's folder.
    [[nodiscard]] QString freeLayoutName(const QString &description) const;

    /// Writes layout, then query. After a failure both old files are whole. \throws RuntimeError as the writers do.
    void save(const QueryDraft &draft);

private:
    void writeNew(Query &query);

    ReportingUiServices &m_services;
    QString m_folder; ///< group folder with trailing separator
    QString m_path;
    QueryHome m_home;
    QueryDraft m_saved;
    QString m_layoutProblem;
};

} // namespace qm
