#include "delivery/MailAddress.h"
#include "delivery/MailMessage.h"
#include "delivery/SmtpTranscript.h"
#include "support/FileBytes.h"
#include "support/ServerProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

/// Messages are read back by Python's e-mail package.
class MailMessageTest final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    [[nodiscard]] QJsonObject written(const MailMessage &message) const
    {
        const QString path = m_folder.filePath(u"m.eml"_s);
        const std::uint64_t size = writeMailMessage(message, path);
        if (static_cast<qint64>(size) != QFileInfo(path).size())
            return {};
        return QJsonDocument::fromJson(outputOf(u"/usr/bin/python3"_s, {serverScript(u"read_mail.py"_s), path})).object();
    }
    [[nodiscard]] QString file(const QString &name, const QByteArray &bytes) const
    {
        const QString path = m_folder.filePath(name);
        writeBytes(path, bytes);
        return path;
    }
    static MailMessage plain()
    {
        MailMessage message;
        message.from = parseMailAddress(u"reports@example.org"_s);
        message.to = {parseMailAddress(u"a@example.org"_s)};
        message.subject = u"Logons"_s;
        message.text = u"Here it is."_s;
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
        for (const char *refused : {"", "audit", "@example.org", "audit@", "a b@example.org", "a@exa mple.org", "a..b@example.org",
                                    "a@-x.org", "a@x..org", "ok@x> \r\nRCPT TO:<evil@x", "ok@x\r\nBcc: evil@x", "ok@x>,<evil@x>",
                                    "Name\r\nX: y <ok@x>", "Name <ok@x", "a,b@x", "a;b@x", "a@b@x.org", "\"a b\"@x.org"})
            row(refused, "");
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
        message.subject = u"Öffnungen – журнал 監査 😀 "_s.repeated(12) + u"\r\nBcc: evil@x\r\n\r\nbody"_s;
        message.to = {parseMailAddress(u"Jürgen Ünal-Großmann, Revision <j@example.org>"_s),
                      parseMailAddress(u"\"Smith, \\\"Bob\\\"\" <bob@example.org>"_s)};
        message.cc = {parseMailAddress(u"c@example.org"_s)};
        const QJsonObject found = written(message);
        QCOMPARE(found[u"problems"_s].toArray(), QJsonArray());
        QCOMPARE(found[u"subject"_s].toString(), (u"Öffnungen – журнал 監査 😀 "_s.repeated(12) + u"Bcc: evil@x body"_s));
        QVERIFY(!found.contains(u"bcc"_s));
        QCOMPARE(found[u"to"_s].toString(), u"\"Jürgen Ünal-Großmann, Revision\" <j@example.org>, "
                                            "\"Smith, \\\"Bob\\\"\" <bob@example.org>"_s);
        QCOMPARE(found[u"cc"_s].toString(), u"c@example.org"_s);
        QCOMPARE(found[u"date"_s].toString(), u"Sat, 21 Nov 2026 09:05:00 +0100"_s);
        QCOMPARE(found[u"messageId"_s].toString(), u"<run-1@example.org>"_s);
        message.subject = u"a long subject of plain words "_s.repeated(9) + u"=?UTF-8?B?eA==?="_s;
        QCOMPARE(written(message)[u"subject"_s].toString(), message.subject);
        // A line may have 998 characters.
        message.subject = u"see "_s + QString(1200, u'x');
        message.cc.front().name = QString(1200, u'y');
        const QJsonObject unbroken = written(message);
        QCOMPARE(unbroken[u"subject"_s].toString(), message.subject);
        QVERIFY(unbroken[u"cc"_s].toString().remove(u' ').contains(message.cc.front().name)); // the reader parts encoded words
        for (const QByteArray &line : bytesOf(m_folder.filePath(u"m.eml"_s)).split('\n'))
            QVERIFY2(line.size() <= 999, line.left(40).constData());
    }

    void attachments_come_back_byte_by_byte_under_their_names()
    {
        QByteArray bytes(300'001, '\0');
        for (qsizetype i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i * 7 % 256);
        const QString name = u"Fehlgeschlagene Anmeldungen (März) – ведомость; 50%.pdf"_s;
        MailMessage message = plain();
        message.text = u".\r\n..\nFrom here\n"_s + QString(2000, u'ż');
        message.htmlFile = file(u"r.html"_s, "<p>Żółw</p>\n");
        message.attachments = {
            {file(u"a"_s, bytes), name}, {file(u"b"_s, "id\r\n1\r\n"), u"plain name.csv"_s}, {file(u"c"_s, ""), u"empty.xlsx"_s}};
        const QJsonObject found = written(message);
        QCOMPARE(found[u"problems"_s].toArray(), QJsonArray());
        QCOMPARE(found[u"text"_s].toString().remove(u'\r'), message.text.remove(u'\r'));
        QCOMPARE(found[u"html"_s].toString(), u"<p>Żółw</p>\n"_s);
        const QJsonArray attachments = found[u"attachments"_s].toArray();
        QCOMPARE(attachments.size(), 3);
        const auto member = [&](int i, const char *key) { return attachments[i].toObject()[QLatin1String(key)].toString(); };
        QCOMPARE(member(0, "name"), name);
        QCOMPARE(member(1, "name"), u"plain name.csv"_s);
        QCOMPARE(member(0, "type"), u"application/pdf"_s);
        QCOMPARE(member(1, "type"), u"text/csv"_s);
        QCOMPARE(bytesOf(member(0, "file")), bytes);
        QCOMPARE(QFileInfo(member(2, "file")).size(), 0);
    }

    void blind_copies_alone_are_no_missing_header()
    {
        MailMessage message = plain();
        message.to.clear();
        QCOMPARE(written(message)[u"to"_s].toString(), u"undisclosed-recipients:;"_s);
    }

    void a_dialogue_is_followed_whatever_the_server_says()
    {
        SmtpTranscript dialogue;
        const QByteArray spoken = "220 hello\r\n|>EHLO me|250-mx|250-SIZE 1000|250-SMTPUTF8|250 STARTTLS|>STARTTLS|220 go|>EHLO me|250-mx|"
                                  "250 size 2000|>MAIL FROM:<a@x> SIZE=5|250 ok|>RCPT TO:<a@x>|550-5.1.1 No such|550 5.1.1 user \x01\xff|"
                                  ">RCPT TO:<b@x>|250 ok|>DATA|354 send";
        for (const QByteArray &line : spoken.split('|'))
            line[0] == '>' ? dialogue.command(line.mid(1).constData()) : dialogue.replyLine(line.constData());
        QCOMPARE(dialogue.sizeLimit().value_or(0), std::uint64_t{2000});
        QVERIFY(dialogue.startedTls() && !dialogue.takesUtf8() && dialogue.contentWasAsked());
        QCOMPARE(dialogue.recipientReplies().size(), std::size_t{2});
        QCOMPARE(dialogue.recipientReplies()[0].text, u"550 5.1.1 No such 5.1.1 user  \uFFFD"_s);
        QCOMPARE(dialogue.messageReply().code, 0);
        dialogue.replyLine("451-4.3.0 disk\r\n");
        QCOMPARE(dialogue.messageReply().code, 0);
        dialogue.replyLine("451 4.3.0 full\r\n");
        QVERIFY(dialogue.messageReply().isTemporary());
        dialogue.command("QUIT");
        dialogue.replyLine("221 bye");
        QCOMPARE(dialogue.lastRefusal().text, u"451 4.3.0 disk 4.3.0 full"_s);
        for (const char *line : {"", "25", "abc", "\r\n", "250"})
            dialogue.replyLine(line);
        QCOMPARE(dialogue.lastRefusal().code, 451);
        // A size of zero is no limit (RFC 1870), and a request for more is no consent.
        for (const char *line : {">EHLO me", "250-mx", "250 SIZE 0", ">RCPT TO:<a@x>", "354 more"})
            line[0] == '>' ? dialogue.command(line + 1) : dialogue.replyLine(line);
        QVERIFY(!dialogue.sizeLimit() && !dialogue.recipientReplies().back().isPositive());
    }
};

QTEST_GUILESS_MAIN(MailMessageTest)
#include "mail_message_test.moc"
