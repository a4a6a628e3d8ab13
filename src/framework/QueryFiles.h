/// \file
/// The real readers and writers of query files (.rqn) and layout files (.rpt).
#pragma once

#include "framework/Components.h"
#include "framework/Readers.h"

namespace qm {

/// Whether \p name can be the name of a query file that the catalogue lists. \returns an empty text, or the reason ("begins with ...").
[[nodiscard]] QString whyNotAQueryName(const QString &name);

/// Reads query files for the catalogue's list, fast: the query has its description, file, report file and output type, and nothing else,
/// and cannot be written. A file in which these are wrong is refused as by TomlQueryAccess; other faults show when the query is opened or
/// run.
class TomlQueryReader final : public QueryReader
{
public:
    [[nodiscard]] std::shared_ptr<Query> ReadQuery(const QString &path) override;
};

/// Reads and writes whole queries.
class TomlQueryAccess final : public QueryAccess
{
public:
    /// \throws RuntimeError 53, 75, 321 with path, line and what to do.
    [[nodiscard]] std::shared_ptr<Query> ReadFile(const QString &path) override;
    /// Keeps keys this version does not know. A file that differs from the query's own only in letter case is written under its old
    /// spelling. \throws RuntimeError 58 when \p path is taken by a file other than the query's own, 52 for a name that is none on some
    /// platform or that no listing shows, 5 for a query that could not be read back, and as files::saveAtomically.
    void WriteFile(const Query &query, const QString &path) override;
};

/// Reads and writes layout files.
class TomlLayoutReader final : public LayoutReader
{
public:
    [[nodiscard]] ReportLayout ReadLayout(const QString &path) override;
    void WriteLayout(const ReportLayout &layout, const QString &path) override;
};

} // namespace qm
