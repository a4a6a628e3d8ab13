#include "reporting/delivery/MailAddress.h"
#include "reporting/delivery/MailHeaders.h"
#include "reporting/delivery/MailMessage.h"
#include "reporting/delivery/SmtpTranscript.h"
#include "support/ServerProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace qm;

/// Messages are read back by Python's e-mail package.
class MailMessageTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    [[nodiscard]] QJsonObject written(const MailMessage &message) const
    {
        const QString path = m_folder.filePath(QStringLiteral("m.eml"));
        const std::uint64_t size = writeMailMessage(message, path);
        if (static_cast<qint64>(size) != QFileInfo(path).size())
            return {};
        return QJsonDocument::fromJson(
                   test::outputOf(QStringLiteral("/usr/bin/python3"), {test::serverScript(QStringLiteral("read_mail.py")), path}))
            .object();
    }
    [[nodiscard]] QString file(const QString &name, const QByteArray &bytes) const
    {
        const QString path = m_folder.filePath(name);
        QFile out(path);
        return out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size() ? path : QString();
    }
    static MailMessage plain()
    {
        MailMessage message;
        message.from = parseMailAddress(QStringLiteral("reports@example.org"));
        message.to = {parseMailAddress(QStringLiteral("a@example.org"))};
        message.subject = QStringLiteral("Logons");
        message.text = QStringLiteral("Here it is.");
        message.messageId = "run-1@example.org";
        message.date = QDateTime(QDate(2026, 11, 21), QTime(9, 5, 0), Qt::OffsetFromUTC, 3600);
        return message;
    }

private Q_SLOTS:
    void addresses_are_read_or_refused_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("spec"); // empty: refused
        QTest::addColumn<QString>("name");
        const auto row = [](const char *text, const char *spec, const char *name = "") {
            QTest::newRow(text) << QString::fromUtf8(text) << QByteArray(spec) << QString::fromUtf8(name);
        };
        row("audit@example.org", "audit@example.org");
        row("  audit+x@mail.example.org ", "audit+x@mail.example.org");
        row("root@localhost", "root@localhost");
        row("a@[192.0.2.1]", "a@[192.0.2.1]");
        row("Audit Team <audit@example.org>", "audit@example.org", "Audit Team");
        row("\"Żółw, A.\" <z@example.org>", "z@example.org", "Żółw, A.");
        row("a@bücher.example", "a@xn--bcher-kva.example");
        row("jürgen@example.org", "jürgen@example.org");
        row("", "");
        row("audit", "");
        row("@example.org", "");
        row("audit@", "");
        row("a b@example.org", "");
        row("a@exa mple.org", "");
        row("a..b@example.org", "");
        row("a@-x.org", "");
        row("a@x..org", "");
        row("ok@x> \r\nRCPT TO:<evil@x", "");
        row("ok@x\r\nBcc: evil@x", "");
        row("ok@x>,<evil@x>", "");
        row("Name\r\nX: y <ok@x>", "");
        row("Name <ok@x", "");
        row("a,b@x", "");
        row("a;b@x", "");
        row("\"a b\"@x.org", "");
    }
    void addresses_are_read_or_refused()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, spec);
        const MailAddress address = parseMailAddress(text);
        QCOMPARE(address.spec, spec);
        QTEST(address.name, "name");
        QCOMPARE(address.problem.isEmpty(), !spec.isEmpty());
        QVERIFY(!address.problem.contains(u'\n'));
    }

    void headers_take_any_language_and_nothing_else()
    {
        MailMessage message = plain();
        message.subject = QStringLiteral("Öffnungen – журнал 監査 😀 ").repeated(12) + QStringLiteral("\r\nBcc: evil@x\r\n\r\nbody");
        message.to = {parseMailAddress(QStringLiteral("Jürgen Ünal-Großmann, Revision <j@example.org>")),
                      parseMailAddress(QStringLiteral("\"Smith, \\\"Bob\\\"\" <bob@example.org>"))};
        message.cc = {parseMailAddress(QStringLiteral("c@example.org"))};
        const QJsonObject found = written(message);
        QCOMPARE(found[QStringLiteral("problems")].toArray(), QJsonArray());
        QCOMPARE(found[QStringLiteral("subject")].toString(),
                 (QStringLiteral("Öffnungen – журнал 監査 😀 ").repeated(12) + QStringLiteral("Bcc: evil@x body")));
        QVERIFY(!found.contains(QStringLiteral("bcc")));
        QCOMPARE(found[QStringLiteral("to")].toString(), QStringLiteral("\"Jürgen Ünal-Großmann, Revision\" <j@example.org>, "
                                                                        "\"Smith, \\\"Bob\\\"\" <bob@example.org>"));
        QCOMPARE(found[QStringLiteral("cc")].toString(), QStringLiteral("c@example.org"));
        QCOMPARE(found[QStringLiteral("date")].toString(), QStringLiteral("Sat, 21 Nov 2026 09:05:00 +0100"));
        QCOMPARE(found[QStringLiteral("messageId")].toString(), QStringLiteral("<run-1@example.org>"));
        message.subject = QStringLiteral("a long subject of plain words ").repeated(9) + QStringLiteral("=?UTF-8?B?eA==?=");
        QCOMPARE(written(message)[QStringLiteral("subject")].toString(), message.subject);
    }

    void attachments_come_back_byte_by_byte_under_their_names()
    {
        QByteArray bytes(300'001, '\0');
        for (qsizetype i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i * 7 % 256);
        const QString name = QStringLiteral("Fehlgeschlagene Anmeldungen (März) – ведомость; 50%.pdf");
        MailMessage message = plain();
        message.text = QStringLiteral(".\r\n..\nFrom here\n") + QString(2000, u'ż');
        message.htmlFile = file(QStringLiteral("r.html"), "<p>Żółw</p>\n");
        message.attachments = {{file(QStringLiteral("a"), bytes), name},
                               {file(QStringLiteral("b"), "id\r\n1\r\n"), QStringLiteral("plain name.csv")},
                               {file(QStringLiteral("c"), ""), QStringLiteral("empty.xlsx")}};
        const QJsonObject found = written(message);
        QCOMPARE(found[QStringLiteral("problems")].toArray(), QJsonArray());
        QCOMPARE(found[QStringLiteral("text")].toString().remove(u'\r'), message.text.remove(u'\r'));
        QCOMPARE(found[QStringLiteral("html")].toString(), QStringLiteral("<p>Żółw</p>\n"));
        const QJsonArray attachments = found[QStringLiteral("attachments")].toArray();
        QCOMPARE(attachments.size(), 3);
        const auto member = [&](int i, const char *key) { return attachments[i].toObject()[QLatin1String(key)].toString(); };
        QCOMPARE(member(0, "name"), name);
        QCOMPARE(member(1, "name"), QStringLiteral("plain name.csv"));
        QCOMPARE(member(0, "type"), QStringLiteral("application/pdf"));
        QCOMPARE(member(1, "type"), QStringLiteral("text/csv"));
        QFile first(member(0, "file"));
        QVERIFY(first.open(QIODevice::ReadOnly));
        QCOMPARE(first.readAll(), bytes);
        QCOMPARE(QFileInfo(member(2, "file")).size(), 0);
    }

    void blind_copies_alone_are_no_missing_header()
    {
        MailMessage message = plain();
        message.to.clear();
        QCOMPARE(written(message)[QStringLiteral("to")].toString(), QStringLiteral("undisclosed-recipients:;"));
    }

    void a_dialogue_is_followed_whatever_the_server_says()
    {
        SmtpTranscript dialogue;
        for (const char *line : {"220 hello\r\n",
                                 ">EHLO me",
                                 "250-mx",
                                 "250-SIZE 1000",
                                 "250-SMTPUTF8",
                                 "250 STARTTLS",
                                 ">STARTTLS",
                                 "220 go",
                                 ">EHLO me",
                                 "250-mx",
                                 "250 size 2000",
                                 ">MAIL FROM:<a@x> SIZE=5",
                                 "250 ok",
                                 ">RCPT TO:<a@x>",
                                 "550-5.1.1 No such",
                                 "550 5.1.1 user \x01\xff",
                                 ">RCPT TO:<b@x>",
                                 "250 ok",
                                 ">DATA",
                                 "354 send"})
            line[0] == '>' ? dialogue.command(line + 1) : dialogue.replyLine(line);
        QCOMPARE(dialogue.sizeLimit().value_or(0), std::uint64_t{2000});
        QVERIFY(dialogue.startedTls() && !dialogue.takesUtf8() && dialogue.contentWasAsked());
        QCOMPARE(dialogue.recipientReplies().size(), std::size_t{2});
        QCOMPARE(dialogue.recipientReplies()[0].text, QStringLiteral("550 5.1.1 No such 5.1.1 user  \uFFFD"));
        QCOMPARE(dialogue.messageReply().code, 0);
        dialogue.replyLine("451-4.3.0 disk\r\n");
        QCOMPARE(dialogue.messageReply().code, 0);
        dialogue.replyLine("451 4.3.0 full\r\n");
        QVERIFY(dialogue.messageReply().isTemporary());
        dialogue.command("QUIT");
        dialogue.replyLine("221 bye");
        QCOMPARE(dialogue.lastRefusal().text, QStringLiteral("451 4.3.0 disk 4.3.0 full"));
        for (const char *line : {"", "25", "abc", "\r\n", "250"})
            dialogue.replyLine(line);
        QCOMPARE(dialogue.lastRefusal().code, 451);
    }
};

QTEST_GUILESS_MAIN(MailMessageTest)
#include "mail_message_test.moc"
