#include "engine/run/ReportPlan.h"

#include "core/Failure.h"
#include "engine/outputs/OutputNaming.h"
#include "engine/run/ColumnGuess.h"
#include "engine/run/ReportFields.h"
#include "framework/LayoutWords.h"

namespace qm {

namespace {

std::size_t fieldIndex(const QString &field, const QString &layoutName, std::span<const ResultColumn> result)
{
    for (std::size_t i = 0; i < result.size(); ++i)
        if (QString::fromStdString(result[i].name).compare(field, Qt::CaseInsensitive) == 0)
            return i;
    QStringList names;
    for (const ResultColumn &column : result)
        names.append(QString::fromStdString(column.name));
    failReport(
        QStringLiteral("The layout %1 names the column \"%2\", which the query's result does not have. The result's columns are: %3.")
            .arg(layoutName, field, names.join(QStringLiteral(", "))));
}

/// Every field that grouping, totals and chart name must be there, whether or not the format shows them.
void checkFields(const ReportLayout &layout, const QString &layoutName, std::span<const ResultColumn> result)
{
    const auto check = [&](const QString &field) {
        if (!field.isEmpty())
            static_cast<void>(fieldIndex(field, layoutName, result));
    };
    for (const LayoutGroup &group : layout.groups) {
        check(group.field);
        for (const LayoutAggregate &subtotal : group.subtotals)
            check(subtotal.field);
    }
    for (const LayoutAggregate &total : layout.totals)
        check(total.field);
    check(layout.chart.category);
    check(layout.chart.series);
    for (const QString &value : layout.chart.values)
        check(value);
}

/// The type that a layout's format asks for, where the result could not tell (no rows, only NULL).
ColumnType typeOfFormat(const QString &format, ColumnType guessed)
{
    if (guessed != ColumnType::Text || format.isEmpty())
        return guessed;
    if (format == QStringLiteral("date"))
        return ColumnType::Date;
    if (format == QStringLiteral("time"))
        return ColumnType::Time;
    if (format.startsWith(QStringLiteral("datetime")))
        return ColumnType::DateTime;
    return guessed;
}

CellAlignment alignmentOf(Alignment alignment, ColumnType type)
{
    switch (alignment) {
    case Alignment::Left:
        return CellAlignment::Left;
    case Alignment::Centre:
        return CellAlignment::Centre;
    case Alignment::Right:
        return CellAlignment::Right;
    case Alignment::Automatic:
        break;
    }
    return defaultAlignment(type);
}

ReportColumn resolveColumn(const LayoutColumn &asked, const ResultColumn &column, const RowSample &sample, std::size_t index)
{
    ReportColumn resolved;
    resolved.field = column.name;
    resolved.caption = asked.caption.isEmpty() ? captionOf(QString::fromStdString(column.name)).toStdString() : asked.caption.toStdString();
    resolved.type = guessType(column, sample, index);
    if (asked.format == QStringLiteral("boolean") && resolved.type == ColumnType::Integer)
        resolved.type = ColumnType::Boolean;
    resolved.type = typeOfFormat(asked.format, resolved.type);
    resolved.format = asked.format.isEmpty() ? guessFormat(resolved.type, sample, index) : asked.format.toStdString();
    resolved.alignment = alignmentOf(asked.alignment, resolved.type);
    resolved.wrap = asked.wrap;
    resolved.fixedWidth = asked.widthMm > 0;
    resolved.widthMm = resolved.fixedWidth ? asked.widthMm : guessWidth(resolved, sample, index);
    return resolved;
}

PageSetup pageSetup(const LayoutPage &page)
{
    const Paper &paper = paperOf(page.size);
    const bool landscape = page.orientation == PageOrientation::Landscape;
    return {landscape ? paper.heightMm : paper.widthMm, landscape ? paper.widthMm : paper.heightMm, page.marginMm};
}

bool isEmpty(const LayoutBand &band)
{
    return band.left.isEmpty() && band.centre.isEmpty() && band.right.isEmpty();
}

std::vector<Fact> statedFacts(const RunFacts &facts)
{
    using Kind = Fact::Kind;
    std::vector<Fact> stated;
    const auto state = [&](Kind kind, const char *label, const QString &text) {
        if (!text.isEmpty())
            stated.push_back({kind, label, text.toStdString()});
    };
    state(Kind::Package, "Package", facts.package);
    state(Kind::Group, "Report group", facts.group);
    state(Kind::Query, "Query", facts.queryFile);
    state(Kind::Source, "Source", facts.source);
    state(Kind::Period, "Period", facts.period);
    state(Kind::Times, "Times", QStringLiteral("Times in the rows are UTC"));
    stated.insert(stated.end(), facts.parameters.begin(), facts.parameters.end());
    state(Kind::Made, "Made", QStringLiteral("%1 local time (%2 UTC)").arg(facts.madeLocal, facts.madeUtc));
    return stated;
}

ReportHead makeHead(const ReportLayout &layout, const QString &layoutName, const RunFacts &facts)
{
    auto fields = fieldValues(facts);
    const QString where = layoutName.isEmpty() ? QStringLiteral("The report") : QStringLiteral("The layout ") + layoutName;
    const QStringList later = pageFields();
    ReportHead head;
    const QString title = layout.title.isEmpty() ? facts.description : fillFields(layout.title, fields, where);
    fields.insert(QStringLiteral("title"), title);
    head.title = title.toStdString();
    head.subtitle = fillFields(layout.subtitle, fields, where).toStdString();
    head.facts = statedFacts(facts);
    head.page = pageSetup(layout.page);
    const auto fill = [&](const LayoutBand &band) {
        return PageBand{fillFields(band.left, fields, where, later).toStdString(),
                        fillFields(band.centre, fields, where, later).toStdString(),
                        fillFields(band.right, fields, where, later).toStdString()};
    };
    const bool automatic = isEmpty(layout.header) && isEmpty(layout.footer);
    head.header = fill(automatic ? LayoutBand{QStringLiteral("{title}"), {}, QStringLiteral("{package}")} : layout.header);
    head.footer = fill(automatic ? LayoutBand{QStringLiteral("{made}"), {}, QStringLiteral("Page {page} of {pages}")} : layout.footer);
    return head;
}

} // namespace

ReportPlan planReport(const ReportLayout *layout, const QString &layoutName, std::span<const ResultColumn> result, const RowSample &sample,
                      const RunFacts &facts)
{
    const ReportLayout automatic;
    const ReportLayout &used = layout ? *layout : automatic;
    ReportPlan plan;
    plan.head = makeHead(used, layoutName, facts);
    checkFields(used, layoutName, result);
    std::vector<bool> placed(result.size(), false);
    const auto place = [&](const LayoutColumn &column, std::size_t index) {
        placed[index] = true;
        if (!column.visible)
            return;
        plan.shape.columns.push_back(resolveColumn(column, result[index], sample, index));
        plan.resultIndex.push_back(index);
    };
    for (const LayoutColumn &column : used.columns)
        place(column, fieldIndex(column.field, layoutName, result));
    for (std::size_t i = 0; i < result.size(); ++i)
        if (!placed[i] && !used.onlyListed)
            place({}, i);
    if (plan.shape.columns.empty())
        failReport(QStringLiteral("The layout %1 shows no column. Make one visible.").arg(layoutName));
    plan.inResultOrder = plan.resultIndex.size() == result.size();
    for (std::size_t i = 0; i < plan.resultIndex.size(); ++i)
        plan.inResultOrder = plan.inResultOrder && plan.resultIndex[i] == i;
    return plan;
}

} // namespace qm
