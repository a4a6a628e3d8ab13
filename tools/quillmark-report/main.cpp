/// \file
/// quillmark-report: generates one report without a display.
#include "core/ErrorReporter.h"
#include "engine/run/QueryHome.h"
#include "engine/run/RunLedger.h"
#include "engine/sql/Period.h"
#include "platform/ApplicationLog.h"
#include "platform/EscapedText.h"
#include "platform/Files.h"
#include "platform/InstallationFolder.h"
#include "platform/ProgramStart.h"
#include "platform/Registry.h"
#include "platform/TemporaryFiles.h"
#include "quillmark-report/Interruption.h"
#include "quillmark-report/ReportCommand.h"
#include "sqlite/TemporaryFolder.h"

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
    print(stderr, QStringLiteral("quillmark-report: %1\n").arg(terminalText(text)));
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
        return QFileInfo(path + QLatin1String(kPackagesFile)).isFile() ? path : QString();
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
    const QString registered = registeredInstallation();
    const FoundInstallation above =
        installationAbove(queryFile.isEmpty() ? QDir::current().filePath(QStringLiteral("x")) : queryFile, registered);
    if (!above.passedOver.isEmpty())
        complain(
            QStringLiteral("%1 is not used as an installation: its folder or its \"Packages.ini\" belongs to another user, or everybody "
                           "may write it.")
                .arg(above.passedOver));
    return above.path.isEmpty() ? registered : above.path;
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
    const auto field = [](const QString &text) { return escapedText(text.simplified()); };
    const QString what = entry.description.isEmpty() ? entry.queryFile : entry.description;
    const QString outcome = !entry.error.isEmpty() ? entry.error : !entry.outputFile.isEmpty() ? entry.outputFile : entry.outputType;
    QString line = QStringLiteral("%1  %2  %3  %4 rows  %5  %6  %7\n")
                       .arg(entry.id, 6)
                       .arg(entry.startedUtc.isEmpty() ? QString() : field(entry.startedUtc) + QStringLiteral(" UTC"),
                            runWord(entry.status).leftJustified(11))
                       .arg(entry.rows, 8)
                       .arg(runWord(entry.trigger).leftJustified(12), field(what), field(outcome));
    for (const LedgerDelivery &delivery : entry.deliveries)
        line += QStringLiteral("        %1  %2  %3\n")
                    .arg(field(delivery.state).leftJustified(9), field(delivery.target), field(delivery.words));
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
    ledger.visit([](const LedgerEntry &entry) {
        print(stdout, historyLine(entry));
        return std::ferror(stdout) == 0;
    });
    return printed();
}

/// What programs that were killed left in the installation.
void sweepLeftFiles(const QString &installation)
{
    if (!installation.isEmpty())
        sweepTemporaries(installation);
    sweepWorkFolders();
}

int generate(ReportCommand &command)
{
    const QString installation = installationOf(command.queryFile);
    useTemporaryFolder();
    const SystemClock clock;
    ApplicationLog log(installation, QStringLiteral("quillmark-report"));
    RunLedger ledger(installation);
    ledger.markInterrupted(utcText(clock.now()));
    ledger.sweepFolders();
    sweepLeftFiles(installation);
    command.options.cancel = std::make_shared<CancelFlag>();
    const Interruption interruption(command.options.cancel);
    ReportEngine engine({installation, fontFolder(), clock, log});
    const RunResult result = engine.run(command.queryFile, command.options);
    if (!result.note.isEmpty())
        complain(result.note);
    if (command.printRows)
        print(stdout, QStringLiteral("%1\n").arg(result.rows));
    else
        print(stdout, (result.outputFile.isEmpty() ? escapedText(result.delivered) : result.outputFile) + u'\n');
    return printed();
}

int resend(const ReportCommand &command)
{
    const QString installation = installationOf(command.queryFile);
    const SystemClock clock;
    ApplicationLog log(installation, QStringLiteral("quillmark-report"));
    const auto cancel = std::make_shared<CancelFlag>();
    const Interruption interruption(cancel);
    print(stdout, escapedText(ReportEngine({installation, fontFolder(), clock, log}).resend(command.run, cancel)) + u'\n');
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
    prepareProgram();
    // Without any locale, as under cron, names would be read as ASCII.
    if (qEnvironmentVariableIsEmpty("LC_ALL") && qEnvironmentVariableIsEmpty("LC_CTYPE") && qEnvironmentVariableIsEmpty("LANG"))
        qputenv("LC_CTYPE", "C.UTF-8");
    const QString unreadable = whyUnreadable(argc, argv);
    const QCoreApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    if (!unreadable.isEmpty()) {
        complain(unreadable);
        return kWrongUsage;
    }
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
