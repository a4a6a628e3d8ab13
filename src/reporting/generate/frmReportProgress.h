/// \file
/// Shows that a report is being made and lets the operator stop it.
#pragma once

#include <QDialog>
#include <QTimer>

class QLabel;
class QPushButton;

namespace qm {

class RunProgress;

/// Appears by itself after kAppearsAfterMs; closing it, Escape and Cancel all ask for the end of the run, which the caller carries out.
class frmReportProgress final : public QDialog
{
    Q_OBJECT
public:
    static constexpr int kAppearsAfterMs = 400;

    /// \p run is read a few times a second and outlives this window.
    frmReportProgress(const QString &report, const RunProgress &run, QWidget *parent);

    void reject() override;

Q_SIGNALS:
    void cancelRequested();

private:
    void refresh();

    const RunProgress &m_run;
    QTimer m_appear, m_tick;
    QLabel *m_status;
    QPushButton *m_cancel;
};

} // namespace qm
