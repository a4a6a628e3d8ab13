#include "engine/sql/SqlParameters.h"

#include "core/Failure.h"

#include <QTime>

#include <charconv>
#include <cmath>

namespace qm {

namespace {

bool sameName(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

std::optional<SqlValue> readNumber(const QByteArray &text)
{
    double number = 0;
    const char *first = text.cbegin(), *last = text.cend();
    if (last - first > 1 && *first == '+' && first[1] != '-')
        ++first;
    const auto [end, failure] = std::from_chars(first, last, number);
    if (failure != std::errc() || end != last || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::optional<SqlValue> readInteger(const QByteArray &text)
{
    std::int64_t number = 0;
    const char *first = text.cbegin(), *last = text.cend();
    if (last - first > 1 && *first == '+' && first[1] != '-')
        ++first;
    const auto [end, failure] = std::from_chars(first, last, number);
    if (failure != std::errc() || end != last)
        return std::nullopt;
    return number;
}

std::optional<SqlValue> readDate(const QString &text, QDate today)
{
    const QString word = text.toLower();
    QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    if (word == QStringLiteral("today"))
        date = today;
    else if (word == QStringLiteral("yesterday"))
        date = today.addDays(-1);
    else if (word == QStringLiteral("tomorrow"))
        date = today.addDays(1);
    if (!date.isValid())
        return std::nullopt;
    return date.toString(Qt::ISODate).toUtf8();
}

std::optional<SqlValue> readTime(const QString &text)
{
    QTime time = QTime::fromString(text, QStringLiteral("HH:mm:ss"));
    if (!time.isValid())
        time = QTime::fromString(text, QStringLiteral("HH:mm"));
    if (!time.isValid())
        return std::nullopt;
    return time.toString(QStringLiteral("HH:mm:ss")).toUtf8();
}

std::optional<SqlValue> readBoolean(const QString &text)
{
    const QString word = text.toLower();
    for (const char *yes : {"true", "yes", "1", "on"})
        if (word == QLatin1String(yes))
            return std::int64_t{1};
    for (const char *no : {"false", "no", "0", "off"})
        if (word == QLatin1String(no))
            return std::int64_t{0};
    return std::nullopt;
}

std::optional<SqlValue> readAs(const QueryParameter &parameter, const QString &text, QDate today)
{
    const QString trimmed = text.trimmed();
    switch (parameter.type) {
    case ParameterType::Integer:
        return readInteger(trimmed.toUtf8());
    case ParameterType::Number:
        return readNumber(trimmed.toUtf8());
    case ParameterType::Date:
        return readDate(trimmed, today);
    case ParameterType::Time:
        return readTime(trimmed);
    case ParameterType::Boolean:
        return readBoolean(trimmed);
    case ParameterType::List:
        if (!parameter.values.isEmpty() && !parameter.values.contains(text))
            return std::nullopt;
        break;
    case ParameterType::Text:
        break;
    }
    return text.toUtf8();
}

const QueryParameter *declared(const Query &query, const QString &name)
{
    for (const QueryParameter &parameter : query.parameters)
        if (sameName(parameter.name, name))
            return &parameter;
    return nullptr;
}

/// A given name must be one that the query declares or its SQL uses.
void refuseUnknown(const Query &query, const QStringList &used, const QMap<QString, QString> &given)
{
    for (auto it = given.cbegin(); it != given.cend(); ++it) {
        if (declared(query, it.key()) || used.contains(it.key(), Qt::CaseInsensitive))
            continue;
        QStringList known;
        for (const QueryParameter &parameter : query.parameters)
            known.append(parameter.name);
        for (const QString &name : used)
            if (!known.contains(name, Qt::CaseInsensitive))
                known.append(name);
        failReport(QStringLiteral("The query \"%1\" has no parameter \"%2\". %3")
                       .arg(query.Description, it.key(),
                            known.isEmpty() ? QStringLiteral("It takes no parameters.")
                                            : QStringLiteral("Its parameters are: %1.").arg(known.join(QStringLiteral(", ")))));
    }
}

std::optional<QString> givenValue(const QMap<QString, QString> &given, const QString &name)
{
    for (auto it = given.cbegin(); it != given.cend(); ++it)
        if (sameName(it.key(), name))
            return it.value();
    return std::nullopt;
}

[[noreturn]] void raiseMissing(const Query &query, const QStringList &missing)
{
    failReport(QStringLiteral("The query \"%1\" needs values for: %2. Give each as a parameter, or put a default into the query file.")
                   .arg(query.Description, missing.join(QStringLiteral("; "))));
}

} // namespace

QString expectedForm(const QueryParameter &parameter)
{
    switch (parameter.type) {
    case ParameterType::Integer:
        return QStringLiteral("a whole number, such as 4625");
    case ParameterType::Number:
        return QStringLiteral("a number with a decimal point, such as 2.5");
    case ParameterType::Date:
        return QStringLiteral("a date as YYYY-MM-DD, or today, yesterday, tomorrow");
    case ParameterType::Time:
        return QStringLiteral("a time as HH:MM or HH:MM:SS");
    case ParameterType::Boolean:
        return QStringLiteral("true or false");
    case ParameterType::List:
        return parameter.values.isEmpty() ? QStringLiteral("a text")
                                          : QStringLiteral("one of: %1").arg(parameter.values.join(QStringLiteral(", ")));
    case ParameterType::Text:
        break;
    }
    return QStringLiteral("a text");
}

SqlValue readParameterValue(const QueryParameter &parameter, const QString &text, QDate today)
{
    if (const auto value = readAs(parameter, text, today))
        return *value;
    failReport(QStringLiteral("The parameter \"%1\" cannot be \"%2\". It must be %3.").arg(parameter.name, text, expectedForm(parameter)));
}

std::vector<BoundParameter> bindParameters(const Query &query, const QStringList &used, const QMap<QString, QString> &given,
                                           const std::optional<PeriodRange> &period, QDate today)
{
    refuseUnknown(query, used, given);
    std::vector<BoundParameter> bound;
    QStringList missing;
    for (const QString &name : used) {
        const QueryParameter *parameter = declared(query, name);
        const bool from = sameName(name, QLatin1String(kDateFrom));
        const auto value = givenValue(given, name);
        if (!parameter && !value && period && (from || sameName(name, QLatin1String(kDateTo)))) {
            const QString &end = from ? period->fromUtc : period->toUtc;
            bound.push_back({name, end.toUtf8(), end, name, true, ParameterType::Text});
            continue;
        }
        QueryParameter plain;
        plain.name = name;
        const QueryParameter &asked = parameter ? *parameter : plain;
        if (!value && !asked.hasDefault) {
            const bool ofPeriod = !parameter && (from || sameName(name, QLatin1String(kDateTo)));
            missing.append(QStringLiteral("%1 (%2)").arg(name, ofPeriod ? QStringLiteral("a period: its first and last day, or all time")
                                                                        : expectedForm(asked)));
            continue;
        }
        const QString text = value.value_or(asked.defaultValue);
        bound.push_back(
            {name, readParameterValue(asked, text, today), text, asked.label.isEmpty() ? name : asked.label, false, asked.type});
    }
    if (!missing.isEmpty())
        raiseMissing(query, missing);
    return bound;
}

} // namespace qm
