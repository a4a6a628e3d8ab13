/// \file
/// The notice of scheduled reports that cannot run.
#pragma once

#include <QLabel>
#include <QTimer>

namespace qm {

class JobTable;

/// Names the jobs whose query file does not exist, for as long as there are any; hidden otherwise. Follows the table.
class MissingFileNotice final : public QLabel
{
    Q_OBJECT
public:
    explicit MissingFileNotice(JobTable &table, QWidget *parent = nullptr);

protected:
    bool event(QEvent *event) override;

private:
    void refresh();

    JobTable &m_table;
    QTimer m_soon; ///< one look for many changes at once
};

} // namespace qm
