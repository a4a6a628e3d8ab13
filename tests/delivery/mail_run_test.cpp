#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "reporting/engine/RunLedger.h"
#include "reporting/engine/Sqlite.h"
#include "support/MailServer.h"
#include "support/PrintServer.h"
#include "support/TempInstallation.h"

#include <QtTest>

#include <signal.h>

using namespace qm;
using namespace qm::test;

/// quillmark-report on queries whose output is e-mail or a printer, against real servers.
class MailRunTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<MailServer> m_server;
    std::unique_ptr<TempInstallation> m_installation;

    struct Outcome
    {
        int code = -1;
        QString out, err;
    };

    [[nodiscard]] QString query(const QByteArray &output, const QByteArray &sql = "SELECT id, account FROM e ORDER BY id") const
    {
        return m_installation->write(m_installation->group(QStringLiteral("Server"), QStringLiteral("Tests")) + QStringLiteral("/q.rqn"),
                                     "description = \"Anmeldungen – März\"\nsql = '''" + sql + "'''\n" + output);
    }
    /// A query that mails \p format to \p to.
    [[nodiscard]] QString mailing(const QByteArray &format, const QByteArray &to, const QByteArray &more = {}) const
    {
        return query("[output]\ntype = \"email\"\nformat = \"" + format +
                     "\"\n[output.email]\nfrom = \"Reports <reports@example.org>\"\nto = [" + to + "]\n" + more);
    }
    void settings(const char *listener, const QString &user = {}, int timeout = 3000,
                  const QString &host = QStringLiteral("localhost")) const
    {
        TomlEmailConfigReader().WriteEmailSettings(
            {host, m_server->port(listener), timeout, user, user.isEmpty() ? QString() : QString::fromUtf8(MailServer::kPassword)},
            m_installation->path() + QStringLiteral("Config") + kSep + QStringLiteral("Email.cfg"));
    }
    static std::unique_ptr<QProcess> started(const QStringList &arguments)
    {
        auto process = std::make_unique<QProcess>();
        process->start(qEnvironmentVariable("QM_BIN_DIR") + QStringLiteral("/quillmark-report"), arguments);
        return process;
    }
    static Outcome finished(QProcess &process)
    {
        const bool ended = process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit;
        return {ended ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    static Outcome run(const QStringList &arguments)
    {
        const auto process = started(arguments);
        return finished(*process);
    }
    [[nodiscard]] LedgerEntry lastRun() const { return RunLedger(m_installation->path()).list(1).front(); }
    static QString states(const LedgerEntry &run)
    {
        QStringList words;
        for (const LedgerDelivery &delivery : run.deliveries)
            words << delivery.target.section(u'@', 0, 0) + u'=' + delivery.state;
        return words.join(u' ');
    }
    [[nodiscard]] QStringList outbox() const { return QDir(m_installation->path() + QStringLiteral("Outbox")).entryList(QDir::Files); }

private Q_SLOTS:
    void initTestCase()
    {
        m_server = std::make_unique<MailServer>();
        if (!m_server->missing().isEmpty())
            QSKIP(qPrintable(m_server->missing()));
        QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
    }
    void init()
    {
        m_installation.reset(); // the environment it set must be back before the next one changes it
        m_installation = std::make_unique<TempInstallation>();
        int code = SQLITE_OK;
        const auto connection = sqlite::open(m_installation->packagePath(QStringLiteral("Server")) + QStringLiteral("EventLog.db"),
                                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        QCOMPARE(sqlite::execute(connection.get(), "CREATE TABLE e(id INTEGER, account TEXT);"
                                                   "INSERT INTO e VALUES(1,'Żółw'),(2,'=cmd|x'),(3,'carol')"),
                 SQLITE_OK);
        settings("plain");
    }

    void a_report_arrives_as_attachment_with_its_facts_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"pdf", "html", "xlsx", "csv"})
            QTest::newRow(format) << QByteArray(format);
    }
    void a_report_arrives_as_attachment_with_its_facts()
    {
        QFETCH(QByteArray, format);
        settings("starttls", QString::fromUtf8(MailServer::kUser));
        const Outcome outcome =
            run({mailing(format, "\"Żaneta <a@example.org>\"",
                         "cc = [\"b@example.org\", \"A@example.org\"]\nbcc = [\"c@example.org\"]\n"
                         "subject = \"{description}: {rows} Zeilen\\r\\nBcc: x@example.org\"\nbody = \"Gruß, {package}\"\n")});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        QCOMPARE(outcome.out, QStringLiteral("sent to a@example.org, b@example.org, c@example.org\n"));
        QCOMPARE(outcome.err, QString());
        const TakenMail mail = m_server->lastMail();
        QCOMPARE(mail.message[QStringLiteral("problems")].toArray(), QJsonArray());
        QCOMPARE(mail.envelope[QStringLiteral("to")].toArray().size(), 3);
        QCOMPARE(mail.envelope[QStringLiteral("from")].toString(), QStringLiteral("reports@example.org"));
        QVERIFY(mail.envelope[QStringLiteral("tls")].toBool());
        QCOMPARE(mail.message[QStringLiteral("subject")].toString(), QStringLiteral("Anmeldungen – März: 3 Zeilen Bcc: x@example.org"));
        QVERIFY(!mail.message.contains(QStringLiteral("bcc")));
        const QString text = mail.message[QStringLiteral("text")].toString();
        QVERIFY2(text.startsWith(QStringLiteral("Gruß, Server Operating System Logs")), qPrintable(text));
        QCOMPARE(text.contains(QStringLiteral("Rows: 3")), format == "csv"); // the other formats state it themselves
        QCOMPARE(mail.message[QStringLiteral("html")].toString().contains(QStringLiteral("Żółw")), format == "html");
        QCOMPARE(mail.attachments().size(), 1);
        const QString name = mail.attachments()[0].toObject()[QStringLiteral("name")].toString();
        QVERIFY2(name.startsWith(QStringLiteral("Anmeldungen – März 20")) && name.endsWith(QString::fromLatin1(format)), qPrintable(name));
        checkContent(format, mail.attachedFile(0));

        const LedgerEntry ledger = lastRun();
        QCOMPARE(ledger.status, QStringLiteral("done"));
        QCOMPARE(ledger.outputType, QStringLiteral("email"));
        QCOMPARE(ledger.rows, 3);
        QCOMPARE(states(ledger), QStringLiteral("a=delivered b=delivered c=delivered"));
        QFile attached(mail.attachedFile(0));
        QVERIFY(attached.open(QIODevice::ReadOnly));
        QCOMPARE(ledger.sha256, QString::fromLatin1(QCryptographicHash::hash(attached.readAll(), QCryptographicHash::Sha256).toHex()));
        QVERIFY(outbox().isEmpty());
        QCOMPARE(QDir(m_installation->path() + QStringLiteral("Reports")).entryList(QDir::Files), QStringList());
    }
    static void checkContent(const QByteArray &format, const QString &file)
    {
        QFile content(file);
        QVERIFY(content.open(QIODevice::ReadOnly));
        const QByteArray bytes = content.readAll();
        if (format == "csv")
            QCOMPARE(bytes, QByteArray("id,account\r\n1,Żółw\r\n2,'=cmd|x\r\n3,carol\r\n")); // guarded, though nobody asked
        if (format == "html")
            QVERIFY(bytes.contains("Żółw"));
        if (format == "xlsx")
            QVERIFY(bytes.startsWith("PK"));
        if (format != "pdf")
            return;
        const QString text =
            QString::fromUtf8(outputOf(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")}));
        QVERIFY2(text.contains(QRegularExpression(QStringLiteral("1\\s+Żółw"))) && text.contains(QStringLiteral("carol")),
                 qPrintable(text));
    }

    void a_cut_csv_says_so_in_its_name_a_second_file_and_the_text()
    {
        settings("plain", {}, 3000, QStringLiteral("127.1")); // a spelling that does not pass for this machine
        const QString file = query("row_limit = 2\n[output]\ntype = \"email\"\nformat = \"csv\"\nfile = \"Old/{description}.csv\"\n"
                                   "[output.email]\nfrom = \"reports@example.org\"\nto = [\"a@example.org\"]\n");
        const Outcome outcome = run({file});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        const TakenMail mail = m_server->lastMail();
        QCOMPARE(mail.attachments().size(), 2);
        QCOMPARE(mail.attachments()[0].toObject()[QStringLiteral("name")].toString(),
                 QStringLiteral("Anmeldungen – März (first 2 rows).csv"));
        QVERIFY(mail.message[QStringLiteral("text")].toString().contains(QStringLiteral("Only the first 2 rows")));
        QCOMPARE(mail.message[QStringLiteral("subject")].toString(), QStringLiteral("Anmeldungen – März"));
        QVERIFY2(lastRun().note.contains(QStringLiteral("without TLS")), qPrintable(lastRun().note));
        settings("plain", QString::fromUtf8(MailServer::kUser), 3000, QStringLiteral("127.1"));
        const Outcome refused = run({file});
        QVERIFY2(refused.err.contains(QStringLiteral("never travel unencrypted")), qPrintable(refused.err));
    }

    void nothing_is_read_or_sent_for_an_e_mail_that_cannot_be_sent_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("said");
        const auto row = [](const char *name, const char *email, const char *said) {
            QTest::newRow(name) << QByteArray("[output]\ntype = \"email\"\n[output.email]\n") + email << QString::fromLatin1(said);
        };
        row("no sender", "to = [\"a@x.org\"]", "has no sender");
        row("bad sender", "from = \"nobody\"\nto = [\"a@x.org\"]", "\"nobody\" is not an e-mail address");
        row("no recipients", "from = \"a@x.org\"", "has no recipients");
        row("a command in a recipient", "from = \"a@x.org\"\nto = [\"ok@x> \\r\\nRCPT TO:<evil@x\"]", "line break");
        row("two in one", "from = \"a@x.org\"\ncc = [\"a@x.org, b@x.org\"]", "(Cc) cannot be used");
        row("unknown field", "from = \"a@x.org\"\nto = [\"a@x.org\"]\nsubject = \"{nosuch}\"", "unknown field {nosuch}");
        row("a field that is no address", "from = \"a@x.org\"\nto = [\"{group} {rows}@x.org\"]", "\"Tests 0@x.org\" is not");
    }
    void nothing_is_read_or_sent_for_an_e_mail_that_cannot_be_sent()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, said);
        const int before = m_server->taken();
        // An endless query: its rows must not be waited for.
        const Outcome outcome = run({query(output, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(said), qPrintable(outcome.err));
        QCOMPARE(m_server->taken(), before);
        QCOMPARE(lastRun().status, QStringLiteral("failed"));
    }

    void the_sender_is_the_user_of_the_settings_where_that_is_an_address()
    {
        settings("plain");
        const QString file = query("[output]\ntype = \"email\"\n[output.email]\nto = [\"a@example.org\"]\n");
        m_installation->write(QStringLiteral("Config/Email.cfg"), "server = \"\"\n");
        QVERIFY(run({file}).err.contains(QStringLiteral("No mail server is named")));
        m_installation->write(QStringLiteral("Config/Email.cfg"), "server = \"localhost\"\nprot = 25\n");
        QVERIFY(run({file}).err.contains(QStringLiteral("prot")));
        // The user's name is an address; the server then refuses the log-in, which is told, with no word of the password.
        settings("plain", QStringLiteral("robot@example.org"));
        const Outcome outcome = run({file});
        QVERIFY2(outcome.err.contains(QStringLiteral("refused the user name or password: 535")), qPrintable(outcome.err));
        QCOMPARE(lastRun().deliveries.front().sender, QStringLiteral("robot@example.org"));
        QVERIFY(!m_installation->read(QStringLiteral("Logs/quillmark-report.log")).contains("heim"));
        QVERIFY(!m_installation->read(QStringLiteral("Logs/RunLedger.db")).contains("heim"));
    }

    void who_did_not_get_it_is_told_and_gets_it_by_a_resend()
    {
        Outcome outcome = run({mailing("pdf", "\"a@example.org\", \"550@example.org\", \"once450@run.example\", \"450@example.org\"")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(QStringLiteral("reached 2 of 4 recipients")) &&
                     outcome.err.contains(QStringLiteral("550@example.org (refused): 550 5.1.1 No such user here")) &&
                     outcome.err.contains(QStringLiteral("450@example.org (deferred): 450 4.2.1 Mailbox busy")),
                 qPrintable(outcome.err));
        QVERIFY2(outcome.err.contains(QStringLiteral("--resend 1")), qPrintable(outcome.err));
        QCOMPARE(lastRun().status, QStringLiteral("failed"));
        QCOMPARE(states(lastRun()), QStringLiteral("450=deferred 550=refused a=delivered once450=delivered"));
        const QString first = m_server->lastMail().message[QStringLiteral("messageId")].toString();
        QCOMPARE(outbox(), QStringList{QStringLiteral("run-1.eml")});
        QVERIFY((QFile::permissions(m_installation->path() + QStringLiteral("Outbox/run-1.eml")) & (QFile::ReadOther | QFile::ReadGroup)) ==
                0);

        // The server mends the one mailbox: only the two get it, and it is the same message.
        const QString history = run({QStringLiteral("--history")}).out;
        QVERIFY2(history.contains(QStringLiteral("        refused    550@example.org  550 5.1.1")), qPrintable(history));
        outcome = run({QStringLiteral("--resend"), QStringLiteral("1")});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outbox().size(), 1);
        int code = SQLITE_OK;
        const auto ledger = sqlite::open(RunLedger(m_installation->path()).path(), SQLITE_OPEN_READWRITE, code);
        QCOMPARE(sqlite::execute(ledger.get(), "UPDATE delivery SET target = 'mended@example.org' WHERE target LIKE '5%';"
                                               "DELETE FROM delivery WHERE target LIKE '450%'"),
                 SQLITE_OK);
        outcome = run({QStringLiteral("--resend"), QStringLiteral("1")});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        QCOMPARE(outcome.out, QStringLiteral("sent to mended@example.org\n"));
        QCOMPARE(m_server->lastMail().envelope[QStringLiteral("to")].toArray(), QJsonArray{QStringLiteral("mended@example.org")});
        QCOMPARE(m_server->lastMail().message[QStringLiteral("messageId")].toString(), first);
        QCOMPARE(lastRun().status, QStringLiteral("done"));
        QVERIFY(outbox().isEmpty());
        QVERIFY(run({QStringLiteral("--resend"), QStringLiteral("1")}).err.contains(QStringLiteral("has reached all")));
        QVERIFY(run({QStringLiteral("--resend"), QStringLiteral("7")}).err.contains(QStringLiteral("no run 7")));
        QCOMPARE(run({QStringLiteral("--resend"), QStringLiteral("x")}).code, 2);
    }

    void a_lost_answer_is_unknown_and_nothing_goes_out_twice()
    {
        const int before = m_server->taken();
        const Outcome outcome = run({mailing("pdf", "\"dropend@example.org\"")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(QStringLiteral("Nobody knows whether")), qPrintable(outcome.err));
        QCOMPARE(states(lastRun()), QStringLiteral("dropend=unknown"));
        QCOMPARE(m_server->taken(), before + 1);
    }

    void an_interrupted_or_killed_sending_leaves_the_truth_in_the_ledger()
    {
        settings("plain", {}, 30'000);
        const QString file = mailing("pdf", "\"slow20@example.org\"");
        const auto isSending = [&] {
            const auto all = RunLedger(m_installation->path()).list();
            return !all.empty() && all.front().status == u"running" && states(all.front()) == u"slow20=unknown";
        };
        auto process = started({file});
        QTRY_VERIFY_WITH_TIMEOUT(isSending(), 10'000);
        ::kill(static_cast<pid_t>(process->processId()), SIGINT);
        const Outcome outcome = finished(*process);
        QVERIFY2(outcome.err.contains(QStringLiteral("cancelled")), qPrintable(outcome.err));
        QCOMPARE(lastRun().status, QStringLiteral("cancelled"));
        QCOMPARE(states(lastRun()), QStringLiteral("slow20=not sent"));
        QVERIFY(outbox().isEmpty());

        process = started({file});
        QTRY_VERIFY_WITH_TIMEOUT(isSending(), 10'000);
        process->kill();
        finished(*process);
        QVERIFY(run({QStringLiteral("--history")}).out.contains(QStringLiteral("interrupted")));
        QCOMPARE(states(lastRun()), QStringLiteral("slow20=unknown"));
    }

    void a_ledger_of_the_first_version_is_read_and_taken_over()
    {
        QVERIFY(run({QStringLiteral("--rows"), query({})}).code == 0);
        int code = SQLITE_OK;
        {
            const auto ledger = sqlite::open(RunLedger(m_installation->path()).path(), SQLITE_OPEN_READWRITE, code);
            QCOMPARE(sqlite::execute(ledger.get(), "UPDATE run SET output_type = 'email'; DROP TABLE delivery; PRAGMA user_version = 1"),
                     SQLITE_OK);
        }
        QCOMPARE(lastRun().rows, 3);
        QVERIFY(lastRun().deliveries.empty());
        QVERIFY(run({mailing("csv", "\"a@example.org\"")}).code == 0);
        QCOMPARE(states(lastRun()), QStringLiteral("a=delivered"));
        QCOMPARE(RunLedger(m_installation->path()).list().back().rows, 3);
    }

    void a_report_is_printed_or_it_is_told_why_not()
    {
        const PrintServer printer;
        if (!printer.problem().isEmpty())
            QSKIP(qPrintable(printer.problem()));
        const auto printing = [&](const QByteArray &name, int copies) {
            return query("[output]\ntype = \"printer\"\n[output.printer]\nname = \"" + name + "\"\ncopies = " + QByteArray::number(copies) +
                         "\n");
        };
        Outcome outcome = run({printing("good", 2)});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        QVERIFY2(outcome.out.startsWith(QStringLiteral("printed as job 1 of the printer \"good\"")), qPrintable(outcome.out));
        const QString text = QString::fromUtf8(
            outputOf(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), printer.printedFile(), QStringLiteral("-")}));
        QCOMPARE(text.count(QStringLiteral("carol")), 2);
        QVERIFY2(printer.pageLog().contains(QStringLiteral("Anmeldungen – März")), qPrintable(printer.pageLog()));
        QCOMPARE(states(lastRun()), QStringLiteral("good=printed"));
        QCOMPARE(lastRun().outputType, QStringLiteral("printer"));
        outcome = run({printing("disabled", 1)});
        QVERIFY2(outcome.code == 1 && outcome.err.contains(QStringLiteral("is disabled (out of paper)")), qPrintable(outcome.err));
        outcome = run({printing("", 1)});
        QVERIFY2(outcome.code == 1 && outcome.err.contains(QStringLiteral("no default printer")), qPrintable(outcome.err));
        // A format or a file given by hand is a file.
        outcome = run({QStringLiteral("--format"), QStringLiteral("csv"), printing("disabled", 1)});
        QVERIFY2(outcome.code == 0 && outcome.out.endsWith(QStringLiteral(".csv\n")), qPrintable(outcome.err));
    }
};

QTEST_GUILESS_MAIN(MailRunTest)
#include "mail_run_test.moc"
