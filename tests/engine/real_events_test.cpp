#include "support/HostProgram.h"
#include "support/TempInstallation.h"
#include "support/ToolRun.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

QString dataFolder()
{
    const QString given = qEnvironmentVariable("QM_DATA_DIR");
    return given.isEmpty() ? qEnvironmentVariable("QM_SOURCE_DIR") + u"/../shared/data"_s : given;
}

void copyFolder(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    for (const QFileInfo &entry : QDir(from).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot))
        if (entry.isDir())
            copyFolder(entry.filePath(), to + u'/' + entry.fileName());
        else
            QVERIFY(QFile::copy(entry.filePath(), to + u'/' + entry.fileName()));
}

} // namespace

/// The sample queries over the collection of real events, imported and read by the finished programs.
class RealEventsTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<qm::test::TempInstallation> m_installation;

    [[nodiscard]] QString queryFile(const QString &package, const QString &group, const QString &report) const
    {
        return m_installation->path() + u"packages/%1/Query Groups/%2/%3.rqn"_s.arg(package, group, report);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFile::exists(dataFolder() + u"/server_events.csv"_s))
            QSKIP("the collection of real events is not on this machine (set QM_DATA_DIR)");
        const std::vector<std::pair<QString, QString>> packages{
            {u"server"_s, u"Server Operating System Logs"_s}, {u"mail"_s, u"Mail Server Logs"_s}, {u"file"_s, u"File Server Logs"_s}};
        std::vector<qm::test::TempPackage> entries;
        for (const auto &[kind, name] : packages)
            entries.push_back(
                {kind, name, u"Quillmark."_s + kind, u"packages/%1/"_s.arg(name), u"Quillmark.QueryAccess"_s, u"EventLog.db"_s});
        m_installation = std::make_unique<qm::test::TempInstallation>(entries);
        copyFolder(qEnvironmentVariable("QM_SOURCE_DIR") + u"/samples/packages"_s, m_installation->path() + u"packages"_s);
        for (const auto &[kind, name] : packages) {
            const qm::test::ToolResult import =
                qm::test::runTool("quillmark-import", {u"--database"_s, m_installation->path() + u"packages/%1/EventLog.db"_s.arg(name),
                                                       u"--kind"_s, kind, dataFolder() + u"/%1_events.csv"_s.arg(kind)});
            QVERIFY2(import.code == 0, qPrintable(import.err));
        }
    }

    void every_query_gives_the_counted_rows_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("rows");
        QFile list(dataFolder() + u"/queries.md"_s);
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
        const qm::test::ToolResult counted = qm::test::runTool("quillmark-report", {u"--all-time"_s, u"--rows"_s, file});
        QVERIFY2(counted.code == 0, qPrintable(counted.err));
        QCOMPARE(counted.out, QString::number(rows) + u'\n');
    }

    /// Each format's file is read back by a program of others.
    void every_format_holds_the_same_rows()
    {
        const QString file = queryFile(u"Server Operating System Logs"_s, u"Security"_s, u"Cleared logs and audit settings changed"_s);
        const QString folder = m_installation->path() + u"Reports/"_s;
        for (const char *format : {"csv", "html", "xlsx", "pdf"}) {
            const qm::test::ToolResult made = qm::test::runTool(
                "quillmark-report", {u"--all-time"_s, u"--rows"_s, u"--output"_s, folder + u"read back."_s + QLatin1String(format), file});
            QVERIFY2(made.code == 0, qPrintable(made.err));
            QCOMPARE(made.out, u"418\n"_s);
        }
        if (!qm::test::hostHas(u"python3"_s))
            QSKIP("python3 is not on this machine");
        const qm::test::HostResult said = qm::test::runHost(
            u"python3"_s, {qEnvironmentVariable("QM_SOURCE_DIR") + u"/tests/engine/read_back.py"_s, folder + u"read back"_s});
        QVERIFY2(said.code == 0, (said.out + said.err).constData());
        qInfo("%s", said.out.trimmed().constData());
    }
};

QTEST_GUILESS_MAIN(RealEventsTest)
#include "real_events_test.moc"
