#include "engine/run/ReportFields.h"

#include "engine/run/PreparedQuery.h"

#include <array>

namespace qm {

namespace {

struct Field
{
    const char *name;
    bool inLayouts, inFileNames;                       ///< whether it is offered there
    QString (*value)(const RunFacts &facts) = nullptr; ///< null: known later than the run's facts
};

constexpr std::array kFields{
    Field{"title", true, false, [](const RunFacts &facts) { return facts.description; }},
    Field{"description", true, true, [](const RunFacts &facts) { return facts.description; }},
    Field{"query", false, false, [](const RunFacts &facts) { return facts.queryFile; }},
    Field{"package", true, true, [](const RunFacts &facts) { return facts.package; }},
    Field{"group", true, true, [](const RunFacts &facts) { return facts.group; }},
    Field{"organisation", true, false, [](const RunFacts &facts) { return facts.house.organisation; }},
    Field{"classification", true, false, [](const RunFacts &facts) { return facts.house.classification; }},
    Field{"prepared_by", true, false, [](const RunFacts &facts) { return facts.house.preparedBy; }},
    Field{"source", false, false, [](const RunFacts &facts) { return facts.source; }},
    Field{"period", true, true, [](const RunFacts &facts) { return facts.periodPhrase; }},
    Field{"from", false, true, [](const RunFacts &facts) { return facts.dateFrom; }},
    Field{"to", false, true, [](const RunFacts &facts) { return facts.dateTo; }},
    Field{"date", true, true, [](const RunFacts &facts) { return facts.madeLocal.left(10); }},
    Field{"time", true, true, [](const RunFacts &facts) { return facts.madeLocal.mid(11); }},
    Field{"made", true, false, [](const RunFacts &facts) { return facts.madeLocal; }},
    Field{"year", false, true, [](const RunFacts &facts) { return facts.madeLocal.left(4); }},
    Field{"month", false, true, [](const RunFacts &facts) { return facts.madeLocal.mid(5, 2); }},
    Field{"day", false, true, [](const RunFacts &facts) { return facts.madeLocal.mid(8, 2); }},
    Field{"format", false, true, [](const RunFacts &facts) { return facts.format; }},
    Field{kCounterField, false, true},
    Field{"page", true, false},
    Field{"pages", true, false},
};

} // namespace

QMap<QString, QString> fieldValues(const RunFacts &facts)
{
    QMap<QString, QString> values;
    for (const Field &field : kFields)
        if (field.value != nullptr)
            values.insert(QString::fromLatin1(field.name), field.value(facts));
    return values;
}

QStringList offeredFields(FieldPlace place)
{
    QStringList names;
    for (const Field &field : kFields)
        if (place == FieldPlace::Layout ? field.inLayouts : field.inFileNames)
            names << QString::fromLatin1(field.name);
    return names;
}

QStringList pageFields()
{
    return {QStringLiteral("page"), QStringLiteral("pages"), QStringLiteral("rows")};
}

} // namespace qm
