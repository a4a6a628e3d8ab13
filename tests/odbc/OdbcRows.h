/// \file
/// Reads whole results for comparison.
#pragma once

#include "engine/rows/CancelFlag.h"
#include "engine/rows/RowSources.h"

#include <QStringList>

namespace qm::test {

using namespace Qt::StringLiterals;

/// One cell with its kind: "NULL", "i:1", "r:2.5", "t:text", "b:0001ff".
[[nodiscard]] inline QString cellText(const Value &value)
{
    switch (value.kind) {
    case Value::Kind::Null:
        return u"NULL"_s;
    case Value::Kind::Integer:
        return u"i:%1"_s.arg(value.integer);
    case Value::Kind::Real:
        return u"r:"_s + QString::number(value.real, 'g', QLocale::FloatingPointShortest);
    case Value::Kind::Text:
        return u"t:"_s + QString::fromUtf8(value.data, static_cast<qsizetype>(value.size));
    case Value::Kind::Blob:
        break;
    }
    return u"b:"_s + QString::fromLatin1(QByteArray(value.data, static_cast<qsizetype>(value.size)).toHex());
}

[[nodiscard]] inline SourceDescription odbcSource(const QString &connection)
{
    return describeSource(u"ODBC::"_s + connection, {}, {});
}

[[nodiscard]] inline RunLimits noLimits()
{
    return RunLimits(nullptr, std::chrono::seconds(0));
}

/// Each row's cells joined by " | ".
inline QStringList rowsOf(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters = {},
                          const RunLimits &limits = noLimits())
{
    const auto rows = openRowSource(source, sql, parameters, limits);
    std::vector<Value> row(rows->columns().size());
    QStringList all;
    while (rows->next(row)) {
        QStringList cells;
        for (const Value &value : row)
            cells << cellText(value);
        all << cells.join(u" | "_s);
    }
    return all;
}

[[nodiscard]] inline BoundParameter parameter(const char *name, SqlValue value, ParameterType type = ParameterType::Text,
                                              bool ofPeriod = false)
{
    return {QString::fromLatin1(name), std::move(value), {}, {}, ofPeriod, type};
}

} // namespace qm::test
