#include "framework/ConfigReaders.h"
#include "reporting/engine/RunLedger.h"
#include "support/DatabaseServers.h"
#include "support/TempInstallation.h"

#include <QDirIterator>
#include <QtTest>

using namespace qm;
using namespace qm::test;

namespace {

constexpr char kPassword[] = "s3;c={r}et";
constexpr char kEvents[] = R"sql(
CREATE TABLE event(id int, account nvarchar(40), time_generated datetime, amount decimal(18,2));
INSERT INTO event VALUES(1, 'Zoë Żółć', '2026-01-10 08:00:00', 10.25), (2, 'O''Brien', '2026-01-11 09:30:00', 20.50),
  (3, 'Later', '2026-02-01 00:00:00', 99);
)sql";

struct Outcome
{
    int exitCode = -1;
    QByteArray said;
};

} // namespace

/// Whole reports whose rows come from a database server, made by quillmark-report.
class OdbcReportTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TempInstallation> m_installation;
    std::unique_ptr<TdsServer> m_server;

    [[nodiscard]] QString query(const QByteArray &source, const QByteArray &sql, const QByteArray &more = {}) const
    {
        return m_installation->write(m_installation->group(QStringLiteral("Server"), QStringLiteral("Tests")) + QStringLiteral("/q.rqn"),
                                     "format = 1\ndescription = \"Accounts\"\ndata_source = \"" + source + "\"\nsql = '''" + sql + "'''\n" +
                                         more);
    }

    [[nodiscard]] static Outcome run(const QStringList &arguments)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(qEnvironmentVariable("QM_BIN_DIR") + QStringLiteral("/quillmark-report"), arguments);
        if (!process.waitForFinished(30'000))
            return {-1, process.errorString().toUtf8()};
        return {process.exitCode(), process.readAll()};
    }

    void saveDataSource(const QString &password) const
    {
        QMMDSMSSql info;
        info.ServerName = m_server->server();
        info.DatabaseName = QStringLiteral("sales");
        info.UserName = QStringLiteral("rep");
        info.Password = password;
        info.ConnectionType = 1;
        TomlDataSourceFileReader().WriteDataSource(info, m_installation->path() + QStringLiteral("Config/Payroll.dsf"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString missing = missingDriver(QStringLiteral("FreeTDS")); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        m_server = std::make_unique<TdsServer>(
            kEvents, QStringList{QStringLiteral("--user"), QStringLiteral("rep:") + QString::fromUtf8(kPassword)});
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
        const QString pdf = m_installation->path() + QStringLiteral("out.pdf");
        const Outcome outcome = run({QStringLiteral("--from"), QStringLiteral("2026-01-01"), QStringLiteral("--to"),
                                     QStringLiteral("2026-01-31"), QStringLiteral("--output"), pdf, file});
        QVERIFY2(outcome.exitCode == 0, outcome.said.constData());
        const QString text =
            QString::fromUtf8(outputOf(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")})).simplified();
        QVERIFY2(text.contains(QString::fromUtf8("1 Zoë Żółć 2026-01-10 08:00:00 10.25 2 O'Brien 2026-01-11 09:30:00 20.50")),
                 qPrintable(text));
        QVERIFY(!text.contains(QStringLiteral("Later")));
        QVERIFY2(text.contains(QStringLiteral("SQL Server database sales on ")), qPrintable(text));

        const Outcome one =
            run({QStringLiteral("--all-time"), QStringLiteral("--param"), QString::fromUtf8("who=Zoë Ż%"), QStringLiteral("--rows"), file});
        QCOMPARE(one.said.trimmed(), QByteArray("1"));
    }

    void the_variant_for_the_engine_runs()
    {
        saveDataSource(QString::fromUtf8(kPassword));
        const QString file =
            query("MSSQL::Payroll.dsf", "SELECT nosuch FROM nosuch", "[sql_for]\nmssql = \"SELECT TOP 2 id FROM event\"\n");
        const Outcome outcome = run({QStringLiteral("--rows"), file});
        QCOMPARE(outcome.said.trimmed(), QByteArray("2"));
    }

    void a_file_of_another_class_is_refused()
    {
        saveDataSource(QString::fromUtf8(kPassword));
        const Outcome outcome = run({QStringLiteral("--rows"), query("Oracle::Payroll.dsf", "SELECT 1 FROM dual")});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY2(outcome.said.contains("class \"QMMDSMSSql\""), outcome.said.constData());
    }

    void no_password_is_seen_anywhere()
    {
        const QByteArray inString = "Driver=FreeTDS;Server=127.0.0.1;Port=" + QByteArray::number(m_server->port()) +
                                    ";UID=rep;Database=sales;PWD={" + QByteArray(kPassword) + "};";
        QByteArray said;
        for (const char *format : {"pdf", "html", "csv", "xlsx"})
            said += run({QStringLiteral("--format"), QString::fromLatin1(format), query("ODBC::" + inString, "SELECT id FROM event")}).said;
        said += run({QStringLiteral("--rows"), query("ODBC::" + inString, "SELECT nosuch FROM nosuch")}).said;
        saveDataSource(QStringLiteral("wrong;word}"));
        said += run({QStringLiteral("--rows"), query("MSSQL::Payroll.dsf", "SELECT id FROM event")}).said;
        QVERIFY2(said.contains("Log-in: Login failed for user 'rep'"), said.constData());
        said += run({QStringLiteral("--history"), query("MSSQL::Payroll.dsf", "SELECT id FROM event")}).said;
        QVERIFY2(!said.contains("s3;c") && !said.contains("wrong;word"), said.constData());
        int looked = 0;
        for (const char *folder : {"Reports", "Logs"}) {
            QDirIterator files(m_installation->path() + QString::fromLatin1(folder), QDir::Files | QDir::Hidden,
                               QDirIterator::Subdirectories);
            while (files.hasNext()) {
                QFile file(files.next());
                QVERIFY(file.open(QIODevice::ReadOnly));
                QByteArray bytes = file.readAll();
                if (file.fileName().endsWith(QStringLiteral(".pdf")))
                    bytes = outputOf(QStringLiteral("pdftotext"), {file.fileName(), QStringLiteral("-")});
                else if (file.fileName().endsWith(QStringLiteral(".xlsx")))
                    bytes = outputOf(QStringLiteral("/usr/bin/python3"),
                                     {QStringLiteral("-c"),
                                      QStringLiteral("import sys, zipfile\nz = zipfile.ZipFile(sys.argv[1])\n"
                                                     "for n in z.namelist(): sys.stdout.buffer.write(z.read(n))"),
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
