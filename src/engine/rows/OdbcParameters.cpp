#include "engine/rows/OdbcParameters.h"

#include "documents/IsoTime.h"

#include <algorithm>
#include <charconv>

namespace qm {

namespace {

using odbc::Engine;

/// Longer texts are given as of unlimited length.
constexpr SQLULEN kLongestVarchar = 4000;
constexpr SQLULEN kDateSize = 10, kTimeSize = 8, kTimestampSize = 19, kIntegerSize = 19, kDoubleSize = 15;

std::optional<IsoTime> timeIn(const BoundParameter &parameter)
{
    const auto *text = std::get_if<QByteArray>(&parameter.value);
    const bool isTime = parameter.ofPeriod || parameter.type == ParameterType::Date || parameter.type == ParameterType::Time;
    if (!text || !isTime)
        return std::nullopt;
    return parseIsoTime({text->constData(), static_cast<std::size_t>(text->size())});
}

SQLUSMALLINT part(int number)
{
    return static_cast<SQLUSMALLINT>(number);
}

} // namespace

OdbcParameters::OdbcParameters(const std::vector<BoundParameter> &values, const Engine &engine)
{
    for (const BoundParameter &parameter : values)
        m_bound.push_back(of(parameter, engine));
}

OdbcParameters::Bound OdbcParameters::ofText(const QString &text)
{
    Bound bound;
    std::vector<SQLWCHAR> units;
    for (const QChar c : text)
        units.push_back(static_cast<SQLWCHAR>(c.unicode()));
    bound.size = std::max<SQLULEN>(units.size(), 1);
    bound.sqlType = bound.size > kLongestVarchar ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
    bound.length = static_cast<SQLLEN>(units.size() * sizeof(SQLWCHAR));
    units.push_back(0);
    bound.content = std::move(units);
    return bound;
}

OdbcParameters::Bound OdbcParameters::ofInteger(std::int64_t number, const Engine &engine)
{
    if (engine.hasBigIntegers)
        return {SQLBIGINT{number}, SQL_C_SBIGINT, SQL_BIGINT, kIntegerSize, 0};
    std::vector<SQLCHAR> digits(24);
    auto *first = reinterpret_cast<char *>(digits.data());
    const auto [end, failure] = std::to_chars(first, first + digits.size(), number);
    const auto length = static_cast<SQLLEN>(end - first);
    return {std::move(digits), SQL_C_CHAR, SQL_DECIMAL, kIntegerSize, length};
}

OdbcParameters::Bound OdbcParameters::of(const BoundParameter &parameter, const Engine &engine)
{
    if (auto time = timeIn(parameter); time) {
        if (parameter.ofPeriod) // "all time" begins in year 1
            time->year = std::max(time->year, engine.firstYear);
        const SQLSMALLINT year = static_cast<SQLSMALLINT>(time->year);
        if (time->hasDate && time->hasTime)
            return {
                SQL_TIMESTAMP_STRUCT{year, part(time->month), part(time->day), part(time->hour), part(time->minute), part(time->second), 0},
                SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, kTimestampSize, 0};
        if (time->hasDate)
            return {SQL_DATE_STRUCT{year, part(time->month), part(time->day)}, SQL_C_TYPE_DATE, SQL_TYPE_DATE, kDateSize, 0};
        return {SQL_TIME_STRUCT{part(time->hour), part(time->minute), part(time->second)}, SQL_C_TYPE_TIME, SQL_TYPE_TIME, kTimeSize, 0};
    }
    if (const auto *integer = std::get_if<std::int64_t>(&parameter.value)) {
        if (parameter.type == ParameterType::Boolean && engine.hasBooleans)
            return {static_cast<SQLCHAR>(*integer != 0), SQL_C_BIT, SQL_BIT, 1, 0};
        return ofInteger(*integer, engine);
    }
    if (const auto *real = std::get_if<double>(&parameter.value))
        return {SQLDOUBLE{*real}, SQL_C_DOUBLE, SQL_DOUBLE, kDoubleSize, 0};
    return ofText(QString::fromUtf8(std::get<QByteArray>(parameter.value)));
}

SQLRETURN OdbcParameters::bind(SQLHANDLE statement)
{
    SQLUSMALLINT index = 0;
    for (Bound &bound : m_bound) {
        SQLPOINTER data = std::visit(
            [](auto &content) -> SQLPOINTER {
                if constexpr (requires { content.data(); })
                    return content.data();
                else
                    return &content;
            },
            bound.content);
        const SQLRETURN code = SQLBindParameter(statement, ++index, SQL_PARAM_INPUT, bound.cType, bound.sqlType, bound.size, 0, data,
                                                bound.length, &bound.length);
        if (!SQL_SUCCEEDED(code))
            return code;
    }
    return SQL_SUCCESS;
}

} // namespace qm
