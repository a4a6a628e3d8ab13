// quillmark-import on what machines log by themselves: syslog, the journal, Windows events; and the texts of times.

#include "support/ToolRun.h"

#include "importing/TimeText.h"

#include <QDateTime>
#include <QTemporaryDir>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

class ToolsLogsTest final : public QObject
{
    Q_OBJECT

private:
    [[nodiscard]] QString path(const char *name) const { return m_folder->filePath(QString::fromLatin1(name)); }
    [[nodiscard]] ToolResult import(const char *name, const QByteArray &log, const QStringList &more = {}) const
    {
        writeFile(path(name), log);
        return runTool("quillmark-import",
                       QStringList{u"--database"_s, path("log.db"), u"--kind"_s, u"server"_s} + more + QStringList{path(name)});
    }
    [[nodiscard]] QStringList rows(const char *columns) const
    {
        return rowsOf(path("log.db"), u"SELECT %1 FROM server_events ORDER BY id"_s.arg(QString::fromLatin1(columns)));
    }

    std::unique_ptr<QTemporaryDir> m_folder;

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
    }

    void times_become_utc_text_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // empty: refused
        const auto row = [](const char *text, const char *expected) {
            QTest::newRow(text) << QString::fromLatin1(text) << QString::fromLatin1(expected);
        };
        row("2026-11-20T08:15:30.123Z", "2026-11-20 08:15:30.123");
        row("2026-11-20 08:15:30", "2026-11-20 08:15:30.000");
        row("2026-11-20T08:15", "2026-11-20 08:15:00.000");
        row("2026-11-20", "2026-11-20 00:00:00.000");
        row("2026-11-20T08:15:30.9999999Z", "2026-11-20 08:15:30.999");
        row("2026-11-20T08:15:30,5Z", "2026-11-20 08:15:30.500");
        row("2026-01-01T00:30:00+02:00", "2025-12-31 22:30:00.000");
        row("2026-11-20T08:15:30-0330", "2026-11-20 11:45:30.000");
        row("2026-11-20 08:15:30 +01", "2026-11-20 07:15:30.000");
        row("2024-02-29T23:59:60Z", "2024-03-01 00:00:00.000");
        row("0001-01-01T00:00:00Z", "0001-01-01 00:00:00.000");
        row("9999-12-31T23:59:59.999Z", "9999-12-31 23:59:59.999");
        for (const char *wrong :
             {"", "2026-11-20T", "2026-11-20T24:00:00Z", "2026-13-01", "2100-02-29", "20/11/2026", "2026-11-20T08:15:30+25:00",
              "2026-11-20T08:15:30.Z", "2026-11-20T08:15:30Z ", "0001-01-01T00:00:00+01:00", "9999-12-31T23:59:59-01:00", "1700000000"})
            row(wrong, "");
    }
    void times_become_utc_text()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const auto time = parseEventTime(text.toStdString());
        QCOMPARE(time ? QString::fromStdString(eventTimeText(*time)) : QString(), expected);
        if (time)
            QCOMPARE(*time, QDateTime::fromString(expected + u'Z', Qt::ISODateWithMs).toMSecsSinceEpoch());
    }

    void syslog_rfc_5424()
    {
        const QByteArray log =
            "<34>1 2026-11-20T22:14:15.003Z mymachine.example.com su 231 ID47 - \xEF\xBB\xBF'su root' failed for lonvick on /dev/pts/8\n"
            "<165>1 2026-11-20T05:14:15.000003-07:00 192.0.2.1 myproc 8710 - [ex@32473 iut=\"3\" note=\"a \\] and \\\" in it\"][x y=\"z\"] "
            "%% It's time.\n"
            "<191>1 2026-11-20T00:00:00Z - - - - -\n";
        QCOMPARE(import("app.log", log).err, QString());
        QCOMPARE(rows("time_generated,level,type,source,channel,category,computer,process,message,data_source"),
                 (QStringList{u"2026-11-20 22:14:15.003|Critical|Audit Failure|su|auth|ID47|mymachine.example.com|su[231]|'su root' "
                              "failed for lonvick on /dev/pts/8|syslog:app.log"_s,
                              u"2026-11-20 12:14:15.000|Information|Information|myproc|local4|~|192.0.2.1|myproc[8710]|[ex@32473 "
                              "iut=\"3\" note=\"a \\] and \\\" in it\"][x y=\"z\"] %% "
                              "It's time.|syslog:app.log"_s,
                              u"2026-11-20 00:00:00.000|Verbose|Verbose|~|local7|~|(unknown)|~|~|syslog:app.log"_s}));
    }

    void syslog_rfc_3164_takes_zone_and_year_from_here()
    {
        // The tests run in Europe/Berlin; the file was last written on 2026-01-03.
        const QByteArray log = "Dec 31 23:59:58 host sshd[812]: Failed password for root from 198.51.100.7 port 4711 ssh2\r\n"
                               "Jan  1 00:30:00 host kernel: [ 1.5] eth0: link up\r\n"
                               "<11>Jan  2 08:00:00 host CRON[9]: (root) CMD (a: b)\n"
                               "\tgoes on here\n\nand here\n"
                               "Jul  1 12:00:00 host just words\n"
                               "2026-01-02T09:00:00.5+01:00 host app: caf\xE9\n";
        writeFile(path("messages"), log);
        QFile file(path("messages"));
        QVERIFY(file.open(QIODevice::Append));
        QVERIFY(file.setFileTime(QDateTime(QDate(2026, 1, 3), QTime(12, 0), Qt::UTC), QFileDevice::FileModificationTime));
        file.close();
        const ToolResult result =
            runTool("quillmark-import", {u"--database"_s, path("log.db"), u"--kind"_s, u"server"_s, path("messages")});
        QCOMPARE(result.err, QString());
        QCOMPARE(rows("time_generated,level,source,channel,computer,process,message"),
                 (QStringList{u"2025-12-31 22:59:58.000|Information|sshd|syslog|host|sshd[812]|Failed password for root from "
                              "198.51.100.7 port 4711 ssh2"_s,
                              u"2025-12-31 23:30:00.000|Information|kernel|syslog|host|~|[ 1.5] eth0: link up"_s,
                              u"2026-01-02 07:00:00.000|Error|CRON|user|host|CRON[9]|(root) CMD (a: b)\n\tgoes on here\n\nand here"_s,
                              u"2025-07-01 10:00:00.000|Information|~|syslog|host|~|just words"_s,
                              u"2026-01-02 08:00:00.500|Information|app|syslog|host|~|caf\uFFFD"_s}));
    }

    void who_logged_in_and_who_acted_as_another_is_read_from_the_messages()
    {
        const std::initializer_list<std::pair<QByteArray, QString>> cases{
            {"sshd[1]: Failed password for root from 198.51.100.7 port 4711 ssh2", u"Audit Failure|root|~|198.51.100.7"_s},
            {"sshd[1]: Failed password for invalid user a from 192.0.2.1 port 9 ssh2 from 198.51.100.7 port 22 ssh2",
             u"Audit Failure|a from 192.0.2.1 port 9 ssh2|~|198.51.100.7"_s}, // the name was made to look like a message
            {"sshd[1]: Accepted publickey for bob from 2001:db8::7 port 4242 ssh2: ED25519 SHA256:x from 192.0.2.9 port 1",
             u"Audit Success|bob|~|2001:db8::7"_s},
            {"sshd-session[1]: Invalid user  from 198.51.100.7 port 22", u"Audit Failure|~|~|198.51.100.7"_s},
            {"sshd[1]: error: maximum authentication attempts exceeded for invalid user x from fe80::1%eth0 port 5 ssh2 [preauth]",
             u"Audit Failure|x|~|fe80::1%eth0"_s},
            {"sshd[1]: Connection closed by authenticating user root 198.51.100.7 port 22 [preauth]",
             u"Audit Failure|root|~|198.51.100.7"_s},
            {"sshd[1]: Disconnected from user bob 192.0.2.3 port 4242", u"Information|bob|~|192.0.2.3"_s},
            {"sshd[1]: Connection closed by 198.51.100.7 port 22 [preauth]", u"Information|~|~|198.51.100.7"_s},
            {"sshd[1]: User bob from 192.0.2.3 not allowed because not listed in AllowUsers", u"Audit Failure|bob|~|192.0.2.3"_s},
            {"sshd[1]: pam_unix(sshd:auth): authentication failure; logname= uid=0 euid=0 tty=ssh ruser= rhost=198.51.100.7  user=x "
             "rhost=192.0.2.1",
             u"Audit Failure|x rhost=192.0.2.1|~|198.51.100.7"_s},
            {"sshd[1]: Server listening on 0.0.0.0 port 22.", u"Information|~|~|~"_s},
            {"sshd[1]: Received disconnect from 192.0.2.3 port 22:11: Failed password for root from 192.0.2.1 port 1",
             u"Information|~|~|~"_s},
            {"sudo:   bob : TTY=pts/0 ; PWD=/home/bob ; USER=root ; COMMAND=/bin/sh -c 'x ; USER=eve'", u"Audit Success|bob|root|~"_s},
            {"sudo: bob : user NOT in sudoers ; TTY=pts/0 ; PWD=/ ; USER=root ; COMMAND=/bin/ls", u"Audit Failure|bob|root|~"_s},
            {"sudo: pam_unix(sudo:session): session opened for user root(uid=0) by bob(uid=1000)", u"Audit Success|bob|root|~"_s},
            {"su[2]: (to root) bob on pts/0", u"Audit Success|bob|root|~"_s},
            {"su[2]: FAILED SU (to root) bob on pts/0", u"Audit Failure|bob|root|~"_s},
            {"su[2]: pam_unix(su:auth): authentication failure; logname=bob uid=1000 euid=0 tty=pts/0 ruser=bob rhost=  user=root",
             u"Audit Failure|bob|root|~"_s},
            {"CRON[3]: (backup) CMD (run-parts /etc/cron.hourly)", u"Information|backup|~|~"_s},
            {"other: Failed password for root from 198.51.100.7 port 4711 ssh2", u"Information|~|~|~"_s},
        };
        QByteArray log;
        QStringList expected;
        for (const auto &[line, row] : cases) {
            log += "2026-11-20T08:15:00Z host " + line + '\n';
            expected << row;
        }
        QCOMPARE(import("auth.log", log).err, QString());
        QCOMPARE(rows("type,user_name,target_user,ip_address"), expected);
    }

    void what_never_ends_is_refused_before_it_fills_the_memory()
    {
        const QStringList syslog{u"--format"_s, u"syslog"_s};
        const ToolResult line = import("a.log", QByteArray(70 << 20, 'x'), syslog);
        QVERIFY2(line.code == 1 && line.err.contains(u"a.log, line 1: the line is longer"_s), qPrintable(line.err));
        const ToolResult lines = import(
            "b.log", "Nov 20 08:15:00 host app: m\n\nNov 20 08:15:00 host app: m\n" + QByteArray("other text\n").repeated(7 << 20), syslog);
        QVERIFY2(lines.code == 1 && lines.err.contains(u"b.log, line 3: more than 64 MiB"_s), qPrintable(lines.err));
        const QByteArray begin = "<Event><System>\n", much(20 << 20, 'x');
        for (const QByteArray &endless : {much, "<a b='" + much, QByteArray("<a/>").repeated(5 << 20)}) {
            const ToolResult xml = import("c.xml", begin + endless);
            QVERIFY2(xml.code == 1 && xml.err.contains(u"c.xml, line 2: no event ends within 16 MiB"_s), qPrintable(xml.err));
        }
        const ToolResult deep = import("c.xml", begin + QByteArray("<a>").repeated(2000));
        QVERIFY2(deep.code == 1 && deep.err.contains(u"c.xml, line 2: elements stand inside each other"_s), qPrintable(deep.err));
        const QByteArray head = "time_generated,level,type,message\n";
        const ToolResult fields = import("d.csv", head + QByteArray(20'000'000, ','));
        QVERIFY2(fields.code == 1 && fields.err.contains(u"d.csv, line 2: the record has more than 10,000 fields"_s),
                 qPrintable(fields.err));
        const ToolResult record = import("e.csv", head + (QByteArray(1 << 20, 'x') + ',').repeated(70));
        QVERIFY2(record.code == 1 && record.err.contains(u"e.csv, line 2: the record is longer than 64 MiB"_s), qPrintable(record.err));
    }

    void the_journal()
    {
        const QByteArray log =
            R"({"__REALTIME_TIMESTAMP":"1795421430123456","PRIORITY":"3","SYSLOG_IDENTIFIER":"sshd","_COMM":"sshd-session","_EXE":"/usr/sbin/sshd","_HOSTNAME":"srv1","_UID":"0","SYSLOG_FACILITY":"4","_SYSTEMD_UNIT":"ssh.service","UNIT":"no.service","_TRANSPORT":"no","MESSAGE":"line one\nline two"})"
            "\n"
            R"({"__REALTIME_TIMESTAMP":"1795421431000000","MESSAGE":[99,97,102,195,169],"_TRANSPORT":"kernel","PRIORITY":["6","6"],"UNIT":"a.service"})"
            "\n"
            R"({"__REALTIME_TIMESTAMP":"1795421432000000","MESSAGE":null,"_COMM":["a","b"],"_HOSTNAME":"srv1"})"
            "\n";
        QCOMPARE(import("journal.json", log).err, QString());
        QCOMPARE(rows("time_generated,level,source,channel,category,computer,user_name,process,message"),
                 (QStringList{u"2026-11-23 08:10:30.123|Error|sshd|auth|ssh.service|srv1|uid 0|/usr/sbin/sshd|line one\nline two"_s,
                              u"2026-11-23 08:10:31.000|Information|~|kernel|a.service|(unknown)|~|~|café"_s,
                              u"2026-11-23 08:10:32.000|Information|a\nb|journal|~|srv1|~|a\nb|~"_s}));
        const ToolResult bad = import("bad.json", log + "{\"MESSAGE\":\n");
        QCOMPARE(bad.code, 1);
        QVERIFY2(bad.err.contains(u"bad.json, line 4: the line is not JSON"_s), qPrintable(bad.err));
    }

    void windows_events()
    {
        const QByteArray logon =
            "<Event xmlns='http://schemas.microsoft.com/win/2004/08/events/event'><System><Provider "
            "Name='Microsoft-Windows-Security-Auditing' Guid='{5}'/>"
            "<EventID>4625</EventID><Version>0</Version><Level>0</Level><Task>12544</Task><Opcode>0</Opcode><Keywords>0x8010000000000000</"
            "Keywords>"
            "<TimeCreated SystemTime='2026-11-20T10:29:51.0261234Z'/><EventRecordID>440</EventRecordID><Channel>Security</Channel>"
            "<Computer>SRV1.example.com</Computer><Security/></System><EventData><Data Name='SubjectUserName'>-</Data><Data "
            "Name='TargetUserName'>m.okafor</Data>"
            "<Data Name='TargetDomainName'>EXAMPLE</Data><Data Name='Status'>0xc000006d</Data><Data Name='SubStatus'>0xc000006a</Data>"
            "<Data Name='LogonType'>3</Data><Data Name='ProcessName'>-</Data><Data "
            "Name='IpAddress'>::ffff:192.0.2.7</Data></EventData></Event>";
        const QByteArray created =
            "<Event xmlns='http://schemas.microsoft.com/win/2004/08/events/event'><System><Provider "
            "Name='Microsoft-Windows-Security-Auditing'/>"
            "<EventID>4720</EventID><Level>0</Level><Task>13824</Task><Keywords>0x8020000000000000</Keywords><TimeCreated "
            "SystemTime='2026-11-20T10:30:00Z'/>"
            "<EventRecordID>441</EventRecordID><Channel>Security</Channel><Computer>SRV1</Computer></System><EventData>"
            "<Data Name='TargetUserName'>new &amp; &#x7528;</Data><Data Name='SubjectUserName'>adm</Data><Data "
            "Name='SubjectDomainName'>EXAMPLE</Data></EventData>"
            "<RenderingInfo Culture='de-DE'><Message>Ein Benutzerkonto wurde "
            "erstellt.\r\n\r\nKonto:\tnew</Message><Level>Informationen</Level><Task>Benutzerkontenverwaltung</Task></RenderingInfo></"
            "Event>";
        const QByteArray cleared = "<Event xmlns='http://schemas.microsoft.com/win/2004/08/events/event'><System><Provider "
                                   "Name='Microsoft-Windows-Eventlog'/><EventID>1102</EventID>"
                                   "<Level>4</Level><Task>104</Task><Keywords>0x4020000000000000</Keywords><TimeCreated "
                                   "SystemTime='2026-11-20T10:31:00Z'/><EventRecordID>1</EventRecordID>"
                                   "<Channel>Security</Channel><Computer>SRV1</Computer></System><UserData><LogFileCleared "
                                   "xmlns='http://manifests.microsoft.com/win/2004/08/windows/eventlog'>"
                                   "<SubjectUserSid>S-1-5-21-1</SubjectUserSid><SubjectUserName>admmig</"
                                   "SubjectUserName><SubjectDomainName>OFFSEC</SubjectDomainName></LogFileCleared></UserData></Event>";
        const QByteArray service = "<Event><System><Provider Name='Service Control Manager'/><EventID "
                                   "Qualifiers='16384'>7036</EventID><Level>3</Level><Task>0</Task>"
                                   "<Keywords>0x8080000000000000</Keywords><TimeCreated "
                                   "SystemTime='2026-11-20T10:32:00Z'/><EventRecordID>5</EventRecordID><Channel>System</Channel>"
                                   "<Computer>SRV1</Computer><Security "
                                   "UserID='S-1-5-18'/></System><EventData><Data>plain</Data><Binary>5700</Binary></EventData></Event>";
        const auto process = [](const QByteArray &id, const QByteArray &data) {
            return "<Event><System><EventID>" + id +
                   "</EventID><TimeCreated SystemTime='2026-11-20T10:33:00Z'/><EventRecordID>6</EventRecordID><Security "
                   "UserID='S-1-5-19'/></System><EventData>" +
                   data + "</EventData></Event>";
        };
        // An account with its domain in one name; a status alone, or beside a sub-status that says nothing.
        const QByteArray started = process("1", "<Data Name='User'>EXAMPLE\\svc</Data><Data Name='Status'>0xc0000022</Data>");
        const QByteArray ticket = process("4768", "<Data Name='TargetUserSid'>S-1-5-21-2</Data><Data Name='Status'>0x6</Data><Data "
                                                  "Name='SubStatus'>0x0</Data>");
        const QStringList expected{
            u"2026-11-20 10:29:51.026|440|4625|Information|Audit "
            "Failure|Logon|EXAMPLE|m.okafor|~|3|192.0.2.7|0xc000006a|Failed logon.\n\nSubjectUserName: -\nTargetUserName: "
            "m.okafor\nTargetDomainName: EXAMPLE\nStatus: 0xc000006d\nSubStatus: 0xc000006a\nLogonType: 3\nProcessName: "
            "-\nIpAddress: ::ffff:192.0.2.7"_s,
            u"2026-11-20 10:30:00.000|441|4720|Information|Audit Success|Benutzerkontenverwaltung|EXAMPLE|adm|new & "
            "用|~|~|~|Ein Benutzerkonto wurde erstellt.\n\nKonto:\tnew"_s,
            u"2026-11-20 10:31:00.000|1|1102|Information|Audit Success|Log clear|OFFSEC|admmig|~|~|~|~|Audit log "
            "cleared.\n\nSubjectUserSid: S-1-5-21-1\nSubjectUserName: "
            "admmig\nSubjectDomainName: OFFSEC"_s,
            u"2026-11-20 10:32:00.000|5|7036|Warning|Warning|~|~|S-1-5-18|~|~|~|~|Service state changed.\n\nplain\nBinary: 5700"_s,
            u"2026-11-20 10:33:00.000|6|1|Information|Information|~|EXAMPLE|svc|~|~|~|0xc0000022|User: EXAMPLE\\svc\nStatus: 0xc0000022"_s,
            u"2026-11-20 10:33:00.000|6|4768|Information|Information|~|~|S-1-5-21-2|~|~|~|0x6|TargetUserSid: S-1-5-21-2\nStatus: "
            "0x6\nSubStatus: 0x0"_s};
        const char *columns = "time_generated,record_id,event_id,level,type,category,user_domain,user_name,target_user,logon_type,ip_"
                              "address,status_code,message";
        const QByteArray all = logon + '\n' + created + '\n' + cleared + '\n' + service + started + ticket;
        const QString utf16 =
            u"\uFEFF<?xml version=\"1.0\" encoding=\"utf-16\"?>\r\n<Events>\r\n"_s + QString::fromUtf8(all) + u"</Events>"_s;
        QByteArray bigEndian;
        for (const QChar c : utf16)
            bigEndian.append(static_cast<char>(c.unicode() >> 8)).append(static_cast<char>(c.unicode() & 0xFF));
        for (const QByteArray &file :
             {all, bigEndian,
              QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\r\n<Events>" + all + "</Events>\r\n"),
              QByteArray(reinterpret_cast<const char *>(utf16.utf16()), utf16.size() * 2)}) {
            QFile::remove(path("log.db"));
            QCOMPARE(import("events.xml", file).err, QString());
            QCOMPARE(rows(columns), expected);
        }
        const auto refusal = [&](const QByteArray &file) { return import("bad.xml", file).err; };
        QVERIFY2(refusal("<Events>\n" + all).contains(u"line 7: the XML is not well-formed: the file ends inside an element"_s),
                 qPrintable(refusal("<Events>\n" + all)));
        QVERIFY2(refusal("<Events>\n\n" + logon + "<Event></Events>").contains(u"line 3: the XML is not well-formed"_s),
                 qPrintable(refusal("<Events>\n\n" + logon + "<Event></Events>")));
        QVERIFY(refusal("<html></html>").contains(u"the file holds no <Event>"_s));
        QVERIFY(refusal("<!DOCTYPE a [<!ENTITY b \"c\">]><Events/>").contains(u"not well-formed"_s));
        QByteArray timeless = logon;
        timeless.replace("SystemTime", "Systemtime");
        QVERIFY(refusal(all + "\n" + timeless).contains(u"line 7: the event has no time"_s));
        QCOMPARE(rows("count(*)"), QStringList{u"6"_s});
    }

    void a_log_of_a_server_is_no_mail_log()
    {
        writeFile(path("app.log"), "<34>1 2026-11-20T22:14:15.003Z host su - - - text\n");
        const ToolResult result = runTool("quillmark-import", {u"--database"_s, path("log.db"), u"--kind"_s, u"mail"_s, path("app.log")});
        QCOMPARE(result.code, 1);
        QVERIFY2(result.err.contains(u"this looks like syslog"_s), qPrintable(result.err));
        // What no format recognises is taken for CSV, unless the format is named.
        QVERIFY(import("words.log", "just words\n").err.contains(u"line 1: the first line names no column"_s));
        QVERIFY(import("words.log", "just words\n", {u"--format"_s, u"syslog"_s})
                    .err.contains(u"line 1: the line does not begin with a syslog time"_s));
    }
};

QTEST_GUILESS_MAIN(ToolsLogsTest)
#include "tools_logs_test.moc"
