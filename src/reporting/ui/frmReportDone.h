/// \file
/// Tells where a finished report file is.
#pragma once

#include <QString>
#include <QWidget>

namespace qm {

/// A small window that blocks nothing, with "Open", "Show in folder" and "Close". Deletes itself when closed.
class frmReportDone final : public QWidget
{
    Q_OBJECT
public:
    /// \p note: anything the operator should know beyond the file; may be empty.
    frmReportDone(const QString &report, const QString &file, qint64 rows, quint64 bytes, const QString &note, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace qm
