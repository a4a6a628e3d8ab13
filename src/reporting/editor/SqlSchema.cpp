#include "reporting/editor/SqlSchema.h"

#include "core/RuntimeError.h"
#include "engine/rows/CancelFlag.h"
#include "framework/SqlName.h"
#include "reporting/editor/SqlHighlighter.h"

#include <QMap>
#include <QRegularExpression>

#include <algorithm>

namespace qm {

namespace {

QString textOf(const Value &value)
{
    return value.kind == Value::Kind::Text ? QString::fromUtf8(value.data, static_cast<qsizetype>(value.size)) : QString();
}

/// Names of tables by the name or alias under which the text uses them, lower case.
QMap<QString, const SchemaTable *> tablesInUse(const QString &sql, SqlDialect dialect, const SqlSchema &schema)
{
    QMap<QString, const SchemaTable *> used;
    std::vector<QString> words;
    for (const SqlToken &token : lexSql(sql, dialect)) {
        if (token.kind == SqlToken::Kind::Blank || token.kind == SqlToken::Kind::Comment)
            continue;
        QString word = sql.mid(token.offset, token.length);
        if (token.kind == SqlToken::Kind::QuotedName && word.size() > 1)
            word = word.mid(1, word.size() - 2);
        words.push_back(word);
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto table = std::find_if(schema.begin(), schema.end(), [&](const SchemaTable &candidate) {
            return candidate.name.compare(words[i], Qt::CaseInsensitive) == 0;
        });
        if (table == schema.end())
            continue;
        used.insert(words[i].toLower(), &*table);
        std::size_t next = i + 1;
        if (next < words.size() && words[next].compare(QStringLiteral("as"), Qt::CaseInsensitive) == 0)
            ++next;
        if (next < words.size() && isSqlName(words[next]) && !sqlKeywords().contains(words[next].toUpper()))
            used.insert(words[next].toLower(), &*table);
    }
    return used;
}

} // namespace

SqlSchema readSchema(const SourceDescription &source, std::shared_ptr<CancelFlag> cancel)
{
    const RunLimits limits(std::move(cancel), std::chrono::seconds(30));
    const char *sql = odbc::engineOf(source.dialect).schemaQuery;
    const auto rows = openRowSource(source, QString::fromLatin1(sql), {}, limits);
    SqlSchema schema;
    std::vector<Value> row(rows->columns().size());
    while (rows->next(row)) {
        const QString table = textOf(row[0]);
        if (schema.empty() || schema.back().name != table)
            schema.push_back({table, textOf(row[1]).contains(QStringLiteral("view"), Qt::CaseInsensitive), {}});
        schema.back().columns.push_back({textOf(row[2]), textOf(row[3])});
    }
    return schema;
}

QString quotedName(const QString &name)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
    if (plain.match(name).hasMatch() && !sqlKeywords().contains(name.toUpper()))
        return name;
    QString quoted = name;
    return u'"' + quoted.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

qsizetype wordStart(QStringView sql, qsizetype position)
{
    while (position > 0 && isSqlNamePart(sql[position - 1]))
        --position;
    return position;
}

QStringList completionsAt(const QString &sql, qsizetype position, SqlDialect dialect, const SqlSchema &schema)
{
    const qsizetype start = wordStart(sql, position);
    const auto used = tablesInUse(sql, dialect, schema);
    QStringList words;
    if (start > 0 && sql[start - 1] == u'.') {
        const QString owner = sql.mid(wordStart(sql, start - 1), start - 1 - wordStart(sql, start - 1)).toLower();
        if (const SchemaTable *table = used.value(owner))
            for (const SchemaColumn &column : table->columns)
                words << quotedName(column.name);
        return words;
    }
    if (start > 0 && sql[start - 1] == u':') {
        words << QStringLiteral("date_from") << QStringLiteral("date_to") << parameterNames(sql, dialect);
        words.removeAll(sql.mid(start, position - start));
    } else {
        for (const SchemaTable *table : used)
            for (const SchemaColumn &column : table->columns)
                words << quotedName(column.name);
        for (const SchemaTable &table : schema)
            words << quotedName(table.name);
        words << sqlKeywords();
    }
    words.removeDuplicates();
    std::sort(words.begin(), words.end(), [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    return words;
}

} // namespace qm
