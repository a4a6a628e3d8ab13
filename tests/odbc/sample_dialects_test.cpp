#include "support/DatabaseServers.h"

#include <QDirIterator>
#include <QtTest>

using namespace qm;
using namespace qm::test;

namespace {

constexpr int kToolMs = 60'000;

bool runTool(const QString &tool, const QStringList &arguments, QByteArray *said = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(qEnvironmentVariable("QM_BIN_DIR") + u'/' + tool, arguments);
    const bool done = process.waitForFinished(kToolMs) && process.exitCode() == 0;
    if (said)
        *said = process.readAll();
    return done;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The tables of an embedded event database, made and filled in PostgreSQL. Texts there compare with letter case.
bool copyTables(const QString &database, const PostgresServer &server)
{
    const QString url = QStringLiteral("postgresql://boss:pw@127.0.0.1:%1/sales").arg(server.port());
    const auto sqlite3 = [&](const QStringList &arguments) {
        return outputOf(QStringLiteral("sqlite3"), QStringList(database) + arguments);
    };
    static const QRegularExpression notThere(QStringLiteral("COLLATE NOCASE|REFERENCES \\w+\\(\\w+\\)"));
    const QByteArray names = sqlite3({QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite%'")});
    for (const QByteArray &line : names.trimmed().split('\n')) {
        const QString name = QString::fromUtf8(line);
        QString sql = QString::fromUtf8(sqlite3({QStringLiteral("SELECT sql FROM sqlite_master WHERE name='%1'").arg(name)}));
        sql.remove(notThere);
        sql.replace(QStringLiteral("DATETIME"), QStringLiteral("timestamp")).replace(QStringLiteral("INTEGER"), QStringLiteral("bigint"));
        QTemporaryFile csv;
        if (!csv.open() || csv.write(outputOf(QStringLiteral("sqlite3"),
                                              {QStringLiteral("-csv"), database, QStringLiteral("SELECT * FROM ") + name})) <= 0)
            return false;
        csv.close();
        if (server.run(sql).isNull() ||
            outputOf(QStringLiteral("psql"), {QStringLiteral("-qX"), url, QStringLiteral("-c"),
                                              QStringLiteral("\\copy %1 from '%2' csv").arg(name, csv.fileName())})
                .isNull())
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
        const QString file = m_folder.filePath(QStringLiteral("out.csv"));
        QByteArray said;
        if (!runTool(QStringLiteral("quillmark-report"), {QStringLiteral("--all-time"), QStringLiteral("--output"), file, query}, &said)) {
            qWarning("%s", said.constData());
            return {};
        }
        // A time text without a fraction is the same time.
        QList<QByteArray> lines = contents(file).replace(".000,", ",").replace(".000\r", "\r").split('\n');
        if (query.contains(
                QStringLiteral("Slow deliveries"))) // its last column is a rounded difference, of doubles here and decimals there
            for (QByteArray &line : lines)
                line.truncate(std::max<qsizetype>(line.lastIndexOf(','), 0));
        std::sort(lines.begin(), lines.end());
        return lines;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = missingDriver(QStringLiteral("PostgreSQL Unicode")); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_server = std::make_unique<PostgresServer>();
        if (!m_server->problem().isEmpty())
            QSKIP(qPrintable(m_server->problem()));
        QVERIFY(runTool(QStringLiteral("quillmark-trial"), {QStringLiteral("--to"), installation(), QStringLiteral("--samples"),
                                                            qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/samples"),
                                                            QStringLiteral("--rows"), QStringLiteral("4000")}));
        for (const char *package : {"Server", "Mail", "File"})
            QVERIFY(copyTables(installation() + QStringLiteral("Packages/%1/EventLog.db").arg(QString::fromLatin1(package)), *m_server));
    }

    void every_sample_query_gives_the_same_rows_on_postgresql()
    {
        QStringList queries;
        QDirIterator files(installation() + QStringLiteral("Packages"), {QStringLiteral("*.rqn")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            queries << files.next();
        QVERIFY(queries.size() >= 24);
        int withRows = 0;
        for (const QString &query : queries) {
            const QList<QByteArray> here = report(query);
            const QByteArray source =
                contents(query).replace("data_source = \"\"", "data_source = \"ODBC::" + m_server->connection().toUtf8() + '"');
            QFile file(query);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(source) == source.size());
            file.close();
            const QList<QByteArray> there = report(query);
            QVERIFY2(!here.isEmpty() && here == there, qPrintable(query));
            withRows += here.size() > 2 ? 1 : 0;
        }
        QVERIFY2(withRows >= 20, qPrintable(QString::number(withRows)));
    }
};

QTEST_GUILESS_MAIN(SampleDialectsTest)
#include "sample_dialects_test.moc"
