/// \file
/// Asks for a report's parameters and period before an interactive run.
#pragma once

#include "core/Clock.h"
#include "framework/Query.h"
#include "reporting/engine/ReportEngine.h"

#include <QDialog>

#include <vector>

namespace qm {

class ParameterField;
class PeriodPicker;

class frmReportParameters final : public QDialog
{
    Q_OBJECT
public:
    /// Whether \p query cannot run without asking.
    [[nodiscard]] static bool isNeeded(const Query &query);

    /// \p last: the values entered before, by parameter name; they go before the query's defaults.
    frmReportParameters(const Query &query, const QMap<QString, QString> &last, const Clock &clock, QWidget *parent);

    [[nodiscard]] QMap<QString, QString> values() const;
    /// Puts the entered values and the period into \p options.
    void apply(RunOptions &options) const;

    void accept() override;

private:
    std::vector<ParameterField *> m_fields;
    PeriodPicker *m_period = nullptr;
};

} // namespace qm
