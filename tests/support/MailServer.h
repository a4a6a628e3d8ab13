/// \file
/// The mail server of the tests: its ports, its authority, and the mail it took.
#pragma once

#include "support/ServerProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace qm::test {

using namespace Qt::StringLiterals;

/// One message as the server took it, read by Python's e-mail package.
struct TakenMail
{
    QJsonObject envelope; ///< tls, auth, from, to
    /// from, to, cc, subject, text, html, messageId, date; attachments: array of {name, type, file}, the content unpacked into file
    QJsonObject message;

    [[nodiscard]] QJsonArray attachments() const { return message[u"attachments"_s].toArray(); }
    /// The unpacked content of an attachment.
    [[nodiscard]] QString attachedFile(int index) const { return attachments()[index].toObject()[u"file"_s].toString(); }
};

/// Takes mail on loopback while it lives, and has this process trust its authority.
class MailServer final
{
public:
    static constexpr char kUser[] = "rep", kPassword[] = "g;e heim=\xC3\xBC";

    MailServer()
    {
        m_certificatesBefore = qgetenv("SSL_CERT_FILE");
        if (!hasPythonModule(u"aiosmtpd"_s)) {
            m_missing = u"python3-aiosmtpd is not installed"_s;
            return;
        }
        if (outputOf(serverScript(u"mkca.sh"_s), {certificates()}).isNull()) {
            m_missing = u"no certificates: is openssl installed?"_s;
            return;
        }
        qputenv("SSL_CERT_FILE", (certificates() + u"/ca.pem"_s).toUtf8());
        if (!m_process.start(u"smtp_server.py"_s, {u"--out"_s, m_folder.filePath(u"mail"_s), u"--certificates"_s, certificates(),
                                                   u"--user"_s, QString::fromUtf8(kUser) + u':' + QString::fromUtf8(kPassword)}))
            m_problem = m_process.problem();
    }
    ~MailServer()
    {
        if (m_certificatesBefore.isEmpty())
            qunsetenv("SSL_CERT_FILE");
        else
            qputenv("SSL_CERT_FILE", m_certificatesBefore);
    }
    MailServer(const MailServer &) = delete;
    MailServer &operator=(const MailServer &) = delete;

    /// What this computer lacks for it; empty: nothing.
    [[nodiscard]] const QString &missing() const { return m_missing; }
    /// Why it does not run although nothing is missing.
    [[nodiscard]] const QString &problem() const { return m_problem; }
    [[nodiscard]] int port(const char *listener) const { return m_process.port(QString::fromLatin1(listener)); }
    [[nodiscard]] int taken() const { return static_cast<int>(QDir(m_folder.filePath(u"mail"_s)).entryList({u"*.json"_s}).size()); }
    /// The mail number \p number, from 1.
    [[nodiscard]] TakenMail mail(int number) const
    {
        const QString stem = m_folder.filePath(u"mail/%1"_s.arg(number));
        QFile envelope(stem + u".json"_s);
        TakenMail taken;
        if (envelope.open(QIODevice::ReadOnly))
            taken.envelope = QJsonDocument::fromJson(envelope.readAll()).object();
        taken.message =
            QJsonDocument::fromJson(outputOf(u"/usr/bin/python3"_s, {serverScript(u"read_mail.py"_s), stem + u".eml"_s})).object();
        return taken;
    }
    [[nodiscard]] TakenMail lastMail() const { return mail(taken()); }

private:
    [[nodiscard]] QString certificates() const { return m_folder.filePath(u"certificates"_s); }

    QTemporaryDir m_folder;
    QByteArray m_certificatesBefore;
    ServerProcess m_process;
    QString m_missing, m_problem;
};

} // namespace qm::test
