#include "documents/PdfReadBack.h"
#include "engine/run/RunLedger.h"
#include "framework/ConfigReaders.h"
#include "platform/Files.h"
#include "sqlite/Sqlite.h"
#include "support/FileBytes.h"
#include "support/MailServer.h"
#include "support/PrintServer.h"
#include "support/System.h"
#include "support/TempInstallation.h"
#include "support/ToolRun.h"

#include <csignal>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

/// quillmark-report on queries whose output is e-mail or a printer, against real servers.
class MailRunTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<MailServer> m_server;
    std::unique_ptr<TempInstallation> m_installation;

    [[nodiscard]] QString query(const QByteArray &output, const QByteArray &sql = "SELECT id, account FROM e ORDER BY id") const
    {
        return m_installation->write(m_installation->group(u"Server"_s, u"Tests"_s) + u"/q.rqn"_s,
                                     "description = \"Anmeldungen – März\"\nsql = '''" + sql + "'''\n" + output);
    }
    /// A query that mails \p format to \p to.
    [[nodiscard]] QString mailing(const QByteArray &format, const QByteArray &to, const QByteArray &more = {}) const
    {
        return query("[output]\ntype = \"email\"\nformat = \"" + format +
                     "\"\n[output.email]\nfrom = \"Reports <reports@example.org>\"\nto = [" + to + "]\n" + more);
    }
    void settings(const char *listener, const QString &user = {}, int timeout = 3000, const QString &host = u"localhost"_s) const
    {
        TomlEmailConfigReader().WriteEmailSettings(
            {host, m_server->port(listener), timeout, user, user.isEmpty() ? QString() : QString::fromUtf8(MailServer::kPassword)},
            m_installation->path() + u"Config"_s + kSep + u"Email.cfg"_s);
    }
    static std::unique_ptr<QProcess> started(const QStringList &arguments)
    {
        auto process = std::make_unique<QProcess>();
        process->start(toolPath("quillmark-report"), arguments);
        return process;
    }
    static ToolResult run(const QStringList &arguments) { return runTool("quillmark-report", arguments); }
    [[nodiscard]] LedgerEntry lastRun() const { return RunLedger(m_installation->path()).list(1).front(); }
    static QString states(const LedgerEntry &run)
    {
        QStringList words;
        for (const LedgerDelivery &delivery : run.deliveries)
            words << delivery.target.section(u'@', 0, 0) + u'=' + delivery.state;
        return words.join(u' ');
    }
    [[nodiscard]] QStringList outbox() const { return QDir(m_installation->path() + u"Outbox"_s).entryList(QDir::Files); }

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
        const auto connection =
            sqlite::open(m_installation->packagePath(u"Server"_s) + u"EventLog.db"_s, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        QCOMPARE(sqlite::execute(connection.get(), "CREATE TABLE e(id INTEGER, account TEXT);"
                                                   "INSERT INTO e VALUES(1,'Żółw'),(2,'=cmd|x'),(3,'carol')"),
                 SQLITE_OK);
        settings("plain");
    }

    void a_report_arrives_as_attachment_with_its_facts_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QByteArray>("begin");
        QTest::newRow("pdf") << QByteArray("pdf") << QByteArray("%PDF-");
        QTest::newRow("html") << QByteArray("html") << QByteArray("<!doctype html>");
        QTest::newRow("xlsx") << QByteArray("xlsx") << QByteArray("PK");
        // Guarded, though nobody asked.
        QTest::newRow("csv") << QByteArray("csv") << QByteArray("id,account\r\n1,Żółw\r\n2,'=cmd|x\r\n3,carol\r\n");
    }
    void a_report_arrives_as_attachment_with_its_facts()
    {
        QFETCH(QByteArray, format);
        QFETCH(QByteArray, begin);
        settings("starttls", QString::fromUtf8(MailServer::kUser));
        const ToolResult outcome =
            run({mailing(format, "\"Żaneta <a@example.org>\"",
                         "cc = [\"b@example.org\", \"A@example.org\"]\nbcc = [\"z@example.org\"]\n"
                         "subject = \"{description}: {rows} Zeilen\\r\\nBcc: x@example.org\"\nbody = \"Gruß, {package}\"\n")});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        QCOMPARE(outcome.out, u"sent to a@example.org, b@example.org, z@example.org\n"_s);
        QCOMPARE(outcome.err, QString());
        const TakenMail mail = m_server->lastMail();
        QCOMPARE(mail.message[u"problems"_s].toArray(), QJsonArray());
        QCOMPARE(mail.envelope[u"to"_s].toArray().size(), 3);
        QCOMPARE(mail.envelope[u"from"_s].toString(), u"reports@example.org"_s);
        QVERIFY(mail.envelope[u"tls"_s].toBool());
        QCOMPARE(mail.message[u"subject"_s].toString(), u"Anmeldungen – März: 3 Zeilen Bcc: x@example.org"_s);
        QCOMPARE(mail.message[u"cc"_s].toString(), u"b@example.org, A@example.org"_s);
        const QString raw = mail.attachedFile(0).chopped(2);
        QVERIFY(!bytesOf(raw).isEmpty() &&
                !bytesOf(raw).contains(
                    "z@example.org")); // a blind copy is seen by nobody else; no hexadecimal digit, which would be the end of a message ID
        const QString text = mail.message[u"text"_s].toString();
        QVERIFY2(text.startsWith(u"Gruß, Server Operating System Logs"_s), qPrintable(text));
        QCOMPARE(text.contains(u"Rows: 3"_s), format == "csv"); // the other formats state it themselves
        QCOMPARE(mail.message[u"html"_s].toString().contains(u"Żółw"_s), format == "html");
        QCOMPARE(mail.attachments().size(), 1);
        const QString name = mail.attachments()[0].toObject()[u"name"_s].toString();
        QVERIFY2(name.startsWith(u"Anmeldungen – März 20"_s) && name.endsWith(QString::fromLatin1(format)), qPrintable(name));
        const QByteArray bytes = bytesOf(mail.attachedFile(0));
        QVERIFY2(bytes.startsWith(begin), bytes.left(200).constData());

        const LedgerEntry ledger = lastRun();
        QCOMPARE(ledger.status, RunStatus::Done);
        QCOMPARE(ledger.outputType, u"email"_s);
        QCOMPARE(ledger.rows, 3);
        QCOMPARE(states(ledger), u"a=delivered b=delivered z=delivered"_s);
        QCOMPARE(ledger.sha256, QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
        QVERIFY(outbox().isEmpty());
        QCOMPARE(QDir(m_installation->path() + u"Reports"_s).entryList(QDir::Files), QStringList());
    }
    void a_cut_csv_says_so_in_its_name_a_second_file_and_the_text()
    {
        settings("plain", {}, 3000, u"127.1"_s); // a spelling that does not pass for this machine
        const QString file = query("row_limit = 2\n[output]\ntype = \"email\"\nformat = \"csv\"\nfile = \"Old/{description}.csv\"\n"
                                   "[output.email]\nfrom = \"reports@example.org\"\nto = [\"a@example.org\"]\n");
        const ToolResult outcome = run({file});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        const TakenMail mail = m_server->lastMail();
        QCOMPARE(mail.attachments().size(), 2);
        QCOMPARE(mail.attachments()[0].toObject()[u"name"_s].toString(), u"Anmeldungen – März (first 2 rows).csv"_s);
        QVERIFY(mail.message[u"text"_s].toString().contains(u"Only the first 2 rows"_s));
        QCOMPARE(mail.message[u"subject"_s].toString(), u"Anmeldungen – März"_s);
        QVERIFY2(lastRun().note.contains(u"without TLS"_s), qPrintable(lastRun().note));
        settings("plain", QString::fromUtf8(MailServer::kUser), 3000, u"127.1"_s);
        const ToolResult refused = run({file});
        QVERIFY2(refused.err.contains(u"never travel unencrypted"_s), qPrintable(refused.err));
    }

    void nothing_is_read_or_sent_for_an_e_mail_that_cannot_be_sent_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("said");
        const auto row = [](const char *name, const char *email, const char *said) {
            QTest::newRow(name) << QByteArray("[output]\ntype = \"email\"\n[output.email]\n") + email << QString::fromLatin1(said);
        };
        row("no sender", "to = [\"a@x.org\"]", "has no sender");
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
        const ToolResult outcome = run({query(output, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(said), qPrintable(outcome.err));
        QCOMPARE(m_server->taken(), before);
        QCOMPARE(lastRun().status, RunStatus::Failed);
    }

    void the_sender_is_the_user_of_the_settings_where_that_is_an_address()
    {
        const QString file = query("[output]\ntype = \"email\"\n[output.email]\nto = [\"a@example.org\"]\n");
        m_installation->write(u"Config/Email.cfg"_s, "server = \"\"\n");
        QVERIFY(run({file}).err.contains(u"No mail server is named"_s));
        m_installation->write(u"Config/Email.cfg"_s, "server = \"localhost\"\nprot = 25\n");
        QVERIFY(run({file}).err.contains(u"prot"_s));
        // The user's name is an address; the server then refuses the log-in, which is told, with no word of the password.
        settings("plain", u"robot@example.org"_s);
        const ToolResult outcome = run({file});
        QVERIFY2(outcome.err.contains(u"refused the user name or password: 535"_s), qPrintable(outcome.err));
        QCOMPARE(lastRun().deliveries.front().sender, u"robot@example.org"_s);
        QVERIFY(!m_installation->read(u"Logs/quillmark-report.log"_s).contains("heim"));
        QVERIFY(!m_installation->read(u"Logs/RunLedger.db"_s).contains("heim"));
    }

    void who_did_not_get_it_is_told_and_gets_it_by_a_resend()
    {
        ToolResult outcome = run({mailing("pdf", "\"a@example.org\", \"550@example.org\", \"once450@run.example\", \"450@example.org\"")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(u"reached 2 of 4 recipients"_s) &&
                     outcome.err.contains(u"550@example.org (refused): 550 5.1.1 No such user here"_s) &&
                     outcome.err.contains(u"450@example.org (deferred): 450 4.2.1 Mailbox busy"_s),
                 qPrintable(outcome.err));
        QVERIFY2(outcome.err.contains(u"--resend 1"_s), qPrintable(outcome.err));
        QCOMPARE(lastRun().status, RunStatus::Failed);
        QCOMPARE(states(lastRun()), u"450=deferred 550=refused a=delivered once450=delivered"_s);
        // Those that had it did not get it again when the one was tried again.
        QCOMPARE(m_server->lastMail().envelope[u"to"_s].toArray(), QJsonArray{u"once450@run.example"_s});
        const QString first = m_server->lastMail().message[u"messageId"_s].toString();
        QCOMPARE(outbox(), QStringList{u"run-1.eml"_s});
        if (!onWindows()) // permission bits say nothing there
            QVERIFY((QFile::permissions(m_installation->path() + u"Outbox/run-1.eml"_s) & (QFile::ReadOther | QFile::ReadGroup)) == 0);

        // The server mends the one mailbox: only the two get it, and it is the same message.
        const QString history = run({u"--history"_s}).out;
        QVERIFY2(history.contains(u"        refused    550@example.org  550 5.1.1"_s), qPrintable(history));
        outcome = run({u"--resend"_s, u"1"_s});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outbox().size(), 1);
        QCOMPARE(lastRun().status, RunStatus::Failed);
        {
            QLockFile other(m_installation->path() + u"Outbox/run-1.eml.lock"_s);
            QVERIFY(other.tryLock());
            const int taken = m_server->taken();
            QVERIFY(run({u"--resend"_s, u"1"_s}).err.contains(u"by another process"_s));
            QCOMPARE(m_server->taken(), taken);
        }
        int code = SQLITE_OK;
        const auto ledger = sqlite::open(RunLedger(m_installation->path()).path(), SQLITE_OPEN_READWRITE, code);
        QCOMPARE(sqlite::execute(ledger.get(), "UPDATE delivery SET target = 'mended@example.org' WHERE target LIKE '5%';"
                                               "DELETE FROM delivery WHERE target LIKE '450%'"),
                 SQLITE_OK);
        outcome = run({u"--resend"_s, u"1"_s});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        QCOMPARE(outcome.out, u"sent to mended@example.org\n"_s);
        QCOMPARE(m_server->lastMail().envelope[u"to"_s].toArray(), QJsonArray{u"mended@example.org"_s});
        QCOMPARE(m_server->lastMail().message[u"messageId"_s].toString(), first);
        QCOMPARE(lastRun().status, RunStatus::Done);
        QVERIFY(outbox().isEmpty());
        QVERIFY(run({u"--resend"_s, u"1"_s}).err.contains(u"has reached all"_s));
        QVERIFY(run({u"--resend"_s, u"7"_s}).err.contains(u"no run 7"_s));
        QCOMPARE(run({u"--resend"_s, u"x"_s}).code, 2);
    }

    void a_lost_answer_is_unknown_and_nothing_goes_out_twice()
    {
        const int before = m_server->taken();
        const ToolResult outcome = run({mailing("pdf", "\"a@example.org\", \"dropend@example.org\"")});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.contains(u"Nobody knows whether"_s), qPrintable(outcome.err));
        QCOMPARE(states(lastRun()), u"a=unknown dropend=unknown"_s);
        QCOMPARE(m_server->taken(), before + 1);
    }

    void an_interrupted_or_killed_sending_leaves_the_truth_in_the_ledger()
    {
        settings("plain", {}, 30'000);
        const QString file = mailing("pdf", "\"slow20@example.org\"");
        const auto isSending = [&] {
            const auto all = RunLedger(m_installation->path()).list();
            return !all.empty() && all.front().status == RunStatus::Running && states(all.front()) == u"slow20=unknown";
        };
        auto process = started({file});
        QTRY_VERIFY_WITH_TIMEOUT(isSending(), 10'000);
        if (interrupt(*process, SIGINT)) { // on Windows a program without a console cannot be
            const ToolResult outcome = finished(*process);
            QVERIFY2(outcome.err.contains(u"cancelled"_s), qPrintable(outcome.err));
            QCOMPARE(lastRun().status, RunStatus::Cancelled);
            QCOMPARE(states(lastRun()), u"slow20=not sent"_s);
            QVERIFY(outbox().isEmpty());
            process = started({file});
            QTRY_VERIFY_WITH_TIMEOUT(isSending(), 10'000);
        }
        process->kill();
        static_cast<void>(finished(*process));
        QVERIFY(run({u"--history"_s}).out.contains(u"interrupted"_s));
        QCOMPARE(states(lastRun()), u"slow20=unknown"_s);
    }

    void a_ledger_of_the_first_version_is_read_and_taken_over()
    {
        QVERIFY(run({u"--rows"_s, query({})}).code == 0);
        int code = SQLITE_OK;
        {
            const auto ledger = sqlite::open(RunLedger(m_installation->path()).path(), SQLITE_OPEN_READWRITE, code);
            QCOMPARE(sqlite::execute(ledger.get(), "UPDATE run SET output_type = 'email'; DROP TABLE delivery; PRAGMA user_version = 1"),
                     SQLITE_OK);
        }
        QCOMPARE(lastRun().rows, 3);
        QVERIFY(lastRun().deliveries.empty());
        QVERIFY(run({mailing("csv", "\"a@example.org\"")}).code == 0);
        QCOMPARE(states(lastRun()), u"a=delivered"_s);
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
        ToolResult outcome = run({printing("good", 2)});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        QVERIFY2(outcome.out.startsWith(u"printed as job 1 of the printer \"good\""_s), qPrintable(outcome.out));
        const QString text = textOf(printer.printedFile());
        QCOMPARE(text.count(u"carol"_s), 2);
        QVERIFY2(printer.pageLog().contains(u"Anmeldungen – März"_s), qPrintable(printer.pageLog()));
        QCOMPARE(states(lastRun()), u"good=printed"_s);
        QCOMPARE(lastRun().outputType, u"printer"_s);
        outcome = run({printing("disabled", 1)});
        QVERIFY2(outcome.code == 1 && outcome.err.contains(u"is disabled (out of paper)"_s), qPrintable(outcome.err));
        outcome = run({printing("", 1)});
        QVERIFY2(outcome.code == 1 && outcome.err.contains(u"no default printer"_s), qPrintable(outcome.err));
        printer.command(u"lpadmin"_s, {u"-d"_s, u"good"_s});
        outcome = run({printing("", 1)});
        QVERIFY2(outcome.out.contains(u"of the printer \"good\""_s), qPrintable(outcome.err));
        // A format or a file given by hand is a file.
        outcome = run({u"--format"_s, u"csv"_s, printing("disabled", 1)});
        QVERIFY2(outcome.code == 0 && outcome.out.endsWith(u".csv\n"_s), qPrintable(outcome.err));
    }
};

QTEST_GUILESS_MAIN(MailRunTest)
#include "mail_run_test.moc"
