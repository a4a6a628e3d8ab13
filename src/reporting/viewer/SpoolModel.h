/// \file
/// The table model over a spooled report.
#pragma once

#include "documents/CellFormat.h"
#include "engine/rows/Spool.h"
#include "reporting/viewer/RowOrder.h"

#include <QAbstractTableModel>
#include <QCache>

namespace qm {

/// Shows a report's rows in an order that can be exchanged. Reads pages of rows when they are asked for and keeps the recent ones, so that
/// its memory does not grow with the report. The report must outlive the model.
class SpoolModel final : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// Texts longer than this are cut in the grid (the detail pane shows them whole), in UTF-16 units.
    static constexpr qsizetype kShownInGrid = 400;

    explicit SpoolModel(const SpooledReport &report, QObject *parent = nullptr);
    ~SpoolModel() override;

    void setOrder(std::shared_ptr<const RowOrder> order);
    [[nodiscard]] const RowOrder &order() const { return *m_order; }
    [[nodiscard]] std::shared_ptr<const RowOrder> sharedOrder() const { return m_order; }

    /// The whole cell as the report shows it, characters unchanged.
    [[nodiscard]] QString fullText(int row, int column) const;
    [[nodiscard]] bool isNull(int row, int column) const;
    /// A column's caption, characters unchanged.
    [[nodiscard]] QString caption(int column) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    struct Page;
    [[nodiscard]] const Page &pageOf(int row) const;
    [[nodiscard]] const QString &shownCell(int row, int column) const;
    [[nodiscard]] QString formatted(std::size_t column, const Value &value) const;

    const SpooledReport &m_report;
    std::shared_ptr<const RowOrder> m_order;
    std::vector<CellFormatter> m_formats;
    mutable SpoolReader m_reader;
    mutable QCache<int, Page> m_pages;
};

} // namespace qm
