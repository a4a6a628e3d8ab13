#include "reporting/engine/RowSources.h"

#include "platform/Files.h"
#include "reporting/engine/Failure.h"
#include "reporting/engine/SqliteRowSource.h"

namespace qm {

namespace {

bool isSecretKey(const QString &key)
{
    const QString name = key.trimmed().toLower();
    return name == QStringLiteral("pwd") || name.contains(QStringLiteral("password")) || name.contains(QStringLiteral("passwd")) ||
           name.contains(QStringLiteral("secret")) || name.contains(QStringLiteral("token"));
}

/// The end of a connection string's value that begins at \p from: "{...}" (with "}}" inside), quoted, or up to the next semicolon.
qsizetype valueEnd(const QString &text, qsizetype from)
{
    while (from < text.size() && text[from].isSpace())
        ++from;
    if (from < text.size() && (text[from] == u'{' || text[from] == u'"' || text[from] == u'\'')) {
        const QChar close = text[from] == u'{' ? QChar(u'}') : text[from];
        for (qsizetype i = from + 1; i < text.size(); ++i) {
            if (text[i] != close)
                continue;
            if (i + 1 < text.size() && text[i + 1] == close)
                ++i;
            else
                return qMax(i + 1, text.indexOf(u';', i + 1) < 0 ? text.size() : text.indexOf(u';', i + 1));
        }
        return text.size();
    }
    const qsizetype semicolon = text.indexOf(u';', from);
    return semicolon < 0 ? text.size() : semicolon;
}

} // namespace

QString redacted(const QString &text)
{
    QString shown;
    qsizetype at = 0;
    while (at < text.size()) {
        const qsizetype equals = text.indexOf(u'=', at);
        if (equals < 0)
            break;
        const qsizetype semicolon = text.indexOf(u';', at);
        if (semicolon >= 0 && semicolon < equals) {
            shown += text.mid(at, semicolon + 1 - at);
            at = semicolon + 1;
            continue;
        }
        QString key = text.mid(at, equals - at);
        key = key.mid(key.lastIndexOf(u':') + 1);
        const qsizetype end = valueEnd(text, equals + 1);
        shown += text.mid(at, equals + 1 - at) + (isSecretKey(key) ? QStringLiteral("***") : text.mid(equals + 1, end - equals - 1));
        if (end < text.size())
            shown += text[end];
        at = end + 1;
    }
    return shown + text.mid(at);
}

SourceDescription describeSource(const QString &dataSource, const QString &database)
{
    if (!dataSource.isEmpty())
        failReport(QStringLiteral("The query reads from the data source \"%1\". This version reads only a package's own event database: "
                                  "choose that in the query's data source.")
                       .arg(redacted(dataSource)));
    return {database, QStringLiteral("event database %1").arg(files::lastPart(database)), SqlDialect::Sqlite};
}

std::unique_ptr<RowSource> openRowSource(const SourceDescription &source, const QString &sql, const std::vector<BoundParameter> &parameters,
                                         const RunLimits &limits)
{
    return std::make_unique<SqliteRowSource>(source.database, sql, parameters, limits);
}

} // namespace qm
