#include "support/DatabaseServers.h"
#include "support/ToolRun.h"

#include <QDirIterator>
#include <QtTest>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// The tables of an embedded event database, made and filled in PostgreSQL. Texts there compare with letter case.
bool copyTables(const QString &database, const PostgresServer &server)
{
    const QString url = u"postgresql://boss:pw@127.0.0.1:%1/sales"_s.arg(server.port());
    const auto sqlite3 = [&](const QStringList &arguments) { return outputOf(u"sqlite3"_s, QStringList(database) + arguments); };
    static const QRegularExpression notThere(u"COLLATE NOCASE|REFERENCES \\w+\\(\\w+\\)"_s);
    const QByteArray names = sqlite3({u"SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite%'"_s});
    for (const QByteArray &line : names.trimmed().split('\n')) {
        const QString name = QString::fromUtf8(line);
        QString sql = QString::fromUtf8(sqlite3({u"SELECT sql FROM sqlite_master WHERE name='%1'"_s.arg(name)}));
        sql.remove(notThere);
        sql.replace(u"DATETIME"_s, u"timestamp"_s).replace(u"INTEGER"_s, u"bigint"_s);
        QTemporaryFile csv;
        if (!csv.open() || csv.write(outputOf(u"sqlite3"_s, {u"-csv"_s, database, u"SELECT * FROM "_s + name})) <= 0)
            return false;
        csv.close();
        if (server.run(sql).isNull() ||
            outputOf(u"psql"_s, {u"-qX"_s, url, u"-c"_s, u"\\copy %1 from '%2' csv"_s.arg(name, csv.fileName())}).isNull())
            return false;
    }
    return true;
}

} // namespace

/// The sample queries with their variants, on the sample events, in another engine than the embedded one.
class SampleDialectsTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    std::unique_ptr<PostgresServer> m_server;

    [[nodiscard]] QString installation() const { return m_folder.path() + u'/'; }

    /// Lines of the report as CSV without their order, which ties and collations decide.
    [[nodiscard]] QList<QByteArray> report(const QString &query)
    {
        const QString file = m_folder.filePath(u"out.csv"_s);
        if (const ToolResult made = runTool("quillmark-report", {u"--all-time"_s, u"--output"_s, file, query}); made.code != 0) {
            qWarning("%s", qPrintable(made.err));
            return {};
        }
        // A time text without a fraction is the same time.
        QList<QByteArray> lines = readFile(file).replace(".000,", ",").replace(".000\r", "\r").split('\n');
        if (query.contains(u"Slow deliveries"_s)) // its last column is a rounded difference, of doubles here and decimals there
            for (QByteArray &line : lines)
                line.truncate(std::max<qsizetype>(line.lastIndexOf(','), 0));
        std::sort(lines.begin(), lines.end());
        return lines;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = missingDriver(u"PostgreSQL Unicode"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_server = std::make_unique<PostgresServer>();
        if (!m_server->problem().isEmpty())
            QSKIP(qPrintable(m_server->problem()));
        QCOMPARE(runTool("quillmark-trial", {u"--to"_s, installation(), u"--samples"_s,
                                             qEnvironmentVariable("QM_SOURCE_DIR") + u"/samples"_s, u"--rows"_s, u"4000"_s})
                     .code,
                 0);
        for (const char *package : {"Server", "Mail", "File"})
            QVERIFY(copyTables(installation() + u"Packages/%1/EventLog.db"_s.arg(QString::fromLatin1(package)), *m_server));
    }

    void every_sample_query_gives_the_same_rows_on_postgresql()
    {
        QStringList queries;
        QDirIterator files(installation() + u"Packages"_s, {u"*.rqn"_s}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            queries << files.next();
        QVERIFY(queries.size() >= 24);
        int withRows = 0;
        for (const QString &query : queries) {
            const QList<QByteArray> here = report(query);
            const QByteArray source =
                readFile(query).replace("data_source = \"\"", "data_source = \"ODBC::" + m_server->connection().toUtf8() + '"');
            writeFile(query, source);
            const QList<QByteArray> there = report(query);
            QVERIFY2(!here.isEmpty() && here == there, qPrintable(query));
            withRows += here.size() > 2 ? 1 : 0;
        }
        QVERIFY2(withRows >= 20, qPrintable(QString::number(withRows)));
    }
};

QTEST_GUILESS_MAIN(SampleDialectsTest)
#include "sample_dialects_test.moc"
