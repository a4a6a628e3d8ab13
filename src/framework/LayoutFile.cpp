#include "framework/LayoutFile.h"

#include "core/RuntimeError.h"
#include "framework/LayoutWords.h"
#include "framework/TableReader.h"
#include "framework/UnknownWords.h"
#include "framework/toml/TomlRewrite.h"

namespace qm {
namespace {

constexpr double kMaxMillimetres = 2000;
constexpr int kMostInTopList = 50;

const TomlSchema &schema()
{
    static const TomlSchema root = [] {
        TomlSchema layout{wordList({"format", "title", "subtitle", "note", "only_listed"})};
        TomlSchema column{wordList({"field", "caption", "width_mm", "align", "format", "null_text", "visible", "wrap"})};
        column.identity = wordList({"field"});
        TomlSchema words;
        words.anyKey = true;
        column.children.emplace(QStringLiteral("words"), words);
        TomlSchema rule{wordList({"test", "value", "show"})};
        rule.identity = wordList({"test", "value"});
        column.children.emplace(QStringLiteral("rule"), rule);
        TomlSchema aggregate{wordList({"field", "function", "caption"})};
        aggregate.identity = wordList({"field", "function"});
        TomlSchema group{wordList({"field", "order", "heading", "new_page", "keep_together", "suppress_repeats"})};
        group.identity = wordList({"field"});
        group.children.emplace(QStringLiteral("subtotal"), aggregate);
        const TomlSchema band{wordList({"left", "centre", "right"})};
        layout.children.emplace(QStringLiteral("page"), TomlSchema{wordList({"size", "orientation", "margin_mm", "allow_a3"})});
        layout.children.emplace(QStringLiteral("header"), band);
        layout.children.emplace(QStringLiteral("footer"), band);
        layout.children.emplace(QStringLiteral("column"), column);
        layout.children.emplace(QStringLiteral("group"), group);
        layout.children.emplace(QStringLiteral("total"), aggregate);
        TomlSchema chart{wordList({"kind", "title", "category", "series", "values", "category_title", "value_title", "top", "other"})};
        chart.identity = wordList({"kind", "category", "values"});
        layout.children.emplace(QStringLiteral("chart"), chart);
        TomlSchema figure{wordList({"caption", "field", "function", "format"})};
        figure.identity = wordList({"field", "function"});
        layout.children.emplace(QStringLiteral("figure"), figure);
        layout.children.emplace(QStringLiteral("top"), TomlSchema{wordList({"field", "value", "function", "caption", "most"})});
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
    page.allowA3 = table.boolean("allow_a3", false);
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

/// The word at \p key, where \p other is another spelling of the one at \p meant.
int readWord(const TableReader &table, const char *key, int otherwise, const QStringList &words, const char *other, int meant)
{
    const bool isOther = table.has(key) && table.text(key).compare(QLatin1String(other), Qt::CaseInsensitive) == 0;
    return isOther ? meant : table.word(key, otherwise, words);
}

std::vector<LayoutRule> readRules(const std::vector<TomlNode> &nodes, const QString &path)
{
    std::vector<LayoutRule> rules;
    for (const TomlNode &node : nodes) {
        const TableReader table(node, path);
        LayoutRule rule;
        rule.test = static_cast<RuleTest>(readWord(table, "test", 0, ruleTestWords(), "!=", static_cast<int>(RuleTest::NotEqual)));
        rule.emphasis = static_cast<RuleEmphasis>(table.word("show", 0, emphasisWords()));
        const std::optional<QString> operand = table.scalarAsText("value");
        if (!operand && rule.test != RuleTest::Null)
            table.fail("value",
                       QStringLiteral("\"value\" is missing. Add a line value = ... with what the cell is compared with; only test = "
                                      "\"null\" does without."));
        rule.operand = operand.value_or(QString());
        rules.push_back(std::move(rule));
    }
    return rules;
}

LayoutColumn readColumn(const TableReader &table, const QString &path)
{
    LayoutColumn column;
    column.field = table.requiredText("field");
    column.caption = table.text("caption");
    column.widthMm = table.number("width_mm", 0, 0, kMaxMillimetres);
    column.alignment = readAlignment(table);
    column.format = table.text("format");
    column.visible = table.boolean("visible", true);
    column.wrap = table.boolean("wrap", true);
    column.words = table.textTable("words");
    column.rules = readRules(table.tables("rule"), path);
    column.nullText = table.text("null_text");
    return column;
}

/// Reads "function"; without it a sum, or a count of rows where there is no column to sum.
Aggregate readFunction(const TableReader &table, const QString &field)
{
    const Aggregate usual = field.isEmpty() ? Aggregate::Count : Aggregate::Sum;
    return static_cast<Aggregate>(table.word("function", static_cast<int>(usual), aggregateWords()));
}

void requireField(const TableReader &table, const char *key, const QString &field, Aggregate function)
{
    if (field.isEmpty() && function != Aggregate::Count)
        table.fail(key, QStringLiteral("\"%1\" is missing. Add a line %1 = \"...\" with a column of the result; only function = "
                                       "\"count\" may do without.")
                            .arg(QLatin1String(key)));
}

std::vector<LayoutAggregate> readAggregates(const std::vector<TomlNode> &nodes, const QString &path)
{
    std::vector<LayoutAggregate> aggregates;
    for (const TomlNode &node : nodes) {
        const TableReader table(node, path);
        LayoutAggregate aggregate;
        aggregate.function = static_cast<Aggregate>(table.word("function", static_cast<int>(Aggregate::Sum), aggregateWords()));
        aggregate.field = table.text("field");
        requireField(table, "field", aggregate.field, aggregate.function);
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
    chart.categoryTitle = table.text("category_title");
    chart.valueTitle = table.text("value_title");
    chart.top = static_cast<int>(table.integer("top", 0, 0, std::numeric_limits<int>::max()));
    chart.other = table.boolean("other", false);
    return chart;
}

LayoutGroup readGroup(const TableReader &table, const QString &path)
{
    LayoutGroup group;
    group.field = table.requiredText("field");
    group.newPage = table.boolean("new_page", false);
    group.order = static_cast<GroupOrder>(readWord(table, "order", 0, groupOrderWords(), "", 0));
    group.heading = table.boolean("heading", true);
    group.keepTogether = table.boolean("keep_together", false);
    group.suppressRepeats = table.boolean("suppress_repeats", true);
    group.subtotals = readAggregates(table.tables("subtotal"), path);
    return group;
}

/// One chart may stand as a table; several are a list.
std::vector<LayoutChart> readCharts(const TableReader &file, const TomlNode &root, const QString &path)
{
    std::vector<LayoutChart> charts;
    const TomlNode *const chart = childOf(&root, "chart");
    if (chart != nullptr && chart->kind == TomlNode::Kind::Table)
        charts.push_back(readChart(TableReader(*chart, path)));
    else
        for (const TomlNode &node : file.tables("chart"))
            charts.push_back(readChart(TableReader(node, path)));
    return charts;
}

LayoutFigure readFigure(const TableReader &table)
{
    LayoutFigure figure;
    figure.caption = table.text("caption");
    figure.field = table.text("field");
    figure.function = readFunction(table, figure.field);
    requireField(table, "field", figure.field, figure.function);
    figure.format = table.text("format");
    return figure;
}

LayoutTop readTop(const TableReader &table)
{
    LayoutTop top;
    top.field = table.requiredText("field");
    top.value = table.text("value");
    top.function = readFunction(table, top.value);
    requireField(table, "value", top.value, top.function);
    top.caption = table.text("caption");
    top.most = static_cast<int>(table.integer("most", top.most, 1, kMostInTopList));
    return top;
}

ReportLayout readLayout(const TomlNode &root, const QString &path)
{
    const TableReader file(root, path);
    file.checkFormat();
    ReportLayout layout;
    layout.title = file.text("title");
    layout.subtitle = file.text("subtitle");
    layout.note = file.text("note");
    layout.onlyListed = file.boolean("only_listed", false);
    layout.page = readPage(TableReader(file.table("page"), path));
    layout.header = readBand(TableReader(file.table("header"), path));
    layout.footer = readBand(TableReader(file.table("footer"), path));
    for (const TomlNode &node : file.tables("column"))
        layout.columns.push_back(readColumn(TableReader(node, path), path));
    for (const TomlNode &node : file.tables("group"))
        layout.groups.push_back(readGroup(TableReader(node, path), path));
    layout.totals = readAggregates(file.tables("total"), path);
    layout.charts = readCharts(file, root, path);
    for (const TomlNode &node : file.tables("figure"))
        layout.figures.push_back(readFigure(TableReader(node, path)));
    if (file.has("top"))
        layout.top = readTop(TableReader(file.table("top"), path));
    layout.warnings = unknownKeys(root, schema());
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
    writer.boolean("allow_a3", page.allowA3);
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

TomlNode rulesTree(const std::vector<LayoutRule> &rules)
{
    TomlNode list = TomlNode::array();
    for (const LayoutRule &rule : rules) {
        TomlNode &table = list.items.emplace_back();
        TableWriter writer(table, nullptr);
        writer.always("test", TomlNode::ofText(ruleTestWords().at(static_cast<int>(rule.test))));
        if (rule.test != RuleTest::Null || !rule.operand.isEmpty())
            writer.always("value", TomlNode::ofText(rule.operand));
        writer.text("show", emphasisWords().at(static_cast<int>(rule.emphasis)), emphasisWords().first());
    }
    return list;
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
    writer.text("null_text", column.nullText);
    if (!column.words.empty()) {
        TomlNode words;
        for (const auto &[code, word] : column.words)
            words.put(code, TomlNode::ofText(word));
        writer.always("words", std::move(words));
    }
    if (!column.rules.empty())
        writer.always("rule", rulesTree(column.rules));
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
        writer.text("order", groupOrderWords().at(static_cast<int>(group.order)), groupOrderWords().first());
        writer.boolean("heading", group.heading, true);
        writer.boolean("new_page", group.newPage);
        writer.boolean("keep_together", group.keepTogether);
        writer.boolean("suppress_repeats", group.suppressRepeats, true);
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
    writer.text("category_title", chart.categoryTitle);
    writer.text("value_title", chart.valueTitle);
    writer.integer("top", chart.top);
    writer.boolean("other", chart.other);
    return table;
}

/// A single one as a table, as it always was; a list where there are several or the file has one.
TomlNode chartsTree(const std::vector<LayoutChart> &charts, const TomlNode *original)
{
    if (charts.size() == 1 && (original == nullptr || original->kind == TomlNode::Kind::Table))
        return chartTree(charts.front(), original);
    TomlNode list = TomlNode::array();
    for (const LayoutChart &chart : charts)
        list.items.push_back(chartTree(chart, nullptr));
    return list;
}

TomlNode figuresTree(const std::vector<LayoutFigure> &figures)
{
    TomlNode list = TomlNode::array();
    for (const LayoutFigure &figure : figures) {
        TomlNode &table = list.items.emplace_back();
        TableWriter writer(table, nullptr);
        writer.text("caption", figure.caption);
        writer.text("field", figure.field);
        writer.always("function", TomlNode::ofText(aggregateWords().at(static_cast<int>(figure.function))));
        writer.text("format", figure.format);
    }
    return list;
}

TomlNode topTree(const LayoutTop &top)
{
    TomlNode table;
    if (top.field.isEmpty())
        return table;
    TableWriter writer(table, nullptr);
    writer.text("caption", top.caption);
    writer.always("field", TomlNode::ofText(top.field));
    writer.text("value", top.value);
    writer.always("function", TomlNode::ofText(aggregateWords().at(static_cast<int>(top.function))));
    writer.integer("most", top.most, LayoutTop().most);
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
    writer.text("note", layout.note);
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
    TomlNode charts = chartsTree(layout.charts, childOf(original, "chart"));
    if (charts.kind == TomlNode::Kind::Table)
        putTable("chart", std::move(charts));
    else
        putList("chart", std::move(charts));
    putList("figure", figuresTree(layout.figures));
    putTable("top", topTree(layout.top));
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
