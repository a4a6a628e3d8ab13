// quillmark-trial: the installation it lays out, its sample events, and that every query that comes with the program finds something in
// them.

#include "support/PrivateRegistry.h"
#include "support/ToolRun.h"

#include "framework/ConfigReaders.h"
#include "framework/LayoutFile.h"
#include "framework/QueryFile.h"
#include "platform/Registry.h"

#include <QDirIterator>
#include <QTemporaryDir>

#include <algorithm>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

class ToolsTrialTest final : public QObject
{
    Q_OBJECT

private:
    [[nodiscard]] static QString samples() { return qEnvironmentVariable("QM_SOURCE_DIR") + u"/samples"_s; }
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    [[nodiscard]] ToolResult layOut(const QString &folder, const QStringList &more = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_CONFIG_HOME"_s, path(u"config"_s));
        return runTool("quillmark-trial",
                       QStringList{u"--to"_s, path(folder), u"--samples"_s, samples(), u"--end"_s, u"2026-11-20"_s} + more, {},
                       environment);
    }
    /// Start and end of a sample's default period, seen on the day after the last events.
    [[nodiscard]] static QMap<QString, QString> period(const QString &range)
    {
        const QMap<QString, int> days{{u"last day"_s, 1}, {u"last week"_s, 7}, {u"last month"_s, 31}};
        const QDate today(2026, 11, 21);
        const auto text = [](QDate day) { return day.toString(Qt::ISODate) + u" 00:00:00"_s; };
        return {{u"date_from"_s, text(today.addDays(-days.value(range)))}, {u"date_to"_s, text(today)}};
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void initTestCase()
    {
        const ToolResult result = layOut(u"trial"_s);
        QVERIFY2(result.code == 0, qPrintable(result.err));
    }

    void the_installation_is_one_that_the_program_reads()
    {
        const auto packages = IniPackageConfigReader().ReadPackages(path(u"trial/Packages.ini"_s));
        QSet<QString> interfaces;
        for (const auto &package : packages)
            interfaces << package->Interface << package->QueryAccess;
        QCOMPARE(interfaces.size(), 6); // of three packages
        for (const char *folder : {"Config", "Logs", "Reports"})
            QVERIFY(QFileInfo(path(u"trial/"_s + QString::fromLatin1(folder))).isDir());
        QVERIFY(readFile(path(u"trial/README.txt"_s)).contains("SAMPLE DATA"));
        QVERIFY(readFile(path(u"trial/Report Generator.chm"_s)).startsWith("ITSF"));
    }

    void every_sample_query_reads_and_finds_rows()
    {
        int queries = 0;
        for (const auto &package : IniPackageConfigReader().ReadPackages(path(u"trial/Packages.ini"_s))) {
            QDirIterator walk(package->InstallPath + u"Query Groups"_s, {u"*.rqn"_s}, QDir::Files, QDirIterator::Subdirectories);
            while (walk.hasNext()) {
                const QString file = walk.next();
                const Query query = parseQuery(readFile(file), file);
                const QString layoutFile = package->InstallPath + query.ReportFile;
                const ReportLayout layout = parseLayout(readFile(layoutFile), layoutFile);
                QCOMPARE(query.Description, QFileInfo(file).completeBaseName());
                QStringList columns;
                const QStringList rows = rowsOf(package->Database, query.sql, period(query.period.range), &columns);
                QVERIFY2(!rows.isEmpty() && !rows.first().startsWith(u"error:"_s), qPrintable(file + rows.join(u' ')));
                QStringList listed;
                double width = 0;
                for (const LayoutColumn &column : layout.columns) {
                    listed << column.field;
                    width += column.widthMm;
                }
                QCOMPARE(listed, columns);
                const double page = layout.page.orientation == PageOrientation::Landscape ? 297 : 210;
                QVERIFY2(width > 0 && width <= page - 2 * layout.page.marginMm, qPrintable(file));
                ++queries;
            }
        }
        QCOMPARE(queries, 30);
    }

    void sample_events_are_the_same_each_time_and_say_what_they_are()
    {
        QCOMPARE(layOut(u"again"_s, {u"--rows"_s, u"20000"_s}).code, 0);
        QCOMPARE(layOut(u"other"_s, {u"--seed"_s, u"2"_s, u"--rows"_s, u"500"_s}).code, 0);
        for (const char *word : {"Server", "Mail", "File"}) {
            const QString name = QString::fromLatin1(word), database = u"/Packages/%1/EventLog.db"_s.arg(name);
            const QString table = name.toLower() + u"_events"_s, time = name == u"Server"_s ? u"time_generated"_s : u"time"_s;
            const QString all = u"SELECT * FROM %1 ORDER BY id LIMIT 500"_s.arg(table);
            const QStringList rows = rowsOf(path(u"trial"_s + database), all);
            QCOMPARE(rows.size(), 500);
            QVERIFY(rows == rowsOf(path(u"again"_s + database), all));
            QVERIFY(rows != rowsOf(path(u"other"_s + database), all));
            QCOMPARE(rowsOf(path(u"trial"_s + database), u"SELECT count(*), min(data_source), max(data_source), min(%1)>='2026-09-21', "
                                                         "max(%1)<'2026-11-21', max(%1)>'2026-11-20' FROM %2"_s.arg(time, table)),
                     QStringList{u"20000|sample data|sample data|1|1|1"_s});
        }
        const QString mail = path(u"trial/Packages/Mail/EventLog.db"_s);
        QCOMPARE(rowsOf(mail, u"SELECT count(*)>0 FROM mail_events WHERE subject GLOB '*[一-龥]*' UNION ALL SELECT "
                              "count(*)>0 FROM mail_events WHERE subject GLOB '*[ا-ي]*' UNION ALL "
                              "SELECT count(*)>0 FROM mail_events WHERE subject LIKE '%🚀%' UNION ALL SELECT "
                              "max(length(diagnostic))>400 FROM mail_events"_s),
                 QStringList(4, u"1"_s));
    }

    void nothing_is_overwritten_unless_asked()
    {
        const QString ini = path(u"trial/Packages.ini"_s), own = path(u"trial/Packages/Server/Query Groups/Security/Mine.rqn"_s);
        writeFile(ini, "[Framework]\n");
        writeFile(own, "description = \"mine\"\n");
        const ToolResult refused = layOut(u"trial"_s);
        QCOMPARE(refused.code, 1);
        QVERIFY2(refused.err.contains(u"is there already and is kept"_s), qPrintable(refused.err));
        QCOMPARE(readFile(ini), QByteArray("[Framework]\n"));
        QCOMPARE(layOut(u"trial"_s, {u"--force"_s, u"--rows"_s, u"100"_s}).code, 0);
        QVERIFY(readFile(ini).contains("[Package.Server]"));
        QCOMPARE(readFile(own), QByteArray("description = \"mine\"\n"));
        QCOMPARE(rowsOf(path(u"trial/Packages/File/EventLog.db"_s), u"SELECT count(*) FROM file_events"_s), QStringList{u"100"_s});
        const ToolResult lost = runTool("quillmark-trial", {u"--to"_s, path(u"x"_s), u"--samples"_s, path(u"none"_s)});
        QVERIFY(lost.code == 1 && lost.err.contains(u"--samples"_s) && !QFile::exists(path(u"x"_s)));
        for (const QStringList &wrong : {QStringList{}, QStringList{u"--to"_s, path(u"x"_s), u"--end"_s, u"tomorrow"_s},
                                         QStringList{u"--to"_s, path(u"x"_s), u"--rows"_s, u"-1"_s}})
            QCOMPARE(runTool("quillmark-trial", wrong).code, 2);
    }

    void it_registers_the_folder_with_a_separator_at_its_end()
    {
        const PrivateRegistry registry(m_folder.path());
        QCOMPARE(layOut(u"registered"_s, {u"--rows"_s, u"10"_s, u"--register"_s}).code, 0);
        QCOMPARE(GetInstallPath(), QDir::toNativeSeparators(path(u"registered"_s) + u'/'));
    }
};

QTEST_GUILESS_MAIN(ToolsTrialTest)
#include "tools_trial_test.moc"
