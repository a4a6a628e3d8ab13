/// \file
/// Fields that the pages of the layout editor have in common.
#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QString>

namespace qm {

/// A line of text. \p label: what screen readers call it.
[[nodiscard]] QLineEdit *layoutField(QWidget *page, const char *objectName, const QString &label);
/// Wrapped words in a quiet colour.
[[nodiscard]] QLabel *layoutHint(const QString &text, QWidget *page);

} // namespace qm
