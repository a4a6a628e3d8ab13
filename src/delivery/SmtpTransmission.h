/// \file
/// One connection to a mail server that hands over one message.
#pragma once

#include "delivery/SmtpClient.h"
#include "delivery/SmtpTranscript.h"

#include <curl/curl.h>

#include <QFile>

#include <array>
#include <memory>
#include <span>

namespace qm {

/// Used once.
class SmtpTransmission final
{
public:
    SmtpTransmission(const SmtpServer &server, const MailEnvelope &envelope, std::span<const QByteArray> recipients,
                     const std::function<bool()> &stopped);

    /// \returns a result for each recipient, in their order.
    [[nodiscard]] std::vector<RecipientResult> run();
    [[nodiscard]] bool wasEncrypted() const { return m_server.implicitTls || m_transcript.startedTls(); }

private:
    void setUp();
    void setUpSecurity();
    void setUpLimits();
    [[nodiscard]] std::vector<RecipientResult> results(CURLcode code) const;
    [[nodiscard]] QString problemText(CURLcode code) const;
    [[nodiscard]] QString silenceText() const;
    [[nodiscard]] std::size_t read(char *buffer, std::size_t size);
    [[nodiscard]] bool mustEnd();

    static int onDebug(CURL *, curl_infotype type, char *bytes, std::size_t size, void *self);
    static std::size_t onRead(char *buffer, std::size_t size, std::size_t count, void *self);
    static int onProgress(void *self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

    struct Cleanup
    {
        void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
        void operator()(curl_slist *list) const { curl_slist_free_all(list); }
    };
    enum class End { None, Stopped, Silent, TooLarge, NoUtf8 };

    const SmtpServer &m_server;
    const MailEnvelope &m_envelope;
    std::span<const QByteArray> m_recipients;
    const std::function<bool()> &m_stopped;
    std::unique_ptr<CURL, Cleanup> m_curl;
    std::unique_ptr<curl_slist, Cleanup> m_list;
    std::array<char, CURL_ERROR_SIZE> m_error{};
    QFile m_message;
    SmtpTranscript m_transcript;
    std::chrono::steady_clock::time_point m_lastSign;
    End m_end = End::None;
    bool m_wholeContentGiven = false;
};

} // namespace qm
