/// \file
/// Groups and totals of a layout.
#pragma once

#include "framework/ReportLayout.h"

#include <QWidget>

#include <vector>

class QLineEdit;
class QTableWidget;

namespace qm {

/// By what the rows are grouped, and what is counted and summed.
class LayoutGroupsPage final : public QWidget
{
    Q_OBJECT
public:
    explicit LayoutGroupsPage(QWidget *parent = nullptr);

    void show(const ReportLayout &layout);
    /// Writes what the page shows into \p layout. \throws RuntimeError for totals that cannot be read.
    void store(ReportLayout &layout) const;

Q_SIGNALS:
    void changed();

private:
    void addGroups(const std::vector<LayoutGroup> &groups);

    QTableWidget *m_groups;
    QLineEdit *m_totals = nullptr;
};

} // namespace qm
