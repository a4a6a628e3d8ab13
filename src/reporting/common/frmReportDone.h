/// \file
/// Tells where a finished report went.
#pragma once

#include "engine/run/ReportEngine.h"

#include <QString>
#include <QWidget>

namespace qm {

/// A small window that blocks nothing, with "Close" and for a file "Open" and "Show in folder". It tells of what the operator began, so it
/// takes the focus. Deletes itself when closed.
class frmReportDone final : public QWidget
{
    Q_OBJECT
public:
    /// \p result of a run into a file, to people or to a printer; only a file can be opened.
    frmReportDone(const QString &report, const RunResult &result, QWidget *parent = nullptr);
    /// For a file; \p note: anything the operator should know beyond it; may be empty.
    frmReportDone(const QString &report, const QString &file, qint64 rows, quint64 bytes, const QString &note, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace qm
