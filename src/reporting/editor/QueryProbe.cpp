#include "reporting/editor/QueryProbe.h"

#include "core/RuntimeError.h"
#include "documents/CellFormat.h"
#include "engine/rows/CancelFlag.h"

#include <QElapsedTimer>
#include <QRegularExpression>

#include <algorithm>
#include <chrono>

namespace qm {

namespace {

constexpr std::size_t kMaxCellBytes = 4096;

std::optional<QString> shown(const Value &value, const CellFormatter &format)
{
    if (value.isNull())
        return std::nullopt;
    std::string text;
    Value cut = value;
    if (value.kind == Value::Kind::Text && value.size > kMaxCellBytes)
        cut = Value::ofText(value.text().substr(0, kMaxCellBytes));
    format.append(cut, text);
    return QString::fromStdString(text);
}

} // namespace

void checkSql(const ProbeRequest &request, std::shared_ptr<CancelFlag> cancel)
{
    const LocatedQuery query = locateQuery(request.query, request.home, std::nullopt);
    std::vector<BoundParameter> parameters;
    for (const QString &name : query.names) {
        BoundParameter parameter;
        parameter.name = name;
        parameter.value = QByteArray();
        parameters.push_back(parameter);
    }
    const RunLimits limits(std::move(cancel), std::chrono::seconds(30));
    checkRowSource(query.source, query.sql, parameters, limits);
}

ProbeRows readFirstRows(const ProbeRequest &request, std::size_t limit, std::shared_ptr<CancelFlag> cancel)
{
    QElapsedTimer timer;
    timer.start();
    const PreparedQuery query = prepareQuery(request.query, request.home, request.choices, request.clock);
    const RunLimits limits(std::move(cancel), std::chrono::seconds(0));
    const auto rows = openRowSource(query.source, query.sql, query.parameters, limits);
    const auto most = query.query->rowLimit > 0 ? std::min(limit, static_cast<std::size_t>(query.query->rowLimit)) : limit;
    ProbeRows result;
    result.hasPeriod = query.period.has_value();
    for (const ResultColumn &column : rows->columns())
        result.columns << QString::fromStdString(column.name);
    std::vector<Value> row(rows->columns().size());
    const CellFormatter plain{ReportColumn{}};
    while (rows->next(row)) {
        if (result.rows.size() == most) {
            result.more = true;
            break;
        }
        auto &texts = result.rows.emplace_back();
        for (const Value &value : row)
            texts.push_back(shown(value, plain));
    }
    result.seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    return result;
}

SqlPosition placeInError(const QString &words)
{
    static const QRegularExpression place(QStringLiteral("line (\\d+), column (\\d+)"));
    static const QRegularExpression lineOnly(QStringLiteral("line (\\d+)"));
    if (const auto match = place.match(words); match.hasMatch())
        return {match.captured(1).toInt(), match.captured(2).toInt()};
    if (const auto match = lineOnly.match(words); match.hasMatch())
        return {match.captured(1).toInt(), 1};
    return {0, 0};
}

} // namespace qm
