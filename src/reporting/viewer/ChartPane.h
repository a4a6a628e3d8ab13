/// \file
/// The charts of a report, above its rows.
#pragma once

#include "documents/ReportShape.h"

#include <QWidget>

#include <span>
#include <vector>

namespace qm {

/// Paints charts side by side, as large as it is itself; what has no room at the right is left out. Screen readers are told the title and
/// the largest values of each.
class ChartPane final : public QWidget
{
    Q_OBJECT
public:
    /// \p figures: one for each of \p specs.
    ChartPane(std::span<const ChartSpec> specs, std::span<const ChartData> figures, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    struct Chart
    {
        ChartSpec spec;
        ChartData data;
    };
    std::vector<Chart> m_charts;
};

} // namespace qm
