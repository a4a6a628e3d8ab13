#include "engine/run/ReportPlan.h"

#include "core/Failure.h"
#include "documents/CellFormat.h"
#include "engine/outputs/OutputNaming.h"
#include "engine/run/ColumnGuess.h"
#include "engine/run/LayoutCells.h"
#include "engine/run/ReportFields.h"
#include "engine/run/ShapePlan.h"
#include "framework/LayoutWords.h"
#include "platform/Files.h"

#include <algorithm>
#include <numeric>

namespace qm {

namespace {

constexpr double kNarrowestMm = 10;

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
    for (const LayoutChart &chart : layout.charts) {
        check(chart.category);
        check(chart.series);
        for (const QString &value : chart.values)
            check(value);
    }
    for (const LayoutFigure &figure : layout.figures)
        check(figure.field);
    check(layout.top.field);
    check(layout.top.value);
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
    if (format.startsWith(QStringLiteral("datetime")) || format == QStringLiteral("local"))
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
    const bool isFormatKnown = !asked.format.isEmpty() && isFormat(asked.format.toStdString());
    resolved.format = isFormatKnown ? asked.format.toStdString() : guessFormat(resolved.type, sample, index);
    applyCells(asked, resolved);
    resolved.alignment = alignmentOf(asked.alignment, resolved.words.empty() ? resolved.type : ColumnType::Text);
    resolved.wrap = asked.wrap;
    resolved.widthMm = asked.widthMm > 0 ? asked.widthMm : guessWidth(resolved, sample, index);
    return resolved;
}

/// Makes the columns fit \p pageMm by taking from the widest first; widths that the layout gives (\p fixed) stay.
void fitWidths(std::vector<ReportColumn> &columns, const std::vector<bool> &fixed, double pageMm)
{
    double given = 0;
    std::vector<double> widths;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (fixed[i])
            given += columns[i].widthMm;
        else
            widths.push_back(columns[i].widthMm);
    std::sort(widths.begin(), widths.end());
    double left = pageMm - given;
    if (widths.empty() || std::accumulate(widths.begin(), widths.end(), 0.0) <= left)
        return;
    double widest = kNarrowestMm;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        widest = left / static_cast<double>(widths.size() - i);
        if (widths[i] > widest)
            break;
        left -= widths[i];
    }
    widest = std::max(widest, kNarrowestMm);
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (!fixed[i])
            columns[i].widthMm = std::min(columns[i].widthMm, widest);
}

PageSetup pageSetup(const LayoutPage &page, const HouseStyle &house)
{
    const Paper &paper = paperOf(page.size.value_or(house.paper.value_or(PageSize::A4)));
    const bool landscape = page.orientation == PageOrientation::Landscape;
    return {landscape ? paper.heightMm : paper.widthMm, landscape ? paper.widthMm : paper.heightMm, page.marginMm, page.allowA3};
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

/// The header where the layout has neither it nor a footer.
LayoutBand usualHeader(const HouseStyle &house)
{
    return {QStringLiteral("{title}"), QStringLiteral("{classification}"),
            house.organisation.isEmpty() ? QStringLiteral("{package}") : QStringLiteral("{organisation}")};
}

/// The house's footer; the program's where it has none, or one that names what is not known, which \p head then says.
LayoutBand usualFooter(const HouseStyle &house, const QMap<QString, QString> &fields, ReportHead &head)
{
    LayoutBand footer{QStringLiteral("{made}"), {}, QStringLiteral("Page {page} of {pages}")};
    try {
        if (const QString text = fillFields(house.footer, fields, QLatin1String(kHouseStyleFile), pageFields()); !text.isEmpty())
            footer.left = house.footer;
    } catch (const RuntimeError &error) {
        head.notices.push_back(error.description().toStdString());
    }
    return footer;
}

/// What the house and the layout's author say to the reader.
void stateStyle(const ReportLayout &layout, const HouseStyle &house, const QString &note, ReportHead &head)
{
    head.house = {house.organisation.toStdString(), house.classification.toStdString(), house.preparedBy.toStdString()};
    if (!house.language.isEmpty())
        head.language = house.language.toStdString();
    const auto state = [&head](Fact::Kind kind, const char *label, const QString &text) {
        if (!text.isEmpty())
            head.facts.push_back({kind, label, text.toStdString()});
    };
    state(Fact::Kind::House, "Organisation", house.organisation);
    state(Fact::Kind::House, "Classification", house.classification);
    state(Fact::Kind::House, "Prepared by", house.preparedBy);
    state(Fact::Kind::Note, "Note", note);
    const auto isLocal = [](const LayoutColumn &column) { return column.visible && column.format == QStringLiteral("local"); };
    if (std::any_of(layout.columns.begin(), layout.columns.end(), isLocal))
        for (Fact &fact : head.facts)
            if (fact.kind == Fact::Kind::Times)
                fact.value += ", but where they state their distance from it";
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
    head.page = pageSetup(layout.page, facts.house);
    stateStyle(layout, facts.house, fillFields(layout.note, fields, where), head);
    for (const QString &warning : facts.house.warnings)
        head.notices.push_back(warning.toStdString());
    for (const QString &warning : layoutWarnings(layout))
        head.notices.push_back(QStringLiteral("The layout %1: %2").arg(files::lastPart(layoutName), warning).toStdString());
    const auto fill = [&](const LayoutBand &band) {
        return PageBand{fillFields(band.left, fields, where, later).toStdString(),
                        fillFields(band.centre, fields, where, later).toStdString(),
                        fillFields(band.right, fields, where, later).toStdString()};
    };
    const bool automatic = isEmpty(layout.header) && isEmpty(layout.footer);
    head.houseBands = automatic && facts.house.organisation.isEmpty() && facts.house.footer.isEmpty();
    head.madeUtc = facts.madeUtc.toStdString();
    head.creator = "Quillmark " QUILLMARK_VERSION;
    head.header = fill(automatic ? usualHeader(facts.house) : layout.header);
    head.footer = fill(automatic ? usualFooter(facts.house, fields, head) : layout.footer);
    return head;
}

} // namespace

ReportPlan planReport(const ReportLayout *layout, const QString &layoutName, std::span<const ResultColumn> result, const RowSample &sample,
                      const RunFacts &facts, ShapeUse use)
{
    const ReportLayout automatic;
    const ReportLayout &used = layout ? *layout : automatic;
    ReportPlan plan;
    plan.head = makeHead(used, layoutName, facts);
    checkFields(used, layoutName, result);
    std::vector<bool> placed(result.size(), false), fixed;
    const auto place = [&](const LayoutColumn &column, std::size_t index) {
        placed[index] = true;
        if (!column.visible)
            return;
        plan.shape.columns.push_back(resolveColumn(column, result[index], sample, index));
        plan.sources.shown.push_back(index);
        fixed.push_back(column.widthMm > 0);
    };
    for (const LayoutColumn &column : used.columns)
        place(column, fieldIndex(column.field, layoutName, result));
    for (std::size_t i = 0; i < result.size(); ++i)
        if (!placed[i] && !used.onlyListed)
            place({}, i);
    if (plan.shape.columns.empty())
        failReport(QStringLiteral("The layout %1 shows no column. Make one visible.").arg(layoutName));
    fitWidths(plan.shape.columns, fixed, plan.head.page.widthMm - 2 * plan.head.page.marginMm);
    const auto resolved = [&](std::size_t index) {
        for (const LayoutColumn &column : used.columns)
            if (fieldIndex(column.field, layoutName, result) == index)
                return resolveColumn(column, result[index], sample, index);
        return resolveColumn({}, result[index], sample, index);
    };
    const auto indexOf = [&](const QString &field) { return fieldIndex(field, layoutName, result); };
    planShape(used, {result, indexOf, resolved}, facts, use, plan.shape, plan.sources);
    const std::vector<std::size_t> &shown = plan.sources.shown;
    plan.inResultOrder = shown.size() == result.size();
    for (std::size_t i = 0; i < shown.size(); ++i)
        plan.inResultOrder = plan.inResultOrder && shown[i] == i;
    return plan;
}

} // namespace qm
