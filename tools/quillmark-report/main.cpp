/// \file
/// quillmark-report: generates one report without a display.
#include "core/ErrorReporter.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "platform/Registry.h"
#include "quillmark-report/Interruption.h"
#include "quillmark-report/ReportCommand.h"
#include "reporting/engine/Period.h"
#include "reporting/engine/QueryHome.h"
#include "reporting/engine/RunLedger.h"
#include "reporting/engine/TemporaryFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <clocale>
#include <cstdio>

namespace {

using namespace qm;

constexpr int kDone = 0, kFailed = 1, kWrongUsage = 2;

void print(std::FILE *stream, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    std::fwrite(utf8.constData(), 1, static_cast<std::size_t>(utf8.size()), stream);
}

void complain(const QString &text)
{
    print(stderr, QStringLiteral("quillmark-report: %1\n").arg(text));
}

/// \returns kDone when all that was printed arrived.
int printed()
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return kDone;
    complain(QStringLiteral("Standard output could not be written: %1.").arg(qt_error_string()));
    return kFailed;
}

/// The registered installation, where there is one that is an installation.
QString registeredInstallation()
{
    try {
        const QString path = GetInstallPath();
        return QFileInfo(path + QStringLiteral("Packages.ini")).isFile() ? path : QString();
    } catch (const RuntimeError &) {
        return {};
    }
}

/// Why registeredInstallation() found none.
QString whyNoneIsRegistered()
{
    try {
        return QStringLiteral("the folder \"%1\" holds no \"Packages.ini\"").arg(GetInstallPath());
    } catch (const RuntimeError &error) {
        return error.description();
    }
}

QString installationOf(const QString &queryFile)
{
    const QString above = installationAbove(queryFile.isEmpty() ? QDir::current().filePath(QStringLiteral("x")) : queryFile);
    return above.isEmpty() ? registeredInstallation() : above;
}

/// In the build the fonts lie beside the program, installed below share.
QString fontFolder()
{
    const QString program = QCoreApplication::applicationDirPath();
    const QString beside = program + QStringLiteral("/fonts");
    return QFileInfo(beside).isDir() ? beside : QDir::cleanPath(program + QStringLiteral("/../share/quillmark/fonts"));
}

/// One run a line, and one for each recipient or printer.
QString historyLine(const LedgerEntry &entry)
{
    const auto field = [](const QString &text) { return text.simplified(); };
    const QString what = entry.description.isEmpty() ? entry.queryFile : entry.description;
    const QString outcome = !entry.error.isEmpty() ? entry.error : !entry.outputFile.isEmpty() ? entry.outputFile : entry.outputType;
    QString line =
        QStringLiteral("%1  %2  %3  %4 rows  %5  %6  %7\n")
            .arg(entry.id, 6)
            .arg(entry.startedUtc.isEmpty() ? QString() : entry.startedUtc + QStringLiteral(" UTC"), entry.status.leftJustified(11))
            .arg(entry.rows, 8)
            .arg(entry.trigger.leftJustified(12), field(what), field(outcome));
    for (const LedgerDelivery &delivery : entry.deliveries)
        line += QStringLiteral("        %1  %2  %3\n").arg(delivery.state.leftJustified(9), field(delivery.target), field(delivery.words));
    return line;
}

int showHistory(const ReportCommand &command)
{
    const QString installation = installationOf(command.queryFile);
    if (installation.isEmpty()) {
        complain(QStringLiteral("There is no installation here, and none is registered: %1. Name a query file of an installation.")
                     .arg(whyNoneIsRegistered()));
        return kFailed;
    }
    RunLedger ledger(installation);
    ledger.markInterrupted(utcText(SystemClock().now()));
    for (const LedgerEntry &entry : ledger.list())
        print(stdout, historyLine(entry));
    return printed();
}

int generate(ReportCommand &command)
{
    const QString installation = installationOf(command.queryFile);
    useTemporaryFolder();
    const SystemClock clock;
    ApplicationLog log(installation, QStringLiteral("quillmark-report"));
    RunLedger(installation).markInterrupted(utcText(clock.now()));
    command.options.cancel = std::make_shared<CancelFlag>();
    const Interruption interruption(command.options.cancel);
    ReportEngine engine({installation, fontFolder(), clock, log});
    const RunResult result = engine.run(command.queryFile, command.options);
    if (!result.note.isEmpty())
        complain(result.note);
    if (command.printRows)
        print(stdout, QStringLiteral("%1\n").arg(result.rows));
    else
        print(stdout, (result.outputFile.isEmpty() ? result.delivered : result.outputFile) + u'\n');
    return printed();
}

int resend(const ReportCommand &command)
{
    const QString installation = installationOf(command.queryFile);
    const SystemClock clock;
    ApplicationLog log(installation, QStringLiteral("quillmark-report"));
    const auto cancel = std::make_shared<CancelFlag>();
    const Interruption interruption(cancel);
    print(stdout, ReportEngine({installation, fontFolder(), clock, log}).resend(command.run, cancel) + u'\n');
    return printed();
}

int act(const QStringList &arguments)
{
    ReportCommand command = readCommand(arguments);
    switch (command.action) {
    case ReportCommand::Action::Help:
        print(stdout, usageText());
        return kDone;
    case ReportCommand::Action::Version:
        print(stdout, QStringLiteral("quillmark-report " QUILLMARK_VERSION "\n"));
        return kDone;
    case ReportCommand::Action::History:
        return showHistory(command);
    case ReportCommand::Action::Resend:
        return resend(command);
    case ReportCommand::Action::Generate:
        break;
    }
    return generate(command);
}

} // namespace

int main(int argc, char *argv[])
{
    // Without any locale, as under cron, names would be read as ASCII.
    if (qEnvironmentVariableIsEmpty("LC_ALL") && qEnvironmentVariableIsEmpty("LC_CTYPE") && qEnvironmentVariableIsEmpty("LANG"))
        qputenv("LC_CTYPE", "C.UTF-8");
    const QCoreApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    try {
        return act(QCoreApplication::arguments().mid(1));
    } catch (const UsageError &error) {
        complain(QString::fromUtf8(error.what()) + QStringLiteral(" Try quillmark-report --help."));
        return kWrongUsage;
    } catch (...) {
        complain(currentError().description());
        return kFailed;
    }
}
