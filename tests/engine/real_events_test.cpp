#include "documents/ReadBack.h"
#include "support/ToolRun.h"

#include <QJsonArray>
#include <QTemporaryDir>

using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

QString dataFolder()
{
    const QString given = qEnvironmentVariable("QM_DATA_DIR");
    return given.isEmpty() ? qEnvironmentVariable("QM_SOURCE_DIR") + u"/../shared/data"_s : given;
}

} // namespace

/// The sample queries over the collection of real events, imported and read by the finished programs.
class RealEventsTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    [[nodiscard]] QString queryFile(const QString &package, const QString &group, const QString &report) const
    {
        // A package's folder has the first word of its name.
        return m_folder.filePath(u"Packages/%1/Query Groups/%2/%3.rqn"_s.arg(package.section(u' ', 0, 0), group, report));
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFile::exists(dataFolder() + u"/server_events.csv"_s))
            QSKIP("the collection of real events is not on this machine (set QM_DATA_DIR)");
        const ToolResult made = runTool("quillmark-trial", {u"--to"_s, m_folder.path(), u"--samples"_s,
                                                            qEnvironmentVariable("QM_SOURCE_DIR") + u"/samples"_s, u"--rows"_s, u"0"_s});
        QVERIFY2(made.code == 0, qPrintable(made.err));
        for (const QString &word : {u"Server"_s, u"Mail"_s, u"File"_s}) {
            const QString kind = word.toLower(), database = m_folder.filePath(u"Packages/%1/EventLog.db"_s.arg(word));
            const ToolResult import =
                runTool("quillmark-import", {u"--database"_s, database, u"--kind"_s, kind, dataFolder() + u"/%1_events.csv"_s.arg(kind)});
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
        const ToolResult counted = runTool("quillmark-report", {u"--all-time"_s, u"--rows"_s, file});
        QVERIFY2(counted.code == 0, qPrintable(counted.err));
        QCOMPARE(counted.out, QString::number(rows) + u'\n');
    }

    /// Each format's file is read back by a program of others.
    void every_format_holds_real_events()
    {
        const QString file = queryFile(u"Server Operating System Logs"_s, u"Security"_s, u"Cleared logs and audit settings changed"_s);
        for (const char *format : {"csv", "html", "xlsx", "pdf"}) {
            const ToolResult made = runTool("quillmark-report", {u"--all-time"_s, u"--rows"_s, u"--output"_s,
                                                                 m_folder.filePath(u"all."_s + QLatin1String(format)), file});
            QVERIFY2(made.code == 0, qPrintable(made.err));
            QCOMPARE(made.out, u"418\n"_s);
        }
        const QString python = pythonWithReaders();
        if (python.isEmpty())
            QSKIP("no Python with openpyxl here");
        // What CSV holds as it came, the others show cell by cell.
        const QJsonArray raw = readBack(python, u"csv"_s, m_folder.filePath(u"all.csv"_s))[u"rows"_s].toArray();
        const QJsonArray page = readBack(python, u"html"_s, m_folder.filePath(u"all.html"_s))[u"rows"_s].toArray();
        const QJsonArray book = readBack(python, u"xlsx"_s, m_folder.filePath(u"all.xlsx"_s))[u"sheets"_s].toArray();
        QList<QJsonArray> sheet; // rows, without headings and sums of groups
        for (const QJsonValue &row : book.at(0)[u"rows"_s].toArray())
            if (row.toArray().at(0).isObject())
                sheet << row.toArray();
        const QString pdf = QString::fromUtf8(outputOf(u"pdftotext"_s, {u"-layout"_s, m_folder.filePath(u"all.pdf"_s), u"-"_s}));
        QCOMPARE(raw.size(), 418);
        QCOMPARE(page.size(), 418);
        QCOMPARE(sheet.size(), 418);
        const auto plain = [](const QJsonValue &cell) {
            const QString text = cell.isObject() ? cell[u"datetime"_s].toString().left(19) : cell.toVariant().toString();
            return QString(text).replace(u"\r\n"_s, u"\n"_s);
        };
        constexpr int kOuter = 1, kInner = 3; // the columns of its groups
        for (int row = 0; row < 418; ++row) {
            const QJsonArray cells = raw.at(row).toArray();
            QCOMPARE(cells.size(), 6);
            QVERIFY2(pdf.contains(plain(cells.at(0)).left(19)), qPrintable(plain(cells.at(0))));
            for (int cell = 0; cell < cells.size(); ++cell) {
                const QString expected = cell == 0 ? plain(cells.at(0)).left(19) : plain(cells.at(cell));
                // Real messages hold marks of direction, which HTML shows; what a group's heading says is not said again.
                const QString shown = plain(page.at(row).toArray().at(cell));
                if ((cell != kOuter && cell != kInner) || !shown.isEmpty())
                    QCOMPARE(shown, QString(expected).replace(u"\u200E"_s, u"[U+200E]"_s));
                QCOMPARE(plain(sheet.at(row).at(cell)), expected);
            }
        }
    }
};

QTEST_GUILESS_MAIN(RealEventsTest)
#include "real_events_test.moc"
