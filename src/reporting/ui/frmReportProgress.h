/// \file
/// Shows that a report is being made and lets the operator stop it.
#pragma once

#include "reporting/engine/ReportEngine.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

#include <atomic>
#include <cstdint>

class QLabel;
class QPushButton;

namespace qm {

/// Appears by itself after kAppearsAfterMs; closing it, Escape and Cancel all ask for the end of the run, which the caller carries out.
class frmReportProgress final : public QDialog
{
    Q_OBJECT
public:
    static constexpr int kAppearsAfterMs = 400;

    /// \p rows is read a few times a second.
    frmReportProgress(const QString &report, const std::atomic<std::int64_t> &rows, QWidget *parent);
    /// Has \p stage read too, which outlives this window.
    void watchStage(const std::atomic<RunStage> &stage) { m_stage = &stage; }

    void reject() override;

Q_SIGNALS:
    void cancelRequested();

private:
    void refresh();

    const std::atomic<std::int64_t> &m_rows;
    const std::atomic<RunStage> *m_stage = nullptr;
    QElapsedTimer m_elapsed;
    QTimer m_appear, m_tick;
    QLabel *m_status;
    QPushButton *m_cancel;
};

} // namespace qm
