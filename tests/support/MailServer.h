/// \file
/// The mail server of the tests: its ports, its authority, and the mail it took.
#pragma once

#include "support/ServerProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace qm::test {

/// One message as the server took it, read by Python's e-mail package.
struct TakenMail
{
    QJsonObject envelope; ///< tls, auth, from, to
    /// from, to, cc, subject, text, html, messageId, date; attachments: array of {name, type, file}, the content unpacked into file
    QJsonObject message;

    [[nodiscard]] QJsonArray attachments() const { return message[QStringLiteral("attachments")].toArray(); }
    /// The unpacked content of an attachment.
    [[nodiscard]] QString attachedFile(int index) const { return attachments()[index].toObject()[QStringLiteral("file")].toString(); }
};

/// Takes mail on loopback while it lives, and has this process trust its authority.
class MailServer final
{
public:
    static constexpr char kUser[] = "rep", kPassword[] = "g;e heim=\xC3\xBC";

    MailServer()
    {
        m_certificatesBefore = qgetenv("SSL_CERT_FILE");
        if (!hasPythonModule(QStringLiteral("aiosmtpd"))) {
            m_missing = QStringLiteral("python3-aiosmtpd is not installed");
            return;
        }
        if (outputOf(serverScript(QStringLiteral("mkca.sh")), {certificates()}).isNull()) {
            m_missing = QStringLiteral("no certificates: is openssl installed?");
            return;
        }
        qputenv("SSL_CERT_FILE", (certificates() + QStringLiteral("/ca.pem")).toUtf8());
        if (!m_process.start(QStringLiteral("smtp_server.py"),
                             {QStringLiteral("--out"), m_folder.filePath(QStringLiteral("mail")), QStringLiteral("--certificates"),
                              certificates(), QStringLiteral("--user"), QString::fromUtf8(kUser) + u':' + QString::fromUtf8(kPassword)}))
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
    [[nodiscard]] int taken() const
    {
        return static_cast<int>(QDir(m_folder.filePath(QStringLiteral("mail"))).entryList({QStringLiteral("*.json")}).size());
    }
    /// The mail number \p number, from 1.
    [[nodiscard]] TakenMail mail(int number) const
    {
        const QString stem = m_folder.filePath(QStringLiteral("mail/%1").arg(number));
        QFile envelope(stem + QStringLiteral(".json"));
        TakenMail taken;
        if (envelope.open(QIODevice::ReadOnly))
            taken.envelope = QJsonDocument::fromJson(envelope.readAll()).object();
        taken.message = QJsonDocument::fromJson(outputOf(QStringLiteral("/usr/bin/python3"),
                                                         {serverScript(QStringLiteral("read_mail.py")), stem + QStringLiteral(".eml")}))
                            .object();
        return taken;
    }
    [[nodiscard]] TakenMail lastMail() const { return mail(taken()); }

private:
    [[nodiscard]] QString certificates() const { return m_folder.filePath(QStringLiteral("certificates")); }

    QTemporaryDir m_folder;
    QByteArray m_certificatesBefore;
    ServerProcess m_process;
    QString m_missing, m_problem;
};

} // namespace qm::test
