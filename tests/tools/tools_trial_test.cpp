// quillmark-trial: the installation it lays out, its sample events, and that every query that comes with the program finds something in
// them.

#include "ToolRun.h"

#include "framework/ConfigReaders.h"
#include "framework/LayoutFile.h"
#include "framework/QueryFile.h"
#include "platform/Registry.h"

#include <QDirIterator>
#include <QTemporaryDir>

#include <algorithm>

using namespace qm;
using namespace qm::test;

class ToolsTrialTest final : public QObject
{
    Q_OBJECT

private:
    [[nodiscard]] static QString samples() { return qEnvironmentVariable("QM_SOURCE_DIR") + QStringLiteral("/samples"); }
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    [[nodiscard]] ToolResult layOut(const QString &folder, const QStringList &more = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        return runTool("quillmark-trial",
                       QStringList{QStringLiteral("--to"), path(folder), QStringLiteral("--samples"), samples(), QStringLiteral("--end"),
                                   QStringLiteral("2026-11-20")} +
                           more,
                       {}, environment);
    }
    /// Start and end of a sample's default period, seen on the day after the last events.
    [[nodiscard]] static QMap<QString, QString> period(const QString &range)
    {
        const QMap<QString, int> days{
            {QStringLiteral("last day"), 1}, {QStringLiteral("last week"), 7}, {QStringLiteral("last month"), 31}};
        const QDate today(2026, 11, 21);
        const auto text = [](QDate day) { return day.toString(Qt::ISODate) + QStringLiteral(" 00:00:00"); };
        return {{QStringLiteral("date_from"), text(today.addDays(-days.value(range)))}, {QStringLiteral("date_to"), text(today)}};
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void initTestCase()
    {
        const ToolResult result = layOut(QStringLiteral("trial"));
        QVERIFY2(result.code == 0, qPrintable(result.err));
    }

    void the_installation_is_one_that_the_program_reads()
    {
        const auto packages = IniPackageConfigReader().ReadPackages(path(QStringLiteral("trial/Packages.ini")));
        QCOMPARE(packages.size(), std::size_t{3});
        QStringList names;
        QSet<QString> interfaces;
        for (const auto &package : packages) {
            names << package->PackageName;
            interfaces << package->Interface << package->QueryAccess;
            QVERIFY(QFileInfo(package->InstallPath + QStringLiteral("Query Groups")).isDir());
            QVERIFY(QFileInfo(package->Database).isFile());
        }
        QCOMPARE(names, (QStringList{QStringLiteral("Server Operating System Logs"), QStringLiteral("Mail Server Logs"),
                                     QStringLiteral("File Server Logs")}));
        QCOMPARE(interfaces.size(), 6);
        for (const char *folder : {"Config", "Logs", "Reports"})
            QVERIFY(QFileInfo(path(QStringLiteral("trial/") + QString::fromLatin1(folder))).isDir());
        QVERIFY(readFile(path(QStringLiteral("trial/README.txt"))).contains("SAMPLE DATA"));
        QVERIFY(readFile(path(QStringLiteral("trial/Report Generator.chm"))).startsWith("ITSF"));
    }

    void every_sample_query_reads_and_finds_rows()
    {
        int queries = 0;
        for (const auto &package : IniPackageConfigReader().ReadPackages(path(QStringLiteral("trial/Packages.ini")))) {
            QDirIterator walk(package->InstallPath + QStringLiteral("Query Groups"), {QStringLiteral("*.rqn")}, QDir::Files,
                              QDirIterator::Subdirectories);
            while (walk.hasNext()) {
                const QString file = walk.next();
                const Query query = parseQuery(readFile(file), file);
                const QString layoutFile = package->InstallPath + query.ReportFile;
                const ReportLayout layout = parseLayout(readFile(layoutFile), layoutFile);
                QCOMPARE(query.Description, QFileInfo(file).completeBaseName());
                QStringList columns;
                const QStringList rows = rowsOf(package->Database, query.sql, period(query.period.range), &columns);
                QVERIFY2(!rows.isEmpty() && !rows.first().startsWith(QStringLiteral("error:")), qPrintable(file + rows.join(u' ')));
                QStringList listed;
                double width = 0;
                for (const LayoutColumn &column : layout.columns) {
                    listed << column.field;
                    width += column.widthMm;
                }
                QCOMPARE(listed, columns);
                const double page = layout.page.orientation == PageOrientation::Landscape ? 297 : 210;
                QVERIFY2(width > 0 && width <= page - 2 * layout.page.marginMm, qPrintable(file));
                QStringList used{layout.chart.category, layout.chart.series};
                used += layout.chart.values;
                for (const LayoutAggregate &total : layout.totals)
                    used << total.field;
                for (const LayoutGroup &group : layout.groups) {
                    used << group.field;
                    for (const LayoutAggregate &subtotal : group.subtotals)
                        used << subtotal.field;
                }
                for (const QString &field : used)
                    QVERIFY2(field.isEmpty() || columns.contains(field), qPrintable(file + QStringLiteral(": ") + field));
                ++queries;
            }
        }
        QCOMPARE(queries, 24);
    }

    void sample_events_are_the_same_each_time_and_say_what_they_are()
    {
        QCOMPARE(layOut(QStringLiteral("again"), {QStringLiteral("--rows"), QStringLiteral("20000")}).code, 0);
        QCOMPARE(layOut(QStringLiteral("other"),
                        {QStringLiteral("--seed"), QStringLiteral("2"), QStringLiteral("--rows"), QStringLiteral("500")})
                     .code,
                 0);
        for (const char *word : {"Server", "Mail", "File"}) {
            const QString name = QString::fromLatin1(word), database = QStringLiteral("/Packages/%1/EventLog.db").arg(name);
            const QString table = name.toLower() + QStringLiteral("_events"),
                          time = name == QStringLiteral("Server") ? QStringLiteral("time_generated") : QStringLiteral("time");
            const QString all = QStringLiteral("SELECT * FROM %1 ORDER BY id LIMIT 500").arg(table);
            const QStringList rows = rowsOf(path(QStringLiteral("trial") + database), all);
            QCOMPARE(rows.size(), 500);
            QVERIFY(rows == rowsOf(path(QStringLiteral("again") + database), all));
            QVERIFY(rows != rowsOf(path(QStringLiteral("other") + database), all));
            QCOMPARE(rowsOf(path(QStringLiteral("trial") + database),
                            QStringLiteral("SELECT count(*), min(data_source), max(data_source), min(%1)>='2026-09-21', "
                                           "max(%1)<'2026-11-21', max(%1)>'2026-11-20' FROM %2")
                                .arg(time, table)),
                     QStringList{QStringLiteral("20000|sample data|sample data|1|1|1")});
        }
        const QString mail = path(QStringLiteral("trial/Packages/Mail/EventLog.db"));
        QCOMPARE(rowsOf(mail, QStringLiteral("SELECT count(*)>0 FROM mail_events WHERE subject GLOB '*[一-龥]*' UNION ALL SELECT "
                                             "count(*)>0 FROM mail_events WHERE subject GLOB '*[ا-ي]*' UNION ALL "
                                             "SELECT count(*)>0 FROM mail_events WHERE subject LIKE '%🚀%' UNION ALL SELECT "
                                             "max(length(diagnostic))>400 FROM mail_events")),
                 QStringList(4, QStringLiteral("1")));
    }

    void nothing_is_overwritten_unless_asked()
    {
        const QString ini = path(QStringLiteral("trial/Packages.ini")),
                      own = path(QStringLiteral("trial/Packages/Server/Query Groups/Security/Mine.rqn"));
        writeFile(ini, "[Framework]\n");
        writeFile(own, "description = \"mine\"\n");
        const ToolResult refused = layOut(QStringLiteral("trial"));
        QCOMPARE(refused.code, 1);
        QVERIFY2(refused.err.contains(QStringLiteral("is there already and is kept")), qPrintable(refused.err));
        QCOMPARE(readFile(ini), QByteArray("[Framework]\n"));
        QCOMPARE(layOut(QStringLiteral("trial"), {QStringLiteral("--force"), QStringLiteral("--rows"), QStringLiteral("100")}).code, 0);
        QVERIFY(readFile(ini).contains("[Package.Server]"));
        QCOMPARE(readFile(own), QByteArray("description = \"mine\"\n"));
        QCOMPARE(rowsOf(path(QStringLiteral("trial/Packages/File/EventLog.db")), QStringLiteral("SELECT count(*) FROM file_events")),
                 QStringList{QStringLiteral("100")});
        const ToolResult lost = runTool("quillmark-trial", {QStringLiteral("--to"), path(QStringLiteral("x")), QStringLiteral("--samples"),
                                                            path(QStringLiteral("none"))});
        QVERIFY(lost.code == 1 && lost.err.contains(QStringLiteral("--samples")) && !QFile::exists(path(QStringLiteral("x"))));
        for (const QStringList &wrong :
             {QStringList{},
              QStringList{QStringLiteral("--to"), path(QStringLiteral("x")), QStringLiteral("--end"), QStringLiteral("tomorrow")},
              QStringList{QStringLiteral("--to"), path(QStringLiteral("x")), QStringLiteral("--rows"), QStringLiteral("-1")}})
            QCOMPARE(runTool("quillmark-trial", wrong).code, 2);
    }

    void it_registers_the_folder_with_a_separator_at_its_end()
    {
        QCOMPARE(layOut(QStringLiteral("registered"), {QStringLiteral("--rows"), QStringLiteral("10"), QStringLiteral("--register")}).code,
                 0);
        qputenv("XDG_CONFIG_HOME", path(QStringLiteral("config")).toUtf8());
        QCOMPARE(GetInstallPath(), path(QStringLiteral("registered")) + u'/');
    }
};

QTEST_GUILESS_MAIN(ToolsTrialTest)
#include "tools_trial_test.moc"
