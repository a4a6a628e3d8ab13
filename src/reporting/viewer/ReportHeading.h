/// \file
/// What stands above a report's rows on the screen.
#pragma once

#include "documents/ReportWriter.h"

#include <QLabel>
#include <QWidget>

namespace qm {

/// A label that shows \p text as it is, never as markup.
[[nodiscard]] QLabel *plainLabel(const QString &text, QWidget *parent = nullptr);
/// The words of the first fact of \p kind, hidden characters made visible; empty when the head has none.
[[nodiscard]] QString factWords(const ReportHead &head, Fact::Kind kind);

/// Title, subtitle, the facts that the status line does not have, and the notice that rows were cut off.
class ReportHeading final : public QWidget
{
    Q_OBJECT
public:
    /// \p note is shown as a notice when not empty.
    ReportHeading(const ReportHead &head, const ReportTail &tail, const QString &note, QWidget *parent = nullptr);
};

} // namespace qm
