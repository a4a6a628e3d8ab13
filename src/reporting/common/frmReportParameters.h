/// \file
/// Asks for a report's parameters and period before an interactive run.
#pragma once

#include "core/Clock.h"
#include "engine/run/PreparedQuery.h"

#include <QDialog>
#include <QMap>
#include <QString>

#include <vector>

namespace qm {

class ParameterField;
class PeriodPicker;

class frmReportParameters final : public QDialog
{
    Q_OBJECT
public:
    /// Asks for what \p query takes. \p last: the values entered before, by parameter name; they go before the query's defaults.
    frmReportParameters(const LocatedQuery &query, const QMap<QString, QString> &last, const Clock &clock, QWidget *parent);

    [[nodiscard]] QMap<QString, QString> values() const;
    /// Puts the entered values and the period into \p choices.
    void apply(QueryChoices &choices) const;

    void accept() override;

private:
    std::vector<ParameterField *> m_fields;
    PeriodPicker *m_period = nullptr;
};

} // namespace qm
