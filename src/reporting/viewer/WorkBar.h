/// \file
/// The part of the viewer's status line that tells what is being done.
#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QProgressBar;

namespace qm {

class ViewerRows;

/// Says what the rows' work does, how far it is, and stops it. Hidden while nothing works, and for its first moment.
class WorkBar final : public QWidget
{
    Q_OBJECT
public:
    explicit WorkBar(ViewerRows &rows, QWidget *parent = nullptr);

private:
    void showProgress();

    ViewerRows &m_rows;
    QLabel *m_what;
    QProgressBar *m_bar;
    QTimer m_tick;
};

} // namespace qm
