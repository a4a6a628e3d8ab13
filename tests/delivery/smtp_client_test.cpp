#include "core/Records.h"
#include "delivery/SmtpClient.h"
#include "support/MailServer.h"
#include "support/SilentServer.h"
#include "support/System.h"

#include <QtTest>

#include <atomic>
#include <thread>

using namespace qm;
using namespace qm::test;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr char kTo[] = "a@example.org";

} // namespace

/// Against a real server, whose faults the recipients choose.
class SmtpClientTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<MailServer> m_server;
    QTemporaryDir m_folder;
    QElapsedTimer m_watch;

    [[nodiscard]] SmtpServer at(const char *listener, bool user = false) const
    {
        SmtpServer server =
            smtpServerOf({u"localhost"_s, m_server->port(listener), 1500, user ? QString::fromUtf8(MailServer::kUser) : QString(),
                          user ? QString::fromUtf8(MailServer::kPassword) : QString()});
        server.implicitTls = qstrcmp(listener, "smtps") == 0;
        server.pauseBeforeRepeat = 100ms;
        server.longestFarewell = 300ms;
        return server;
    }
    [[nodiscard]] MailEnvelope to(const QByteArrayList &recipients, qsizetype size = 500)
    {
        QByteArray text = "From: <s@example.org>\r\nSubject: test\r\nMessage-ID: <m@x>\r\n\r\n.\r\n..dots\r\n";
        while (text.size() < size)
            text += "0123456789012345678901234567890123456789012345678901234567890\r\n";
        MailEnvelope envelope{"s@example.org", {recipients.begin(), recipients.end()}, m_folder.filePath(u"m.eml"_s)};
        QFile file(envelope.messageFile);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            envelope.messageFile.clear();
        return envelope;
    }
    MailOutcome send(const SmtpServer &server, const QByteArrayList &recipients, qsizetype size = 500)
    {
        m_watch.start();
        return sendMail(server, to(recipients, size), {});
    }
    static QString states(const MailOutcome &outcome)
    {
        QStringList words;
        for (const RecipientResult &result : outcome.recipients)
            words << recipientStateWord(result.state);
        return words.join(u", "_s);
    }
    static QString words(const MailOutcome &outcome, std::size_t index = 0) { return outcome.recipients.at(index).words; }

private Q_SLOTS:
    void initTestCase()
    {
        m_server = std::make_unique<MailServer>();
        if (!m_server->missing().isEmpty())
            QSKIP(qPrintable(m_server->missing()));
        QVERIFY2(m_server->problem().isEmpty(), qPrintable(m_server->problem()));
    }

    void mail_arrives_by_every_road_data()
    {
        QTest::addColumn<QByteArray>("listener");
        QTest::addColumn<bool>("user");
        QTest::addColumn<bool>("mustEncrypt");
        QTest::addColumn<bool>("encrypted");
        QTest::newRow("plain relay without a user") << QByteArray("plain") << false << false << false;
        QTest::newRow("log-in in clear on this machine") << QByteArray("plain") << true << false << false;
        QTest::newRow("STARTTLS where it is offered") << QByteArray("relay") << false << false << true;
        QTest::newRow("STARTTLS and log-in") << QByteArray("starttls") << true << true << true;
        QTest::newRow("TLS from the first byte") << QByteArray("smtps") << true << true << true;
    }
    void mail_arrives_by_every_road()
    {
        QFETCH(QByteArray, listener);
        QFETCH(bool, user);
        QFETCH(bool, mustEncrypt);
        QFETCH(bool, encrypted);
        SmtpServer server = at(listener.constData(), user);
        server.mustEncrypt = mustEncrypt;
        const int before = m_server->taken();
        const MailOutcome outcome = send(server, {kTo, "b@example.org"});
        QVERIFY2(outcome.isDelivered(), qPrintable(words(outcome)));
        QCOMPARE(outcome.wasEncrypted, encrypted);
        QVERIFY2(words(outcome).startsWith(u"250 2.0.0 Queued as"_s), qPrintable(words(outcome)));
        QCOMPARE(m_server->taken(), before + 1);
        const TakenMail mail = m_server->lastMail();
        QCOMPARE(mail.envelope[u"tls"_s].toBool(), encrypted);
        QCOMPARE(mail.envelope[u"auth"_s].toString(), user ? QString::fromUtf8(MailServer::kUser) : QString());
        QCOMPARE(mail.envelope[u"to"_s].toArray(), (QJsonArray{QLatin1String(kTo), u"b@example.org"_s}));
        QCOMPARE(mail.message[u"text"_s].toString().remove(u'\r').left(9), u".\n..dots\n"_s);
    }

    void refusals_are_told_for_each_recipient_in_the_servers_words()
    {
        int before = m_server->taken();
        MailOutcome outcome = send(at("plain"), {kTo, "550@example.org", "450@example.org", "jürgen@example.org"});
        QCOMPARE(states(outcome), u"delivered, refused, deferred, delivered"_s);
        QCOMPARE(words(outcome, 1), u"550 5.1.1 No such user here: <550@example.org>"_s);
        QCOMPARE(words(outcome, 2), u"450 4.2.1 Mailbox busy: <450@example.org>"_s);
        QCOMPARE(m_server->taken(), ++before);
        QCOMPARE(m_server->lastMail().envelope[u"to"_s].toArray().size(), 2);

        // All refused: nothing is sent.
        outcome = send(at("plain"), {"550@example.org", "551@example.org"});
        QCOMPARE(states(outcome), u"refused, refused"_s);
        QVERIFY(!outcome.isDelivered());
        // Refused as a whole, after its content.
        outcome = send(at("plain"), {kTo, "552@example.org", "550@example.org"});
        QCOMPARE(states(outcome), u"refused, refused, refused"_s);
        QCOMPARE(words(outcome), u"552 5.2.2 Mailbox full"_s);
        QCOMPARE(m_server->taken(), before);
    }

    void more_recipients_than_a_server_takes_at_once_go_in_portions()
    {
        QByteArrayList many;
        for (int i = 0; i < 205; ++i)
            many << "r" + QByteArray::number(i) + "@example.org";
        const int before = m_server->taken();
        QVERIFY(send(at("plain"), many).isDelivered());
        QCOMPARE(m_server->taken(), before + 3);
    }

    void a_message_over_the_servers_limit_is_not_begun()
    {
        const int before = m_server->taken();
        QVERIFY(send(at("small"), {kTo}, 15'000).isDelivered());
        const MailOutcome outcome = send(at("small"), {kTo}, 30'000);
        QCOMPARE(states(outcome), u"not sent"_s);
        QVERIFY2(words(outcome).contains(u"takes messages of at most 20 KB; this one has 30 KB"_s), qPrintable(words(outcome)));
        QCOMPARE(m_server->taken(), before + 1);
    }

    void a_server_that_cannot_be_trusted_gets_nothing_data()
    {
        QTest::addColumn<QByteArray>("listener");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("known");
        QTest::addColumn<QString>("said");
        const QString right = QString::fromUtf8(MailServer::kPassword);
        QTest::newRow("no STARTTLS with a password") << QByteArray("plain") << right << true << u"never travel unencrypted"_s;
        // The words are those of the system's TLS.
        const QString otherName = onWindows() ? u"failed to match connection hostname"_s : u"no alternative certificate subject name"_s;
        const QString unknown = onWindows() ? u"trust error CERT_TRUST_IS_PARTIAL_CHAIN"_s : u"unable to get local issuer"_s;
        QTest::newRow("another name") << QByteArray("othername") << right << true << otherName;
        QTest::newRow("unknown authority") << QByteArray("starttls") << right << false << unknown;
        QTest::newRow("unknown authority, TLS at once") << QByteArray("smtps") << right << false << unknown;
        QTest::newRow("wrong password") << QByteArray("starttls") << u"wrong"_s << true
                                        << u"refused the user name or password: 535 5.7.8"_s;
        QTest::newRow("answers no TLS") << QByteArray("mute") << QString() << true << u"did not answer"_s;
    }
    void a_server_that_cannot_be_trusted_gets_nothing()
    {
        QFETCH(QByteArray, listener);
        QFETCH(QString, password);
        QFETCH(bool, known);
        QFETCH(QString, said);
        const QByteArray authorities = qgetenv("SSL_CERT_FILE");
        if (!known)
            qputenv("SSL_CERT_FILE", "/etc/ssl/certs/ca-certificates.crt");
        SmtpServer server = at(listener.constData(), true);
        server.mustEncrypt = true;
        server.password = password;
        server.implicitTls = server.implicitTls || password.isEmpty();
        const int before = m_server->taken();
        const MailOutcome outcome = send(server, {kTo});
        qputenv("SSL_CERT_FILE", authorities);
        QCOMPARE(states(outcome), u"not sent"_s);
        QVERIFY2(words(outcome).contains(said), qPrintable(words(outcome)));
        QVERIFY(!words(outcome).contains(QString::fromUtf8(MailServer::kPassword)));
        QCOMPARE(m_server->taken(), before);
    }

    void only_the_relay_on_this_machine_may_show_an_unknown_certificate()
    {
        const QByteArray authorities = qgetenv("SSL_CERT_FILE");
        qputenv("SSL_CERT_FILE", "/etc/ssl/certs/ca-certificates.crt");
        SmtpServer server = at("relay");
        const MailOutcome here = send(server, {kTo});
        server.isThisMachine = false;
        const MailOutcome elsewhere = send(server, {kTo});
        qputenv("SSL_CERT_FILE", authorities);
        QVERIFY2(here.isDelivered() && here.wasEncrypted, qPrintable(words(here)));
        QVERIFY2(words(elsewhere).contains(u"could not prove who it is"_s), qPrintable(words(elsewhere)));
    }

    void silence_ends_at_the_time_out_and_slowness_does_not()
    {
        SmtpServer mute = at("mute"), hasty = at("plain");
        mute.timeout = hasty.timeout = 500ms;
        MailOutcome outcome = send(mute, {kTo});
        QVERIFY2(words(outcome).contains(u"did not answer: nothing came for 0.5 seconds"_s), qPrintable(words(outcome)));
        QVERIFY2(m_watch.elapsed() >= 500 && m_watch.elapsed() < 15'000, qPrintable(QString::number(m_watch.elapsed())));
        outcome = send(hasty, {"slow30@example.org"});
        QVERIFY2(words(outcome).contains(u"stopped answering"_s), qPrintable(words(outcome)));
        QVERIFY(m_watch.elapsed() < 15'000);
        // Three answers, each slow, together slower than the time-out.
        outcome = send(at("plain"), {"slow600ms@a.example", "slow600ms@b.example", "slow600ms@c.example"});
        QVERIFY2(outcome.isDelivered(), qPrintable(words(outcome)));
        QVERIFY(m_watch.elapsed() >= 1800);
        // What comes after the answer holds nobody up.
        outcome = send(at("plain"), {"slowquit@example.org"});
        QVERIFY(outcome.isDelivered());
        QVERIFY2(m_watch.elapsed() < 15'000, qPrintable(QString::number(m_watch.elapsed())));
    }

    void a_refusal_for_now_of_the_whole_mail_is_tried_again()
    {
        MailEnvelope envelope = to({kTo, "b@example.org"});
        envelope.from = "once451@example.org";
        const int before = m_server->taken();
        const MailOutcome outcome = sendMail(at("plain"), envelope, {});
        QCOMPARE(states(outcome), u"delivered, delivered"_s);
        QCOMPARE(m_server->taken(), before + 1);
        // Stopped while it waits for the second time, it is still known why.
        envelope.from = "once451b@example.org";
        SmtpServer slow = at("plain");
        slow.pauseBeforeRepeat = 30s;
        QElapsedTimer watch;
        watch.start();
        const MailOutcome stopped = sendMail(slow, envelope, [&watch] { return watch.elapsed() > 300; });
        QCOMPARE(states(stopped), u"deferred, deferred"_s);
        QVERIFY2(words(stopped).contains(u"451 4.7.1 Greylisted"_s), qPrintable(words(stopped)));
    }

    void a_lost_connection_is_not_sent_or_unknown()
    {
        MailOutcome outcome = send(at("plain"), {kTo, "drop@example.org"});
        QCOMPARE(states(outcome), u"not sent, not sent"_s);
        QVERIFY2(words(outcome).contains(u"broke the connection off"_s), qPrintable(words(outcome)));
        // Nobody can have what was never given whole.
        outcome = send(at("plain"), {"dropmid@example.org"}, 30'000'000);
        QCOMPARE(states(outcome), u"not sent"_s);
        // What confirms nothing is no delivery.
        outcome = send(at("plain"), {"again354@example.org"});
        QCOMPARE(states(outcome), u"unknown"_s);
        // The server has the message; whether it keeps it nobody knows. It must not go out a second time.
        const int before = m_server->taken();
        outcome = send(at("plain"), {"stall@example.org"});
        QCOMPARE(states(outcome), u"unknown"_s);
        QCOMPARE(m_server->taken(), before + 1);
    }

    void no_server_is_told_as_such()
    {
        SmtpServer server = at("plain");
        server.host = u"127.0.0.1"_s;
        server.port = closedPort();
        QVERIFY(server.port != 0);
        MailOutcome outcome = send(server, {kTo});
        QVERIFY2(words(outcome).contains(u"cannot be reached"_s), qPrintable(words(outcome)));
        server.host = u"no-such-host.invalid"_s;
        outcome = send(server, {kTo});
        QVERIFY2(words(outcome).startsWith(u"There is no mail server no-such-host.invalid"_s), qPrintable(words(outcome)));
        QCOMPARE(states(outcome), u"not sent"_s);
    }

    void sending_is_stopped_wherever_it_is()
    {
        for (const char *recipient : {"slow20@example.org", "stall@example.org"}) {
            SmtpServer server = at("plain");
            server.timeout = 30s;
            std::atomic<bool> stop{false};
            std::jthread later([&] {
                std::this_thread::sleep_for(400ms);
                stop = true;
            });
            m_watch.start();
            const MailOutcome outcome = sendMail(server, to({recipient}), [&] { return stop.load(); });
            QVERIFY2(m_watch.elapsed() < 4000, recipient);
            QCOMPARE(words(outcome), u"Sending was stopped."_s);
            QVERIFY(!outcome.isDelivered());
        }
    }

    void settings_are_worked_out_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("timeout");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("expected"); // host port implicit must timeout, or a word of the problem
        const auto row = [](const char *name, const char *host, int port, int timeout, const char *user, const char *expected) {
            QTest::newRow(name) << QString::fromLatin1(host) << port << timeout << QString::fromLatin1(user)
                                << QString::fromLatin1(expected);
        };
        row("relay", "mx.example.org", 0, 0, "", "mx.example.org 25 0 0 60000");
        row("submission", "mx.example.org", 0, 500, "u", "mx.example.org 587 0 1 500");
        row("465", "mx.example.org", 465, 1, "", "mx.example.org 465 1 1 1");
        row("scheme", "smtps://mx.example.org", 0, 1, "u", "mx.example.org 465 1 1 1");
        row("scheme and port", "SMTPS://mx.example.org", 2465, 1, "u", "mx.example.org 2465 1 1 1");
        row("plain scheme", "smtp://mx.example.org", 25, 1, "u", "mx.example.org 25 0 1 1");
        row("this machine", "127.0.0.1", 25, 1, "u", "127.0.0.1 25 0 0 1");
        row("nearly this machine", "localhost.example.org", 25, 1, "u", "localhost.example.org 25 0 1 1");
        row("nearly loopback", "127.example.org", 25, 1, "u", "127.example.org 25 0 1 1");
        row("none", " ", 25, 1, "", "No mail server");
        row("no name", "mail example", 25, 1, "", "is not the name");
        row("large port", "mx", 70000, 1, "", "port 70000");
        row("negative time-out", "mx", 25, -5, "", "negative");
    }
    void settings_are_worked_out()
    {
        QFETCH(QString, host);
        QFETCH(int, port);
        QFETCH(int, timeout);
        QFETCH(QString, user);
        QFETCH(QString, expected);
        const SmtpServer server = smtpServerOf({host, port, timeout, user, {}});
        if (!server.problem.isEmpty())
            QVERIFY2(server.problem.contains(expected), qPrintable(server.problem));
        else
            QCOMPARE(u"%1 %2 %3 %4 %5"_s.arg(server.host)
                         .arg(server.port)
                         .arg(server.implicitTls ? 1 : 0)
                         .arg(server.mustEncrypt ? 1 : 0)
                         .arg(server.timeout.count()),
                     expected);
    }
};

QTEST_GUILESS_MAIN(SmtpClientTest)
#include "smtp_client_test.moc"
