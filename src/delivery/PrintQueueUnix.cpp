#include "delivery/PrintQueue.h"

#include <cups/cups.h>
#include <cups/pwg.h>

#include <QFile>

#include <algorithm>
#include <cmath>
#include <memory>
#include <thread>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto kLookEvery = 200ms;
constexpr int kConnectMs = 10'000;
constexpr double kAnswerSeconds = 15;
constexpr std::size_t kBlock = 65536;

struct Free
{
    void operator()(http_t *server) const { httpClose(server); }
    void operator()(ipp_t *message) const { ippDelete(message); }
    void operator()(cups_dest_t *queue) const { cupsFreeDests(1, queue); }
    void operator()(cups_dinfo_t *info) const { cupsFreeDestInfo(info); }
};
using Server = std::unique_ptr<http_t, Free>;
using Message = std::unique_ptr<ipp_t, Free>;
using Queue = std::unique_ptr<cups_dest_t, Free>;
using QueueInfo = std::unique_ptr<cups_dinfo_t, Free>;

/// The job options that libcups gathers.
class Options final
{
public:
    Options() = default;
    ~Options() { cupsFreeOptions(m_count, m_options); }
    Options(const Options &) = delete;
    Options &operator=(const Options &) = delete;
    void add(const char *name, const QByteArray &value) { m_count = cupsAddOption(name, value.constData(), m_count, &m_options); }
    [[nodiscard]] int count() const { return m_count; }
    [[nodiscard]] cups_option_t *get() const { return m_options; }

private:
    int m_count = 0;
    cups_option_t *m_options = nullptr;
};

QString lastWords()
{
    return QString::fromUtf8(cupsLastErrorString());
}

/// Nobody is there to be asked for a password, and no answer is waited for without end.
Server connectToServer()
{
    cupsSetPasswordCB2([](const char *, http_t *, const char *, const char *, void *) -> const char * { return nullptr; }, nullptr);
    Server server(httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, kConnectMs, nullptr));
    if (server)
        httpSetTimeout(
            server.get(), kAnswerSeconds, [](http_t *, void *) { return 0; }, nullptr);
    return server;
}

QString noServerText()
{
    return QStringLiteral("The printing system (CUPS at %1) does not answer: %2. Start it, or choose another output.")
        .arg(QString::fromUtf8(cupsServer()), lastWords());
}

QString option(const cups_dest_t *queue, const char *name)
{
    return QString::fromUtf8(cupsGetOption(name, queue->num_options, queue->options));
}

/// The named queue, or the default one. Null: \p problem says why.
Queue findQueue(http_t *server, const QString &name, QString &problem)
{
    Queue queue(cupsGetNamedDest(server, name.isEmpty() ? nullptr : name.toUtf8().constData(), nullptr));
    if (!queue)
        problem = name.isEmpty() ? QStringLiteral("No printer is named in the query's output settings, and there is no default printer. "
                                                  "Name one of the printers of this machine (lpstat -e lists them).")
                                 : QStringLiteral("There is no printer \"%1\" on this machine. Choose another one in the query's output "
                                                  "settings (lpstat -e lists them).")
                                       .arg(name);
    return queue;
}

QString nameOf(const cups_dest_t *queue)
{
    return QString::fromUtf8(queue->name);
}

struct Condition
{
    bool accepts = true, stopped = false;
    QString words; ///< of the queue itself
};

/// Asks the queue itself: what libcups lists may be older.
Condition conditionOf(http_t *server, const cups_dest_t *queue)
{
    const QByteArray uri = option(queue, "printer-uri-supported").toUtf8();
    Condition condition;
    if (uri.isEmpty())
        return condition; // a printer of the network that has no queue yet: it gets one with its first job
    ipp_t *const request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.constData());
    constexpr const char *kAsked[] = {"printer-is-accepting-jobs", "printer-state", "printer-state-message", "printer-state-reasons"};
    ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", static_cast<int>(std::size(kAsked)), nullptr,
                  kAsked);
    const Message answer(cupsDoRequest(server, request, "/"));
    if (!answer || ippGetStatusCode(answer.get()) >= IPP_STATUS_ERROR_BAD_REQUEST) {
        condition.accepts = false;
        condition.words = lastWords();
        return condition;
    }
    if (ipp_attribute_t *const accepting = ippFindAttribute(answer.get(), "printer-is-accepting-jobs", IPP_TAG_BOOLEAN))
        condition.accepts = ippGetBoolean(accepting, 0) != 0;
    if (ipp_attribute_t *const state = ippFindAttribute(answer.get(), "printer-state", IPP_TAG_ENUM))
        condition.stopped = ippGetInteger(state, 0) == IPP_PSTATE_STOPPED;
    if (ipp_attribute_t *const text = ippFindAttribute(answer.get(), "printer-state-message", IPP_TAG_TEXT))
        condition.words = QString::fromUtf8(ippGetString(text, 0, nullptr)).trimmed();
    return condition;
}

QString inWords(const Condition &condition)
{
    return condition.words.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(condition.words);
}

QString whyNot(const Condition &condition, const QString &name)
{
    if (!condition.accepts)
        return QStringLiteral("The printer \"%1\" accepts no jobs%2. Have it accept them (cupsaccept), or choose another one.")
            .arg(name, inWords(condition));
    if (condition.stopped)
        return QStringLiteral("The printer \"%1\" is disabled%2. Enable it (cupsenable), or choose another one.")
            .arg(name, inWords(condition));
    return {};
}

/// The medium's name for the printing system, which names media upright.
QByteArray mediaName(const PrintRequest &request)
{
    const auto hundredths = [](double mm) { return static_cast<int>(std::lround(mm * 100)); };
    const double width = std::min(request.pageWidthMm, request.pageHeightMm), height = std::max(request.pageWidthMm, request.pageHeightMm);
    const pwg_media_t *const media = width > 0 ? pwgMediaForSize(hundredths(width), hundredths(height)) : nullptr;
    return media ? QByteArray(media->pwg) : QByteArray();
}

/// One report as a job of one queue.
class Job final
{
public:
    Job(http_t *server, const PrintRequest &request, cups_dest_t *queue) : m_server(server), m_request(request), m_queue(queue) {}

    PrintOutcome run(const std::function<bool()> &stopped);

private:
    [[nodiscard]] bool create();
    [[nodiscard]] bool sendDocument(const std::function<bool()> &stopped);
    [[nodiscard]] PrintOutcome follow(const std::function<bool()> &stopped);
    void readState();
    [[nodiscard]] PrintOutcome failed(const QString &words);
    [[nodiscard]] PrintOutcome ended(PrintOutcome::State state, const QString &words) const
    {
        return {state, nameOf(m_queue), m_id, words};
    }
    void takeBack() { cupsCancelDestJob(m_server, m_queue, m_id); }

    http_t *m_server;
    const PrintRequest &m_request;
    cups_dest_t *m_queue;
    QueueInfo m_info;
    Options m_options;
    int m_id = 0;
    ipp_jstate_t m_state = IPP_JSTATE_PENDING;
    bool m_isForgotten = false; ///< the queue keeps no jobs that ended: how this one did, nobody knows
    QString m_words;
};

PrintOutcome Job::failed(const QString &words)
{
    if (m_id > 0)
        takeBack();
    return ended(PrintOutcome::State::Failed, words);
}

bool Job::create()
{
    m_info.reset(cupsCopyDestInfo(m_server, m_queue));
    if (!m_info)
        return false;
    if (const QByteArray media = mediaName(m_request); !media.isEmpty())
        m_options.add(CUPS_MEDIA, media);
    m_options.add(CUPS_COPIES, QByteArray::number(m_request.copies));
    m_options.add("multiple-document-handling", "separate-documents-collated-copies"); // one whole report after the other
    return cupsCreateDestJob(m_server, m_queue, m_info.get(), &m_id, m_request.title.toUtf8().constData(), m_options.count(),
                             m_options.get()) < IPP_STATUS_ERROR_BAD_REQUEST;
}

bool Job::sendDocument(const std::function<bool()> &stopped)
{
    QFile file(m_request.file);
    if (!file.open(QIODevice::ReadOnly)) {
        m_words = file.errorString();
        return false;
    }
    http_status_t status = cupsStartDestDocument(m_server, m_queue, m_info.get(), m_id, m_request.title.toUtf8().constData(),
                                                 CUPS_FORMAT_PDF, m_options.count(), m_options.get(), 1);
    while (status == HTTP_STATUS_CONTINUE && !file.atEnd() && !(stopped && stopped())) {
        const QByteArray bytes = file.read(kBlock);
        status =
            bytes.isEmpty() ? HTTP_STATUS_ERROR : cupsWriteRequestData(m_server, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
    const bool whole = status == HTTP_STATUS_CONTINUE && file.atEnd();
    const ipp_status_t end = cupsFinishDestDocument(m_server, m_queue, m_info.get());
    m_words = whole ? lastWords() : QStringLiteral("the document could not be handed over");
    return whole && end < IPP_STATUS_ERROR_BAD_REQUEST;
}

void Job::readState()
{
    ipp_t *const request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr,
                 option(m_queue, "printer-uri-supported").toUtf8().constData());
    ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", m_id);
    constexpr const char *kAsked[] = {"job-state", "job-printer-state-message"};
    ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", static_cast<int>(std::size(kAsked)), nullptr,
                  kAsked);
    const Message answer(cupsDoRequest(m_server, request, "/"));
    if (!answer)
        return;
    m_isForgotten = ippGetStatusCode(answer.get()) == IPP_STATUS_ERROR_NOT_FOUND;
    if (ipp_attribute_t *const state = ippFindAttribute(answer.get(), "job-state", IPP_TAG_ENUM))
        m_state = static_cast<ipp_jstate_t>(ippGetInteger(state, 0));
    if (ipp_attribute_t *const text = ippFindAttribute(answer.get(), "job-printer-state-message", IPP_TAG_TEXT))
        m_words = QString::fromUtf8(ippGetString(text, 0, nullptr)).trimmed();
}

PrintOutcome Job::follow(const std::function<bool()> &stopped)
{
    const QString job = QStringLiteral("job %1 of the printer \"%2\"").arg(m_id).arg(nameOf(m_queue));
    const auto end = std::chrono::steady_clock::now() + m_request.patience;
    for (;;) {
        readState();
        if (m_isForgotten)
            return ended(PrintOutcome::State::Taken, QStringLiteral("taken as %1; the queue keeps no jobs that ended").arg(job));
        switch (m_state) {
        case IPP_JSTATE_COMPLETED:
            return ended(PrintOutcome::State::Printed, QStringLiteral("printed as %1").arg(job));
        case IPP_JSTATE_ABORTED:
        case IPP_JSTATE_CANCELED:
            return ended(PrintOutcome::State::Failed,
                         QStringLiteral("The printing system ended %1 without printing it: %2.").arg(job, m_words));
        case IPP_JSTATE_HELD:
        case IPP_JSTATE_STOPPED:
            return failed(QStringLiteral("The printing system held %1 back: %2. The job was taken back.").arg(job, m_words));
        default:
            break;
        }
        if (const Condition condition = conditionOf(m_server, m_queue); condition.stopped)
            return failed(QStringLiteral("%1 The job was taken back.").arg(whyNot({true, true, condition.words}, nameOf(m_queue))));
        if (stopped && stopped())
            return failed(QStringLiteral("Printing was stopped; the job was taken back."));
        if (std::chrono::steady_clock::now() >= end)
            return ended(PrintOutcome::State::Taken, QStringLiteral("waiting or printing as %1").arg(job));
        std::this_thread::sleep_for(kLookEvery);
    }
}

PrintOutcome Job::run(const std::function<bool()> &stopped)
{
    const QString refused = QStringLiteral("The printer \"%1\" did not take the report: %2.");
    if (!create())
        return failed(refused.arg(nameOf(m_queue), lastWords()));
    if (!sendDocument(stopped))
        return failed(stopped && stopped() ? QStringLiteral("Printing was stopped; the job was taken back.")
                                           : refused.arg(nameOf(m_queue), m_words));
    return follow(stopped);
}

} // namespace

PrintQueueList printQueues()
{
    PrintQueueList list;
    const Server server = connectToServer();
    if (!server) {
        list.problem = noServerText();
        return list;
    }
    cups_dest_t *queues = nullptr;
    const int count = cupsGetDests2(server.get(), &queues);
    for (int i = 0; i < count; ++i)
        if (queues[i].instance == nullptr)
            list.queues.push_back({nameOf(&queues[i]), option(&queues[i], "printer-info"), queues[i].is_default != 0});
    cupsFreeDests(count, queues);
    return list;
}

QString whyNotPrintable(const QString &queue)
{
    const Server server = connectToServer();
    if (!server)
        return noServerText();
    QString problem;
    const Queue found = findQueue(server.get(), queue, problem);
    return found ? whyNot(conditionOf(server.get(), found.get()), nameOf(found.get())) : problem;
}

PrintOutcome printDocument(const PrintRequest &request, const std::function<bool()> &stopped)
{
    PrintOutcome outcome;
    outcome.queue = request.queue;
    const Server server = connectToServer();
    if (!server) {
        outcome.words = noServerText();
        return outcome;
    }
    const Queue queue = findQueue(server.get(), request.queue, outcome.words);
    if (!queue)
        return outcome;
    outcome.words = whyNot(conditionOf(server.get(), queue.get()), nameOf(queue.get()));
    return outcome.words.isEmpty() ? Job(server.get(), request, queue.get()).run(stopped) : outcome;
}

} // namespace qm
