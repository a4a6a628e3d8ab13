/// \file
/// What the schedule does right now, in the status bar.
#pragma once

#include "shell/ReportRunner.h"

#include <QTimer>
#include <QWidget>

class QProgressBar;
class QPushButton;

namespace qm {

class ElidedLabel;

/// Shows the scheduled report that is being made, with its progress and a button that cancels it, and a notice for as long as something is
/// wrong with the schedule. Takes no room while there is neither.
class ScheduleStatus final : public QWidget
{
    Q_OBJECT
public:
    /// \p runs is asked a few times a second while a run is shown; without an answer it has no progress and cannot be cancelled.
    explicit ScheduleStatus(const ScheduledProgress &runs, QWidget *parent = nullptr);

    /// \p queryFile names the report until its interface does.
    void runBegan(const QString &queryFile);
    void runEnds();
    void runOver();
    void setNotice(const QString &notice);
    /// What is being made, for the tray icon's tip; empty: nothing.
    [[nodiscard]] QString runText() const;

Q_SIGNALS:
    void cancelRequested();

private:
    void refresh();
    void updateVisible();

    const ScheduledProgress &m_runs;
    ElidedLabel *m_run, *m_notice;
    QProgressBar *m_bar;
    QPushButton *m_cancel;
    QTimer m_tick;
    QString m_report;
    bool m_isRunning = false;
};

} // namespace qm
