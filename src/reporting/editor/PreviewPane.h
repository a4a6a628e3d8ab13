/// \file
/// The preview of the query editor: the first rows, the time they took, or why there are none.
#pragma once

#include "reporting/common/BackgroundTask.h"
#include "reporting/editor/QueryProbe.h"

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;
class QTableView;

namespace qm {

/// Runs a query in the background and shows what comes; a running preview can be cancelled.
class PreviewPane final : public QWidget
{
    Q_OBJECT
public:
    static constexpr std::size_t kRows = 200;

    explicit PreviewPane(QWidget *parent = nullptr);
    ~PreviewPane() override;

    void run(const ProbeRequest &request);
    [[nodiscard]] bool isRunning() const { return m_task != nullptr; }
    void cancel();
    /// Columns of the last result.
    [[nodiscard]] const QStringList &columns() const { return m_columns; }

Q_SIGNALS:
    void succeeded();
    /// \p words as the database said them.
    void failed(const QString &words);

private:
    void ended();

    QTableView *m_table;
    QLabel *m_status;
    QProgressBar *m_bar;
    QPushButton *m_stop;
    QStringList m_columns;
    std::shared_ptr<ProbeRows> m_rows;
    std::unique_ptr<BackgroundTask> m_task;
};

} // namespace qm
