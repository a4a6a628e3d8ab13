#include "framework/QueryFile.h"

#include "core/RuntimeError.h"
#include "framework/SqlName.h"
#include "framework/TableReader.h"
#include "framework/toml/TomlRewrite.h"

#include <QSet>

#include <algorithm>

namespace qm {
namespace {

constexpr qint64 kMostCopies = 999;

/// In the order of ParameterType.
const QStringList &parameterTypeWords()
{
    static const QStringList list = wordList({"text", "integer", "number", "date", "time", "boolean", "list"});
    return list;
}

const QStringList &outputTypeWords()
{
    static const QStringList list = wordList({"screen", "printer", "file", "email"});
    return list;
}

const TomlSchema &schema()
{
    static const TomlSchema root = [] {
        TomlSchema query{wordList({"format", "description", "data_source", "report_file", "row_limit", "timeout_seconds", "sql"})};
        TomlSchema engines;
        engines.anyKey = true;
        TomlSchema parameter{wordList({"name", "label", "type", "default", "values"})};
        parameter.identity = wordList({"name"});
        TomlSchema output{wordList({"type", "format", "file", "csv_byte_order_mark", "csv_guard_formulas"})};
        output.children.emplace(QStringLiteral("email"), TomlSchema{wordList({"from", "to", "cc", "bcc", "subject", "body"})});
        output.children.emplace(QStringLiteral("printer"), TomlSchema{wordList({"name", "copies"})});
        query.children.emplace(QStringLiteral("sql_for"), engines);
        TomlSchema period{wordList({"range"})};
        period.goesWhole = true;
        query.children.emplace(QStringLiteral("period"), period);
        query.children.emplace(QStringLiteral("parameter"), parameter);
        query.children.emplace(QStringLiteral("output"), output);
        return query;
    }();
    return root;
}

// --- reading -----------------------------------------------------------------------------------------------------------------------------

QueryParameter readParameter(const TableReader &table)
{
    QueryParameter parameter;
    parameter.name = table.requiredText("name");
    if (!isSqlName(parameter.name))
        table.fail("name",
                   QStringLiteral("a parameter's name consists of letters, digits and \"_\" and begins with a letter, as in the SQL "
                                  "without its colon; \"%1\" does not. Correct the line in a text editor.")
                       .arg(parameter.name));
    parameter.label = table.text("label");
    parameter.type = static_cast<ParameterType>(table.word("type", 0, parameterTypeWords()));
    if (const std::optional<QString> value = table.scalarAsText("default")) {
        parameter.hasDefault = true;
        parameter.defaultValue = *value;
    }
    parameter.values = table.texts("values");
    if (parameter.type == ParameterType::List && parameter.values.isEmpty())
        table.fail("values",
                   QStringLiteral("the list parameter \"%1\" has no choices. Add a line values = [\"...\", \"...\"].").arg(parameter.name));
    return parameter;
}

std::vector<QueryParameter> readParameters(const TableReader &file, const QString &path)
{
    std::vector<QueryParameter> parameters;
    QSet<QString> names;
    for (const TomlNode &node : file.tables("parameter")) {
        const TableReader table(node, path);
        QueryParameter parameter = readParameter(table);
        if (names.contains(parameter.name.toCaseFolded()))
            table.fail("name", QStringLiteral("there are two parameters named \"%1\". Rename or remove one.").arg(parameter.name));
        names.insert(parameter.name.toCaseFolded());
        parameters.push_back(std::move(parameter));
    }
    return parameters;
}

int readOutputType(const TableReader &table, const TomlNode &node)
{
    const TomlNode *const type = node.find(QStringLiteral("type"));
    if (type != nullptr && type->kind == TomlNode::Kind::Integer)
        return static_cast<int>(table.integer("type", 0, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
    return table.word("type", 0, outputTypeWords());
}

OutputSettings readOutput(const TomlNode &node, const QString &path)
{
    const TableReader table(node, path);
    OutputSettings output;
    output.OutputType = readOutputType(table, node);
    output.format = reportFormats().at(table.word("format", 0, formatWords()));
    output.file = table.text("file");
    output.csvByteOrderMark = table.boolean("csv_byte_order_mark", false);
    output.csvGuardFormulas = table.boolean("csv_guard_formulas", false);
    const TableReader email(table.table("email"), path);
    output.email.from = email.text("from");
    output.email.to = email.texts("to");
    output.email.cc = email.texts("cc");
    output.email.bcc = email.texts("bcc");
    output.email.subject = email.text("subject");
    output.email.body = email.text("body");
    const TableReader printer(table.table("printer"), path);
    output.printer.name = printer.text("name");
    output.printer.copies = static_cast<int>(printer.integer("copies", 1, 1, kMostCopies));
    return output;
}

Query readQuery(const TomlNode &root, const QString &path)
{
    const TableReader file(root, path);
    file.checkFormat();
    Query query;
    query.Description = file.requiredText("description");
    query.QueryFile = path;
    query.ReportFile = file.text("report_file");
    query.dataSource = file.text("data_source");
    query.sql = file.requiredText("sql");
    query.rowLimit = file.integer("row_limit", 0, 0, std::numeric_limits<qint64>::max());
    query.timeoutSeconds = static_cast<int>(file.integer("timeout_seconds", 0, 0, std::numeric_limits<int>::max()));
    const TableReader engines(file.table("sql_for"), path);
    for (const auto &[engine, node] : file.table("sql_for").members) {
        if (node.kind != TomlNode::Kind::String)
            engines.failAt(node.line,
                           QStringLiteral("the variant for \"%1\" must be a text in quotes, not %2. Correct the line in a text editor.")
                               .arg(engine, node.kindText()));
        query.sqlFor.insert(engine, node.text);
    }
    query.period.used = file.has("period");
    if (query.period.used)
        query.period.range = TableReader(file.table("period"), path).requiredText("range");
    query.parameters = readParameters(file, path);
    query.OutputSettings = readOutput(file.table("output"), path);
    return query;
}

// --- writing -----------------------------------------------------------------------------------------------------------------------------

TomlNode parameterTree(const QueryParameter &parameter)
{
    TomlNode table;
    TableWriter writer(table, nullptr);
    writer.always("name", TomlNode::ofText(parameter.name));
    writer.text("label", parameter.label);
    writer.always("type", TomlNode::ofText(parameterTypeWords().at(static_cast<int>(parameter.type))));
    if (parameter.hasDefault)
        writer.always("default", TomlNode::ofText(parameter.defaultValue));
    writer.texts("values", parameter.values);
    return table;
}

TomlNode outputTree(const OutputSettings &output, const TomlNode *original)
{
    TomlNode table;
    TableWriter writer(table, original);
    const QString word = outputTypeWord(output.OutputType);
    writer.always("type", word.isEmpty() ? TomlNode::ofInteger(output.OutputType) : TomlNode::ofText(word));
    const bool toScreen = output.OutputType == static_cast<int>(OutputKind::Screen);
    writer.text("format", formatWord(output.format), toScreen ? formatWord(reportFormats().first()) : QString());
    writer.text("file", output.file);
    writer.boolean("csv_byte_order_mark", output.csvByteOrderMark);
    writer.boolean("csv_guard_formulas", output.csvGuardFormulas);
    TomlNode email;
    TableWriter mail(email, childOf(original, "email"));
    mail.text("from", output.email.from);
    mail.texts("to", output.email.to);
    mail.texts("cc", output.email.cc);
    mail.texts("bcc", output.email.bcc);
    mail.text("subject", output.email.subject);
    mail.text("body", output.email.body);
    if (!email.members.empty())
        writer.always("email", std::move(email));
    TomlNode printer;
    TableWriter print(printer, childOf(original, "printer"));
    print.text("name", output.printer.name);
    print.integer("copies", output.printer.copies, 1);
    if (!printer.members.empty())
        writer.always("printer", std::move(printer));
    return table;
}

/// The tree of \p query with the unknown keys of the file it came from.
TomlNode queryTree(const Query &query)
{
    const TomlNode *const original = query.original ? &query.original->tree() : nullptr;
    TomlNode root;
    TableWriter writer(root, original);
    writer.always("format", TomlNode::ofInteger(1));
    writer.always("description", TomlNode::ofText(query.Description));
    writer.text("data_source", query.dataSource);
    writer.text("report_file", query.ReportFile);
    writer.integer("row_limit", query.rowLimit);
    writer.integer("timeout_seconds", query.timeoutSeconds);
    writer.always("sql", TomlNode::ofText(query.sql));
    if (!query.sqlFor.isEmpty()) {
        TomlNode engines;
        for (auto it = query.sqlFor.cbegin(); it != query.sqlFor.cend(); ++it)
            engines.put(it.key(), TomlNode::ofText(it.value()));
        writer.always("sql_for", std::move(engines));
    }
    if (query.period.used) {
        TomlNode period;
        period.put(QStringLiteral("range"), TomlNode::ofText(query.period.range));
        writer.always("period", std::move(period));
    }
    if (!query.parameters.empty()) {
        TomlNode list = TomlNode::array();
        for (const QueryParameter &parameter : query.parameters)
            list.items.push_back(parameterTree(parameter));
        writer.always("parameter", std::move(list));
    }
    writer.always("output", outputTree(query.OutputSettings, childOf(original, "output")));
    if (original != nullptr)
        keepUnknown(root, *original, schema());
    return root;
}

} // namespace

QString outputTypeWord(int code)
{
    return code >= 0 && code < outputTypeWords().size() ? outputTypeWords().at(code) : QString();
}

const std::shared_ptr<const QueryFileText> &QueryFileText::summary()
{
    static const std::shared_ptr<const QueryFileText> text = std::make_shared<const QueryFileText>(QByteArray(), TomlNode());
    return text;
}

Query parseQuery(const QByteArray &bytes, const QString &path)
{
    const QByteArray text = bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes;
    TomlNode tree = parseToml(text, path);
    Query query = readQuery(tree, path);
    query.original = std::make_shared<const QueryFileText>(text, std::move(tree));
    return query;
}

QByteArray queryText(const Query &query, const QString &path)
{
    if (query.original == QueryFileText::summary())
        raise(err::invalidProcedureCall,
              QStringLiteral("%1 was not written: the query was read for the list only. Read it with ReadFile first.").arg(path),
              kFrameworkSource);
    const auto treeOf = [&path](const QByteArray &text) { return queryTree(parseQuery(text, path)); };
    const auto &original = query.original;
    return rewrite(original ? original->bytes() : QByteArray(), original ? original->tree() : TomlNode(), queryTree(query), path, treeOf);
}

} // namespace qm
