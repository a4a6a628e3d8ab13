#include "app/WholeProgram.h"
#include "support/DatabaseServers.h"
#include "support/MailServer.h"

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

/// Scheduled reports that read from a server over SQL Server's protocol and go out by e-mail, while nobody looks.
class MailedScheduleTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void a_scheduled_report_of_a_database_server_arrives_as_a_pdf_document()
    {
        const MailServer mail;
        if (!mail.missing().isEmpty())
            QSKIP(qPrintable(mail.missing()));
        QVERIFY2(mail.problem().isEmpty(), qPrintable(mail.problem()));
        if (const QString missing = missingDriver(u"FreeTDS"_s); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const TdsServer database("CREATE TABLE logon (id int, at datetime, account nvarchar(50), failures int);"
                                 "INSERT INTO logon VALUES (1, '2026-11-20 08:00:00', 'Żółw', 5), (2, '2026-11-20 09:30:00', 'carol', 7), "
                                 "(3, '2026-11-20 10:00:00', '監査', 11)");
        QVERIFY2(database.problem().isEmpty(), qPrintable(database.problem()));

        const TempInstallation installation({serverPackage()});
        const QString config = installation.path() + u"Config"_s + kSep;
        QMMDSMSSql source;
        source.ServerName = database.server();
        source.DatabaseName = u"sales"_s;
        source.UserName = QString::fromUtf8(TdsServer::kUser);
        source.Password = QString::fromUtf8(TdsServer::kPassword);
        source.ConnectionType = 1;
        TomlDataSourceFileReader().WriteDataSource(source, config + u"Logons.dsf"_s);
        TomlEmailConfigReader().WriteEmailSettings(
            {u"localhost"_s, mail.port("starttls"), 5000, QString::fromUtf8(MailServer::kUser), QString::fromUtf8(MailServer::kPassword)},
            config + u"Email.cfg"_s);
        const QString group = installation.group(u"Server"_s, u"Daily"_s);
        const auto query = [&](const QByteArray &name, const QByteArray &to) {
            return installation.write(group + kSep + QString::fromUtf8(name) + u".rqn"_s,
                                      "description = \"" + name +
                                          "\"\ndata_source = \"MSSQL::Logons.dsf\"\n"
                                          "sql = '''SELECT account, failures FROM dbo.logon WHERE failures > 4 ORDER BY id'''\n"
                                          "[output]\ntype = \"email\"\nformat = \"pdf\"\n[output.email]\nfrom = \"reports@example.org\"\n"
                                          "to = [" +
                                          to + "]\nsubject = \"{description}: {rows}\"\n");
        };
        const WallTime now = SystemClock().wallNow();
        auto jobs = std::make_shared<JobCollection>();
        jobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{u"refused"_s, query("Refused", "\"550@example.org\", \"boss@example.org\""), secondsFrom(now, 6), 0, 1}));
        jobs->push_back(std::make_shared<ScheduledReportJob>(
            ScheduledReportJob{u"logons"_s, query("Logons", "\"audit@example.org\""), secondsFrom(now, 7), 1, 2}));
        TomlJobConfigReader().SaveJobs(jobs, config + u"Jobs.cfg"_s);

        WholeProgram program(installation);
        program.window->Form_Load();
        program.window->show();
        QTRY_COMPARE_WITH_TIMEOUT(mail.taken(), 2, 30'000);
        QTRY_COMPARE_WITH_TIMEOUT(RunLedger(installation.path()).list(1).front().status, RunStatus::Done, 20'000);

        const TakenMail taken = mail.lastMail();
        QCOMPARE(taken.envelope[u"to"_s].toArray(), QJsonArray{u"audit@example.org"_s});
        QVERIFY(taken.envelope[u"tls"_s].toBool());
        QCOMPARE(taken.message[u"subject"_s].toString(), u"Logons: 3"_s);
        const QString text = QString::fromUtf8(outputOf(u"pdftotext"_s, {u"-layout"_s, taken.attachedFile(0), u"-"_s}));
        for (const char *row : {"Żółw\\s+5", "carol\\s+7", "監査\\s+11"})
            QVERIFY2(text.contains(QRegularExpression(QString::fromUtf8(row))), qPrintable(text));

        // The one that a recipient's server refused has failed, though the other recipient has it, and held nothing up.
        const std::vector<LedgerEntry> runs = RunLedger(installation.path()).list();
        QCOMPARE(runs.size(), std::size_t{2});
        QCOMPARE(runs[0].deliveries.size(), std::size_t{1});
        QCOMPARE(runs[0].deliveries[0].state, u"delivered"_s);
        QCOMPARE(runs[0].rows, 3);
        QCOMPARE(runs[1].status, RunStatus::Failed);
        QVERIFY2(runs[1].error.contains(u"550@example.org (refused): 550 5.1.1 No such user here"_s), qPrintable(runs[1].error));
        QCOMPARE(runs[1].deliveries[1].state, u"delivered"_s);
        for (const LedgerEntry &run : runs)
            QCOMPARE(run.trigger, RunTrigger::Schedule);
        const QByteArray log = installation.read(u"Logs/quillmark.log"_s);
        QVERIFY2(log.contains("sent to audit@example.org") && !log.contains(MailServer::kPassword), log.constData());
    }
};

QTEST_MAIN(MailedScheduleTest)
#include "mailed_schedule_test.moc"
