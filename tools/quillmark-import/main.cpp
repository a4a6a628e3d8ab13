/// \file
/// quillmark-import: loads log files into a package's event database.
#include "importing/EventImport.h"
#include "importing/ImportError.h"
#include "platform/EndSignals.h"
#include "platform/EscapedText.h"
#include "platform/ProgramStart.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kDone = 0, kFailed = 1, kWrongUsage = 2;

volatile std::sig_atomic_t interrupted = 0; // set by a signal, which can reach nothing else

void say(const QString &text)
{
    std::fprintf(stderr, "quillmark-import: %s\n", qm::terminalText(text).toUtf8().constData());
}

QCommandLineOption option(const char *name, const char *text, const char *value, const char *byDefault = "")
{
    return {QString::fromUtf8(name), QString::fromUtf8(text), QString::fromUtf8(value), QString::fromUtf8(byDefault)};
}

/// Reads the command line into \p request. \returns what is wrong with it; empty when nothing is.
QString readCommandLine(const QCommandLineParser &parser, qm::ImportRequest &request)
{
    request.database = parser.value(QStringLiteral("database"));
    if (request.database.isEmpty())
        return QStringLiteral("--database is missing: the event database to import into");
    const qm::EventSchema *schema = qm::eventSchema(parser.value(QStringLiteral("kind")).toStdString());
    if (schema == nullptr)
        return QStringLiteral("--kind has to be server, mail or file");
    request.kind = schema->kind;
    const auto format = qm::logFormat(parser.value(QStringLiteral("format")));
    if (!format)
        return QStringLiteral("--format has to be auto, csv, syslog, journald or evtxml");
    request.format = *format;
    if (request.kind != qm::EventKind::Server && request.format != qm::LogFormat::Automatic && request.format != qm::LogFormat::Csv)
        return QStringLiteral("--format %1 needs --kind server").arg(parser.value(QStringLiteral("format")));
    bool isNumber = false;
    request.waitSeconds = parser.value(QStringLiteral("wait")).toInt(&isNumber);
    constexpr int kLongestWait = 86'400;
    if (!isNumber || request.waitSeconds < 0 || request.waitSeconds > kLongestWait)
        return QStringLiteral("--wait has to be a number of seconds from 0 to 86400");
    request.inputs = parser.positionalArguments();
    return request.inputs.isEmpty() ? QStringLiteral("no input file is named") : QString();
}

void showProgress(const qm::InputFile &input, std::int64_t rows)
{
    const auto share = input.progress();
    const QByteArray name = qm::escapedText(input.name()).toUtf8();
    if (share)
        std::fprintf(stderr, "\r%s: %lld rows, %d %%   ", name.constData(), static_cast<long long>(rows), static_cast<int>(*share * 100));
    else
        std::fprintf(stderr, "\r%s: %lld rows   ", name.constData(), static_cast<long long>(rows));
    std::fflush(stderr);
}

int import(const qm::ImportRequest &request)
{
    const bool onTerminal = isatty(STDERR_FILENO) != 0;
    bool lineOpen = false;
    const auto endLine = [&] {
        if (lineOpen)
            std::fputc('\n', stderr);
        lineOpen = false;
    };
    qm::ImportListener listener;
    listener.note = [&](const QString &text) {
        endLine();
        say(text);
    };
    listener.stop = [] { return interrupted != 0; };
    if (onTerminal) {
        listener.progress = [&](const qm::InputFile &input, std::int64_t rows) {
            showProgress(input, rows);
            lineOpen = true;
        };
    }
    try {
        const qm::ImportResult result = qm::importEvents(request, listener);
        endLine();
        std::printf("%lld %s imported into %s%s\n", static_cast<long long>(result.rows), result.rows == 1 ? "row" : "rows",
                    qm::escapedText(request.database).toUtf8().constData(), result.createdSchema ? " (new database)" : "");
        return kDone;
    } catch (const qm::UncertainImport &error) {
        endLine();
        say(QString::fromUtf8(error.what()));
        return kFailed;
    } catch (const std::exception &error) {
        endLine();
        say(QString::fromUtf8(error.what()));
        say(QStringLiteral("nothing was imported"));
        return kFailed;
    }
}

} // namespace

int main(int argc, char *argv[])
{
    qm::prepareProgram();
    const QString unreadable = qm::whyUnreadable(argc, argv);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillmark-import"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMARK_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Loads log files into the event database of a package. All inputs arrive together, or none of them."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption(option("database", "the event database; made when it does not exist", "FILE"));
    parser.addOption(option("kind", "the kind of events: server, mail or file", "KIND"));
    parser.addOption(option("format", "auto, csv, syslog, journald or evtxml; all but csv need --kind server", "FORMAT", "auto"));
    parser.addOption(option("wait", "how long to wait while another program writes to the database", "SECONDS", "120"));
    parser.addPositionalArgument(QStringLiteral("INPUT"), QStringLiteral("log files; - is standard input"), QStringLiteral("INPUT..."));
    qm::ImportRequest request;
    const bool parsed = parser.parse(QCoreApplication::arguments());
    if (parsed && parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    if (parsed && parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    const QString wrong = !unreadable.isEmpty() ? unreadable : parsed ? readCommandLine(parser, request) : parser.errorText();
    if (!wrong.isEmpty()) {
        say(wrong);
        say(QStringLiteral(
            "usage: quillmark-import --database FILE --kind server|mail|file [--format auto|csv|syslog|journald|evtxml] INPUT..."));
        return kWrongUsage;
    }
    qm::handleEndSignals([](int) { interrupted = 1; });
    return import(request);
}
