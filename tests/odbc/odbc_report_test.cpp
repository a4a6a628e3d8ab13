#include "engine/run/RunLedger.h"
#include "framework/ConfigReaders.h"
#include "support/DatabaseServers.h"
#include "support/TempInstallation.h"
#include "support/ToolRun.h"

#include <QDirIterator>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

constexpr char kPassword[] = "s3;c={r}et";
constexpr char kEvents[] = R"sql(
CREATE TABLE event(id int, account nvarchar(40), time_generated datetime, amount decimal(18,2));
INSERT INTO event VALUES(1, 'Zoë Żółć', '2026-01-10 08:00:00', 10.25), (2, 'O''Brien', '2026-01-11 09:30:00', 20.50),
  (3, 'Later', '2026-02-01 00:00:00', 99);
)sql";

} // namespace

/// Whole reports whose rows come from a database server, made by quillmark-report.
class OdbcReportTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TempInstallation> m_installation;
    std::unique_ptr<TdsServer> m_server;

    [[nodiscard]] QString query(const QByteArray &source, const QByteArray &sql, const QByteArray &more = {}) const
    {
        return m_installation->write(m_installation->group(u"Server"_s, u"Tests"_s) + u"/q.rqn"_s,
                                     "format = 1\ndescription = \"Accounts\"\ndata_source = \"" + source + "\"\nsql = '''" + sql + "'''\n" +
                                         more);
    }

    void saveDataSource(const QString &password) const
    {
        QMMDSMSSql info;
        info.ServerName = m_server->server();
        info.DatabaseName = u"sales"_s;
        info.UserName = u"rep"_s;
        info.Password = password;
        info.ConnectionType = 1;
        TomlDataSourceFileReader().WriteDataSource(info, m_installation->path() + u"Config/Payroll.dsf"_s);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = missingDriver(u"FreeTDS"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_server = std::make_unique<TdsServer>(kEvents, QStringList{u"--user"_s, u"rep:"_s + QString::fromUtf8(kPassword)});
        QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
        m_installation = std::make_unique<TempInstallation>();
    }

    void a_saved_data_source_makes_a_pdf_with_the_right_rows()
    {
        saveDataSource(QString::fromUtf8(kPassword));
        const QString file = query("MSSQL::Payroll.dsf",
                                   "SELECT id, account, time_generated, amount FROM event WHERE time_generated >= :date_from AND "
                                   "time_generated < :date_to AND account LIKE :who ORDER BY id",
                                   "[[parameter]]\nname = \"who\"\ndefault = \"%\"\n");
        const QString pdf = m_installation->path() + u"out.pdf"_s;
        const ToolResult outcome =
            runTool("quillmark-report", {u"--from"_s, u"2026-01-01"_s, u"--to"_s, u"2026-01-31"_s, u"--output"_s, pdf, file});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        const QString text = QString::fromUtf8(outputOf(u"pdftotext"_s, {u"-layout"_s, pdf, u"-"_s})).simplified();
        QVERIFY2(text.contains(QString::fromUtf8("1 Zoë Żółć 2026-01-10 08:00:00 10.25 2 O'Brien 2026-01-11 09:30:00 20.50")),
                 qPrintable(text));
        QVERIFY(!text.contains(u"Later"_s));
        QVERIFY2(text.contains(u"SQL Server database sales on "_s), qPrintable(text));

        const ToolResult one =
            runTool("quillmark-report", {u"--all-time"_s, u"--param"_s, QString::fromUtf8("who=Zoë Ż%"), u"--rows"_s, file});
        QCOMPARE(one.out, u"1\n"_s);
    }

    void the_variant_for_the_engine_runs()
    {
        saveDataSource(QString::fromUtf8(kPassword));
        const QByteArray variant = "[sql_for]\nmssql = \"SELECT TOP 2 id FROM event\"\n";
        QCOMPARE(runTool("quillmark-report", {u"--rows"_s, query("MSSQL::Payroll.dsf", "SELECT nosuch FROM nosuch", variant)}).out,
                 u"2\n"_s);
    }

    void a_file_of_another_class_is_refused()
    {
        saveDataSource(QString::fromUtf8(kPassword));
        const ToolResult outcome = runTool("quillmark-report", {u"--rows"_s, query("Oracle::Payroll.dsf", "SELECT 1 FROM dual")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(u"class \"QMMDSMSSql\""_s), qPrintable(outcome.err));
    }

    void no_password_is_seen_anywhere()
    {
        const QByteArray inString = "Driver=FreeTDS;Server=127.0.0.1;Port=" + QByteArray::number(m_server->port()) +
                                    ";UID=rep;Database=sales;PWD={" + QByteArray(kPassword) + "};";
        QString said;
        const auto run = [&](const QStringList &arguments) {
            const ToolResult result = runTool("quillmark-report", arguments);
            said += result.out + result.err;
        };
        for (const char *format : {"pdf", "html", "csv", "xlsx"})
            run({u"--format"_s, QString::fromLatin1(format), query("ODBC::" + inString, "SELECT id FROM event")});
        run({u"--rows"_s, query("ODBC::" + inString, "SELECT nosuch FROM nosuch")});
        saveDataSource(u"wrong;word}"_s);
        run({u"--rows"_s, query("MSSQL::Payroll.dsf", "SELECT id FROM event")});
        QVERIFY2(said.contains(u"Log-in: Login failed for user 'rep'"_s), qPrintable(said));
        run({u"--history"_s, query("MSSQL::Payroll.dsf", "SELECT id FROM event")});
        QVERIFY2(!said.contains(u"s3;c"_s) && !said.contains(u"wrong;word"_s), qPrintable(said));
        int looked = 0;
        for (const char *folder : {"Reports", "Logs"}) {
            QDirIterator files(m_installation->path() + QString::fromLatin1(folder), QDir::Files | QDir::Hidden,
                               QDirIterator::Subdirectories);
            while (files.hasNext()) {
                QFile file(files.next());
                QVERIFY(file.open(QIODevice::ReadOnly));
                QByteArray bytes = file.readAll();
                if (file.fileName().endsWith(u".pdf"_s))
                    bytes = outputOf(u"pdftotext"_s, {file.fileName(), u"-"_s});
                else if (file.fileName().endsWith(u".xlsx"_s))
                    bytes = outputOf(u"/usr/bin/python3"_s, {u"-c"_s,
                                                             u"import sys, zipfile\nz = zipfile.ZipFile(sys.argv[1])\n"
                                                             "for n in z.namelist(): sys.stdout.buffer.write(z.read(n))"_s,
                                                             file.fileName()});
                QVERIFY2(!bytes.isEmpty() || file.size() == 0, qPrintable(file.fileName()));
                QVERIFY2(!bytes.contains("s3;c") && !bytes.contains("wrong;word"), qPrintable(file.fileName()));
                ++looked;
            }
        }
        QVERIFY2(looked >= 6, qPrintable(QString::number(looked))); // four reports, ledger, log
    }
};

QTEST_GUILESS_MAIN(OdbcReportTest)
#include "odbc_report_test.moc"
