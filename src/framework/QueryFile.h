/// \file
/// The query file format (.rqn): bytes to Query and back. docs/file-formats.md describes it.
#pragma once

#include "framework/Query.h"
#include "framework/toml/TomlNode.h"

#include <QByteArray>

#include <optional>

namespace qm {

/// A query file as it was read.
class QueryFileText final
{
public:
    QueryFileText(QByteArray bytes, TomlNode tree) : m_bytes(std::move(bytes)), m_tree(std::move(tree)) {}

    [[nodiscard]] const QByteArray &bytes() const { return m_bytes; }
    [[nodiscard]] const TomlNode &tree() const { return m_tree; }
    /// What a query holds that was read for the list only, without its SQL; it cannot be written.
    [[nodiscard]] static const std::shared_ptr<const QueryFileText> &summary();

private:
    QByteArray m_bytes;
    TomlNode m_tree;
};

/// The whole query. \throws RuntimeError 321 with \p path and line.
[[nodiscard]] Query parseQuery(const QByteArray &bytes, const QString &path);
/// The text of \p query's file. A file that was read keeps its unknown keys and, when only values changed, its comments and lay-out.
/// \throws RuntimeError 5 when the query could not be read back from the text.
[[nodiscard]] QByteArray queryText(const Query &query, const QString &path);

/// What the catalogue's list shows of a query.
struct QuerySummary
{
    QString description;
    QString reportFile;
    int outputType = 0;
};
/// The summary of a file in plain TOML; nullopt for anything unusual, right or wrong: parseQuery() then decides.
[[nodiscard]] std::optional<QuerySummary> scanQuerySummary(std::string_view text);

} // namespace qm
