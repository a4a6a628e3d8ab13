#include "framework/LayoutFile.h"

#include "core/RuntimeError.h"
#include "framework/LayoutWords.h"
#include "framework/TableReader.h"
#include "framework/toml/TomlRewrite.h"

namespace qm {
namespace {

constexpr double kMaxMillimetres = 2000;

const TomlSchema &schema()
{
    static const TomlSchema root = [] {
        TomlSchema layout{wordList({"format", "title", "subtitle", "only_listed"})};
        TomlSchema column{wordList({"field", "caption", "width_mm", "align", "format", "visible", "wrap"})};
        column.identity = wordList({"field"});
        TomlSchema aggregate{wordList({"field", "function", "caption"})};
        aggregate.identity = wordList({"field", "function"});
        TomlSchema group{wordList({"field", "new_page"})};
        group.identity = wordList({"field"});
        group.children.emplace(QStringLiteral("subtotal"), aggregate);
        const TomlSchema band{wordList({"left", "centre", "right"})};
        layout.children.emplace(QStringLiteral("page"), TomlSchema{wordList({"size", "orientation", "margin_mm"})});
        layout.children.emplace(QStringLiteral("header"), band);
        layout.children.emplace(QStringLiteral("footer"), band);
        layout.children.emplace(QStringLiteral("column"), column);
        layout.children.emplace(QStringLiteral("group"), group);
        layout.children.emplace(QStringLiteral("total"), aggregate);
        layout.children.emplace(QStringLiteral("chart"),
                                TomlSchema{wordList({"kind", "title", "category", "series", "values", "top", "other"})});
        return layout;
    }();
    return root;
}

// --- reading -----------------------------------------------------------------------------------------------------------------------------

LayoutPage readPage(const TableReader &table)
{
    LayoutPage page;
    if (table.has("size"))
        page.size = static_cast<PageSize>(table.word("size", 0, paperWords()));
    page.orientation = static_cast<PageOrientation>(table.word("orientation", static_cast<int>(page.orientation), orientationWords()));
    page.marginMm = table.number("margin_mm", page.marginMm, 0, 100);
    return page;
}

LayoutBand readBand(const TableReader &table)
{
    return LayoutBand{table.text("left"), table.text("centre"), table.text("right")};
}

Alignment readAlignment(const TableReader &table)
{
    if (table.has("align") && table.text("align").compare(QLatin1String("center"), Qt::CaseInsensitive) == 0)
        return Alignment::Centre;
    return static_cast<Alignment>(table.word("align", 0, alignmentWords()));
}

LayoutColumn readColumn(const TableReader &table)
{
    LayoutColumn column;
    column.field = table.requiredText("field");
    column.caption = table.text("caption");
    column.widthMm = table.number("width_mm", 0, 0, kMaxMillimetres);
    column.alignment = readAlignment(table);
    column.format = table.text("format");
    column.visible = table.boolean("visible", true);
    column.wrap = table.boolean("wrap", true);
    return column;
}

std::vector<LayoutAggregate> readAggregates(const std::vector<TomlNode> &nodes, const QString &path)
{
    std::vector<LayoutAggregate> aggregates;
    for (const TomlNode &node : nodes) {
        const TableReader table(node, path);
        LayoutAggregate aggregate;
        aggregate.function = static_cast<Aggregate>(table.word("function", static_cast<int>(Aggregate::Sum), aggregateWords()));
        aggregate.field = table.text("field");
        if (aggregate.field.isEmpty() && aggregate.function != Aggregate::Count)
            table.fail("field",
                       QStringLiteral("\"field\" is missing. Add a line field = \"...\" with a column of the result; only function = "
                                      "\"count\" may do without."));
        aggregate.caption = table.text("caption");
        aggregates.push_back(std::move(aggregate));
    }
    return aggregates;
}

LayoutChart readChart(const TableReader &table)
{
    LayoutChart chart;
    chart.kind = chartWords().at(table.word("kind", 0, chartWords()));
    chart.title = table.text("title");
    chart.category = table.text("category");
    chart.series = table.text("series");
    chart.values = table.texts("values");
    chart.top = static_cast<int>(table.integer("top", 0, 0, std::numeric_limits<int>::max()));
    chart.other = table.boolean("other", false);
    return chart;
}

ReportLayout readLayout(const TomlNode &root, const QString &path)
{
    const TableReader file(root, path);
    file.checkFormat();
    ReportLayout layout;
    layout.title = file.text("title");
    layout.subtitle = file.text("subtitle");
    layout.onlyListed = file.boolean("only_listed", false);
    layout.page = readPage(TableReader(file.table("page"), path));
    layout.header = readBand(TableReader(file.table("header"), path));
    layout.footer = readBand(TableReader(file.table("footer"), path));
    for (const TomlNode &node : file.tables("column"))
        layout.columns.push_back(readColumn(TableReader(node, path)));
    for (const TomlNode &node : file.tables("group")) {
        const TableReader table(node, path);
        layout.groups.push_back(LayoutGroup{.field = table.requiredText("field"),
                                            .newPage = table.boolean("new_page", false),
                                            .subtotals = readAggregates(table.tables("subtotal"), path)});
    }
    layout.totals = readAggregates(file.tables("total"), path);
    if (file.has("chart"))
        layout.charts.push_back(readChart(TableReader(file.table("chart"), path)));
    return layout;
}

// --- writing -----------------------------------------------------------------------------------------------------------------------------

TomlNode pageTree(const LayoutPage &page, const TomlNode *original)
{
    TomlNode table;
    TableWriter writer(table, original);
    const LayoutPage usual;
    if (page.size)
        writer.always("size", TomlNode::ofText(paperWords().at(static_cast<int>(*page.size))));
    writer.text("orientation", orientationWords().at(static_cast<int>(page.orientation)),
                orientationWords().at(static_cast<int>(usual.orientation)));
    writer.number("margin_mm", page.marginMm, usual.marginMm);
    return table;
}

TomlNode bandTree(const LayoutBand &band, const TomlNode *original)
{
    TomlNode table;
    TableWriter writer(table, original);
    writer.text("left", band.left);
    writer.text("centre", band.centre);
    writer.text("right", band.right);
    return table;
}

TomlNode columnTree(const LayoutColumn &column)
{
    TomlNode table;
    TableWriter writer(table, nullptr);
    writer.always("field", TomlNode::ofText(column.field));
    writer.text("caption", column.caption);
    writer.number("width_mm", column.widthMm);
    writer.text("align", alignmentWords().at(static_cast<int>(column.alignment)), alignmentWords().first());
    writer.text("format", column.format);
    writer.boolean("visible", column.visible, true);
    writer.boolean("wrap", column.wrap, true);
    return table;
}

TomlNode aggregatesTree(const std::vector<LayoutAggregate> &aggregates)
{
    TomlNode list = TomlNode::array();
    for (const LayoutAggregate &aggregate : aggregates) {
        TomlNode &table = list.items.emplace_back();
        TableWriter writer(table, nullptr);
        writer.text("field", aggregate.field);
        writer.always("function", TomlNode::ofText(aggregateWords().at(static_cast<int>(aggregate.function))));
        writer.text("caption", aggregate.caption);
    }
    return list;
}

TomlNode groupsTree(const std::vector<LayoutGroup> &groups)
{
    TomlNode list = TomlNode::array();
    for (const LayoutGroup &group : groups) {
        TomlNode &table = list.items.emplace_back();
        TableWriter writer(table, nullptr);
        writer.always("field", TomlNode::ofText(group.field));
        writer.boolean("new_page", group.newPage);
        if (!group.subtotals.empty())
            writer.always("subtotal", aggregatesTree(group.subtotals));
    }
    return list;
}

TomlNode chartTree(const LayoutChart &chart, const TomlNode *original)
{
    TomlNode table;
    TableWriter writer(table, original);
    writer.text("kind", chart.kind);
    writer.text("title", chart.title);
    writer.text("category", chart.category);
    writer.text("series", chart.series);
    writer.texts("values", chart.values);
    writer.integer("top", chart.top);
    writer.boolean("other", chart.other);
    return table;
}

TomlNode layoutTree(const ReportLayout &layout)
{
    const TomlNode *const original = layout.original ? &layout.original->tree() : nullptr;
    TomlNode root;
    TableWriter writer(root, original);
    writer.always("format", TomlNode::ofInteger(1));
    writer.text("title", layout.title);
    writer.text("subtitle", layout.subtitle);
    writer.boolean("only_listed", layout.onlyListed);
    const auto putTable = [&](const char *key, TomlNode table) {
        if (!table.members.empty())
            writer.always(key, std::move(table));
    };
    const auto putList = [&](const char *key, TomlNode list) {
        if (!list.items.empty())
            writer.always(key, std::move(list));
    };
    putTable("page", pageTree(layout.page, childOf(original, "page")));
    putTable("header", bandTree(layout.header, childOf(original, "header")));
    putTable("footer", bandTree(layout.footer, childOf(original, "footer")));
    TomlNode columns = TomlNode::array();
    for (const LayoutColumn &column : layout.columns)
        columns.items.push_back(columnTree(column));
    putList("column", std::move(columns));
    putList("group", groupsTree(layout.groups));
    putList("total", aggregatesTree(layout.totals));
    if (!layout.charts.empty())
        putTable("chart", chartTree(layout.charts.front(), childOf(original, "chart")));
    if (original != nullptr)
        keepUnknown(root, *original, schema());
    return root;
}

} // namespace

ReportLayout parseLayout(const QByteArray &bytes, const QString &path)
{
    const QByteArray text = bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes;
    TomlNode tree = parseToml(text, path);
    ReportLayout layout = readLayout(tree, path);
    layout.original = std::make_shared<const LayoutFileText>(text, std::move(tree));
    return layout;
}

QByteArray layoutText(const ReportLayout &layout, const QString &path)
{
    const auto treeOf = [&path](const QByteArray &text) { return layoutTree(parseLayout(text, path)); };
    const auto &original = layout.original;
    return rewrite(original ? original->bytes() : QByteArray(), original ? original->tree() : TomlNode(), layoutTree(layout), path, treeOf);
}

} // namespace qm
