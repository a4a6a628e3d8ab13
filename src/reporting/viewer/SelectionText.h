/// \file
/// Selected cells of the viewer as text for the clipboard.
#pragma once

#include <QItemSelection>
#include <QString>

namespace qm {

class SpoolModel;

/// How many cells \p selection holds.
[[nodiscard]] qint64 cellCount(const QItemSelection &selection);

/// The cells of \p selection as lines with tabs between the cells, as spreadsheets take them: every row and column that has a selected
/// cell, cells between them that are not selected empty, texts with tabs, line ends or a leading quote in quotes. A single cell without
/// captions is given as it is, ready for a search field. \p withCaptions: a first line of captions.
[[nodiscard]] QString selectionText(const SpoolModel &model, const QItemSelection &selection, bool withCaptions);

} // namespace qm
