#include "delivery/SmtpTransmission.h"

#include <QUrl>

#include <algorithm>

namespace qm {

namespace {

using namespace std::chrono_literals;

/// An answer that comes in drops is bounded too.
constexpr auto kLongestDialogueStep = 15min;

QString seconds(std::chrono::milliseconds time)
{
    return QString::number(static_cast<double>(time.count()) / 1000.0) + QStringLiteral(" seconds");
}

bool startLibrary()
{
    static const bool started = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return started;
}

QString bytesText(std::uint64_t bytes)
{
    return QStringLiteral("%1 KB").arg((bytes + 1023) / 1024);
}

} // namespace

SmtpTransmission::SmtpTransmission(const SmtpServer &server, const MailEnvelope &envelope, std::span<const QByteArray> recipients,
                                   const std::function<bool()> &stopped)
    : m_server(server), m_envelope(envelope), m_recipients(recipients), m_stopped(stopped), m_message(envelope.messageFile),
      m_lastSign(std::chrono::steady_clock::now())
{
    if (startLibrary())
        m_curl.reset(curl_easy_init());
}

void SmtpTransmission::setUp()
{
    CURL *const curl = m_curl.get();
    QUrl url;
    url.setScheme(m_server.implicitTls ? QStringLiteral("smtps") : QStringLiteral("smtp"));
    url.setHost(m_server.host);
    url.setPort(m_server.port);
    curl_easy_setopt(curl, CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(curl, CURLOPT_PROXY, ""); // none, whatever the environment says
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, m_envelope.from.constData());
    for (const QByteArray &recipient : m_recipients)
        if (curl_slist *const longer = curl_slist_append(m_list.get(), recipient.constData())) {
            static_cast<void>(m_list.release());
            m_list.reset(longer);
        }
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, m_list.get());
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(m_message.size()));
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, &SmtpTransmission::onRead);
    curl_easy_setopt(curl, CURLOPT_READDATA, this);
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &SmtpTransmission::onDebug);
    curl_easy_setopt(curl, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &SmtpTransmission::onProgress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L); // a name server that does not answer holds nobody up
    setUpSecurity();
    setUpLimits();
}

void SmtpTransmission::setUpSecurity()
{
    CURL *const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_USE_SSL, m_server.mustEncrypt ? CURLUSESSL_ALL : CURLUSESSL_TRY);
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
    // A relay on this machine may show any certificate: it could be spoken to in clear as well.
    const bool verifies = m_server.mustEncrypt || !m_server.isThisMachine;
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, verifies ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, verifies ? 2L : 0L);
    if (const QByteArray file = qgetenv("SSL_CERT_FILE"); !file.isEmpty())
        curl_easy_setopt(curl, CURLOPT_CAINFO, file.constData());
    if (const QByteArray folder = qgetenv("SSL_CERT_DIR"); !folder.isEmpty())
        curl_easy_setopt(curl, CURLOPT_CAPATH, folder.constData());
    if (!m_server.user.isEmpty()) {
        curl_easy_setopt(curl, CURLOPT_USERNAME, m_server.user.toUtf8().constData());
        curl_easy_setopt(curl, CURLOPT_PASSWORD, m_server.password.toUtf8().constData());
    }
}

/// Silence is watched by mustEnd(); the library's own limits only bound what that cannot see.
void SmtpTransmission::setUpLimits()
{
    CURL *const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::chrono::milliseconds(kLongestDialogueStep).count()));
    curl_easy_setopt(curl, CURLOPT_SERVER_RESPONSE_TIMEOUT, static_cast<long>(std::chrono::seconds(kLongestDialogueStep).count()));
}

std::vector<RecipientResult> SmtpTransmission::run()
{
    if (!m_curl || !m_message.open(QIODevice::ReadOnly)) {
        const QString why =
            m_curl ? QStringLiteral("The message file %1 cannot be read: %2").arg(m_message.fileName(), m_message.errorString())
                   : QStringLiteral("The mail library could not be started.");
        std::vector<RecipientResult> none;
        for (const QByteArray &recipient : m_recipients)
            none.push_back({QString::fromUtf8(recipient), RecipientState::NotSent, why});
        return none;
    }
    setUp();
    m_lastSign = std::chrono::steady_clock::now();
    return results(curl_easy_perform(m_curl.get()));
}

std::vector<RecipientResult> SmtpTransmission::results(CURLcode code) const
{
    const SmtpReply &answer = m_transcript.messageReply();
    const auto &replies = m_transcript.recipientReplies();
    std::vector<RecipientResult> found;
    for (std::size_t i = 0; i < m_recipients.size(); ++i) {
        RecipientResult result{QString::fromUtf8(m_recipients[i]), RecipientState::NotSent, {}};
        const SmtpReply *const own = i < replies.size() ? &replies[i] : nullptr;
        const SmtpReply *const deciding = own && own->code >= 400 ? own : &answer;
        if (deciding->code >= 400) {
            result.state = deciding->isTemporary() ? RecipientState::Deferred : RecipientState::Refused;
            result.words = deciding->text;
        } else if (own && own->isPositive() && answer.isPositive()) {
            result.state = RecipientState::Delivered;
            result.words = answer.text;
        } else {
            const bool mayHaveIt = own && own->isPositive() && m_transcript.contentWasAsked() && m_wholeContentGiven;
            const bool forNow = m_end == End::None && m_transcript.lastRefusal().isTemporary();
            result.state = mayHaveIt ? RecipientState::Unknown : forNow ? RecipientState::Deferred : RecipientState::NotSent;
            result.words = problemText(code);
        }
        found.push_back(result);
    }
    return found;
}

QString SmtpTransmission::silenceText() const
{
    const QString what = m_transcript.hasGreeted() ? QStringLiteral("stopped answering") : QStringLiteral("did not answer");
    return QStringLiteral(
               "The mail server %1, port %2, %3: nothing came for %4. Check server and port, or raise the time-out, in the e-mail "
               "settings.")
        .arg(m_server.host)
        .arg(m_server.port)
        .arg(what, seconds(m_server.timeout));
}

QString SmtpTransmission::problemText(CURLcode code) const
{
    const QString server = QStringLiteral("The mail server %1, port %2, ").arg(m_server.host).arg(m_server.port);
    const SmtpReply &refusal = m_transcript.lastRefusal();
    const QString library = QString::fromUtf8(m_error[0] != '\0' ? m_error.data() : curl_easy_strerror(code)).trimmed();
    const QString size = bytesText(static_cast<std::uint64_t>(m_message.size()));
    const std::optional<std::uint64_t> limit = m_transcript.sizeLimit();
    if (m_end == End::Stopped)
        return QStringLiteral("Sending was stopped.");
    if (m_end == End::TooLarge || (limit && static_cast<std::uint64_t>(m_message.size()) > *limit))
        return server +
               QStringLiteral("takes messages of at most %1; this one has %2. Shorten the report's period, choose a smaller format, "
                              "or send the report to a file.")
                   .arg(bytesText(limit.value_or(0)), size);
    if (m_end == End::NoUtf8)
        return server + QStringLiteral("takes no addresses with letters beyond ASCII before the \"@\".");
    if (m_end == End::Silent)
        return silenceText();
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return QStringLiteral("There is no mail server %1: %2. Check its name in the e-mail settings.").arg(m_server.host, library);
    case CURLE_COULDNT_CONNECT:
        return server + QStringLiteral("cannot be reached: %1. Check server and port in the e-mail settings.").arg(library);
    case CURLE_USE_SSL_FAILED:
        return server + QStringLiteral("offers no encryption (%1), and the user name and password of the e-mail settings never travel "
                                       "unencrypted. Use a port with TLS (465 or 587), or take the user name out.")
                            .arg(refusal.code > 0 ? refusal.text : library);
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
        return server + QStringLiteral("could not prove who it is: %1. Use the name that its certificate has, or have its authority's "
                                       "certificate added to the system's (or to the file named by SSL_CERT_FILE).")
                            .arg(library);
    case CURLE_LOGIN_DENIED:
        return server + QStringLiteral("refused the user name or password: %1. Check both in the e-mail settings.")
                            .arg(refusal.code > 0 ? refusal.text : library);
    default:
        break;
    }
    if (refusal.code > 0)
        return server + QStringLiteral("refused: %1").arg(refusal.text);
    return server + QStringLiteral("broke the connection off or spoke no SMTP: %1").arg(library);
}

std::size_t SmtpTransmission::read(char *buffer, std::size_t size)
{
    if (const auto limit = m_transcript.sizeLimit(); limit && static_cast<std::uint64_t>(m_message.size()) > *limit)
        m_end = End::TooLarge;
    const auto isAscii = [](const QByteArray &address) {
        return std::all_of(address.begin(), address.end(), [](char c) { return c > 0; });
    };
    if (!m_transcript.takesUtf8() && !(isAscii(m_envelope.from) && std::all_of(m_recipients.begin(), m_recipients.end(), isAscii)))
        m_end = End::NoUtf8;
    if (m_end != End::None)
        return CURL_READFUNC_ABORT;
    const qint64 got = m_message.read(buffer, static_cast<qint64>(size));
    if (got < 0)
        return CURL_READFUNC_ABORT;
    // Once the last byte was given the library may have ended the message, whatever it says afterwards.
    m_wholeContentGiven = m_message.atEnd();
    return static_cast<std::size_t>(got);
}

bool SmtpTransmission::mustEnd()
{
    const auto silence = std::chrono::steady_clock::now() - m_lastSign;
    if (m_transcript.messageReply().code > 0)
        return silence > m_server.longestFarewell;
    if (m_end == End::None && m_stopped && m_stopped())
        m_end = End::Stopped;
    if (m_end == End::None && silence > m_server.timeout)
        m_end = End::Silent;
    return m_end != End::None;
}

int SmtpTransmission::onDebug(CURL *, curl_infotype type, char *bytes, std::size_t size, void *self)
{
    auto &me = *static_cast<SmtpTransmission *>(self);
    if (type != CURLINFO_TEXT)
        me.m_lastSign = std::chrono::steady_clock::now();
    if (type == CURLINFO_HEADER_OUT)
        me.m_transcript.command({bytes, size});
    else if (type == CURLINFO_HEADER_IN)
        me.m_transcript.replyLine({bytes, size});
    return 0;
}

std::size_t SmtpTransmission::onRead(char *buffer, std::size_t size, std::size_t count, void *self)
{
    return static_cast<SmtpTransmission *>(self)->read(buffer, size * count);
}

int SmtpTransmission::onProgress(void *self, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<SmtpTransmission *>(self)->mustEnd() ? 1 : 0;
}

} // namespace qm
