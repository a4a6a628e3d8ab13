#include "support/TempInstallation.h"

#include <QtTest>

namespace {

constexpr int kToolTimeoutMs = 120'000;

struct Outcome
{
    int exitCode = -1;
    QByteArray out, err;
};

Outcome runTool(const char *tool, const QStringList &arguments)
{
    QProcess process;
    process.start(qEnvironmentVariable("QM_BIN_DIR") + u'/' + QLatin1String(tool), arguments);
    if (!process.waitForFinished(kToolTimeoutMs))
        return {-1, {}, process.errorString().toUtf8()};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

QString dataFolder()
{
    const QString given = qEnvironmentVariable("QM_DATA_DIR");
    return given.isEmpty() ? qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/../shared/data") : given;
}

void copyFolder(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    for (const QFileInfo &entry : QDir(from).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (entry.isDir())
            copyFolder(entry.filePath(), to + u'/' + entry.fileName());
        else
            QVERIFY(QFile::copy(entry.filePath(), to + u'/' + entry.fileName()));
    }
}

} // namespace

/// The sample queries over the collection of real events, imported and read by the finished programs.
class RealEventsTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<qm::test::TempInstallation> m_installation;

    [[nodiscard]] QString queryFile(const QString &package, const QString &group, const QString &report) const
    {
        return m_installation->path() + QStringLiteral("packages/%1/Query Groups/%2/%3.rqn").arg(package, group, report);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFile::exists(dataFolder() + QStringLiteral("/server_events.csv")))
            QSKIP("the collection of real events is not on this machine (set QM_DATA_DIR)");
        const std::vector<std::pair<QString, QString>> packages{{QStringLiteral("server"), QStringLiteral("Server Operating System Logs")},
                                                                {QStringLiteral("mail"), QStringLiteral("Mail Server Logs")},
                                                                {QStringLiteral("file"), QStringLiteral("File Server Logs")}};
        std::vector<qm::test::TempPackage> entries;
        for (const auto &[kind, name] : packages)
            entries.push_back({kind, name, QStringLiteral("Quillmark.") + kind, QStringLiteral("packages/%1/").arg(name),
                               QStringLiteral("Quillmark.QueryAccess"), QStringLiteral("EventLog.db")});
        m_installation = std::make_unique<qm::test::TempInstallation>(entries);
        copyFolder(qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/samples/packages"),
                   m_installation->path() + QStringLiteral("packages"));
        for (const auto &[kind, name] : packages) {
            const Outcome import =
                runTool("quillmark-import",
                        {QStringLiteral("--database"), m_installation->path() + QStringLiteral("packages/%1/EventLog.db").arg(name),
                         QStringLiteral("--kind"), kind, dataFolder() + QStringLiteral("/%1_events.csv").arg(kind)});
            QVERIFY2(import.exitCode == 0, import.err.constData());
        }
    }

    void every_query_gives_the_counted_rows_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("rows");
        QFile list(dataFolder() + QStringLiteral("/queries.md"));
        QVERIFY(list.open(QIODevice::ReadOnly));
        static const QRegularExpression line(QStringLiteral(R"(^\| (\d+) \| (.+?) \| (.+?) \| (.+?) \| .+? \| (\d+) \|)"));
        int found = 0;
        for (const QByteArray &text : list.readAll().split('\n')) {
            const auto match = line.match(QString::fromUtf8(text));
            if (!match.hasMatch())
                continue;
            ++found;
            QTest::newRow(qPrintable(match.captured(1) + u' ' + match.captured(4)))
                << queryFile(match.captured(2), match.captured(3), match.captured(4)) << match.captured(5).toInt();
        }
        QCOMPARE(found, 24);
    }
    void every_query_gives_the_counted_rows()
    {
        QFETCH(QString, file);
        QFETCH(int, rows);
        const Outcome counted = runTool("quillmark-report", {QStringLiteral("--all-time"), QStringLiteral("--rows"), file});
        QVERIFY2(counted.exitCode == 0, counted.err.constData());
        QCOMPARE(counted.out, QByteArray::number(rows) + '\n');
    }

    /// Each format's file is read back by a program of others.
    void every_format_holds_the_same_rows()
    {
        const QString file = queryFile(QStringLiteral("Server Operating System Logs"), QStringLiteral("Security"),
                                       QStringLiteral("Cleared logs and audit settings changed"));
        const QString folder = m_installation->path() + QStringLiteral("Reports/");
        for (const char *format : {"csv", "html", "xlsx", "pdf"}) {
            const Outcome made =
                runTool("quillmark-report", {QStringLiteral("--all-time"), QStringLiteral("--rows"), QStringLiteral("--output"),
                                             folder + QStringLiteral("read back.") + QLatin1String(format), file});
            QVERIFY2(made.exitCode == 0, made.err.constData());
            QCOMPARE(made.out, QByteArray("418\n"));
        }
        QProcess reader;
        reader.start(QStringLiteral("python3"), {QFINDTESTDATA("read_back.py"), folder + QStringLiteral("read back")});
        if (!reader.waitForStarted())
            QSKIP("python3 is not on this machine");
        QVERIFY(reader.waitForFinished(kToolTimeoutMs));
        const QByteArray said = reader.readAllStandardOutput() + reader.readAllStandardError();
        QVERIFY2(reader.exitCode() == 0, said.constData());
        qInfo("%s", said.trimmed().constData());
    }
};

QTEST_GUILESS_MAIN(RealEventsTest)
#include "real_events_test.moc"
