/// \file
/// The values of a query's parameters: chosen, checked by type, ready to be bound.
#pragma once

#include "engine/sql/Period.h"
#include "framework/Query.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

namespace qm {

/// One value to bind. Text is UTF-8; dates are "YYYY-MM-DD", times "HH:MM:SS", booleans 0 or 1.
using SqlValue = std::variant<std::int64_t, double, QByteArray>;

struct BoundParameter
{
    QString name; ///< as the SQL writes it, without its mark
    SqlValue value;
    QString shown;         ///< the value as the operator gave it
    QString label;         ///< for the reader of the report; the name when the query file gives none
    bool ofPeriod = false; ///< :date_from or :date_to
    ParameterType type = ParameterType::Text;
};

inline constexpr char kDateFrom[] = "date_from", kDateTo[] = "date_to";

/// What a value of \p type looks like, for messages and prompts ("a date as YYYY-MM-DD, or today, yesterday").
[[nodiscard]] QString expectedForm(const QueryParameter &parameter);
/// \p text as a value of the parameter's type. \throws RuntimeError reportFailed naming the parameter and the expected form.
[[nodiscard]] SqlValue readParameterValue(const QueryParameter &parameter, const QString &text, QDate today);

/// A value for every name in \p used: given ones first, then the query's defaults; date_from and date_to from the period unless the query
/// declares parameters of these names. Names compare without letter case. \throws RuntimeError reportFailed: a given name that the query
/// does not know, a value of the wrong form, or the list of all values that are missing.
[[nodiscard]] std::vector<BoundParameter> bindParameters(const Query &query, const QStringList &used, const QMap<QString, QString> &given,
                                                         const std::optional<PeriodRange> &period, QDate today);

} // namespace qm
