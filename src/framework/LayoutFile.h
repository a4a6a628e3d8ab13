/// \file
/// The layout file format (.rpt): bytes to ReportLayout and back. docs/file-formats.md describes it.
#pragma once

#include "framework/ReportLayout.h"
#include "framework/toml/TomlNode.h"

#include <QByteArray>

namespace qm {

/// A layout file as it was read.
class LayoutFileText final
{
public:
    LayoutFileText(QByteArray bytes, TomlNode tree) : m_bytes(std::move(bytes)), m_tree(std::move(tree)) {}

    [[nodiscard]] const QByteArray &bytes() const { return m_bytes; }
    [[nodiscard]] const TomlNode &tree() const { return m_tree; }

private:
    QByteArray m_bytes;
    TomlNode m_tree;
};

/// \throws RuntimeError 321 with \p path and line.
[[nodiscard]] ReportLayout parseLayout(const QByteArray &bytes, const QString &path);
/// The text of \p layout's file. A file that was read keeps its unknown keys and, when only values changed, its comments and lay-out.
/// \throws RuntimeError 5 when the layout could not be read back from the text.
[[nodiscard]] QByteArray layoutText(const ReportLayout &layout, const QString &path);

} // namespace qm
