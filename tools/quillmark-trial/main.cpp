/// \file
/// quillmark-trial: lays out an installation with sample events, to try the program with.
#include "TrialInstallation.h"
#include "core/RuntimeError.h"
#include "platform/EscapedText.h"
#include "platform/ProgramStart.h"
#include "platform/Registry.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace {

constexpr int kDone = 0, kFailed = 1, kWrongUsage = 2;

void complain(const QString &text)
{
    std::fprintf(stderr, "quillmark-trial: %s\n", qm::terminalText(text).toUtf8().constData());
}

void tell(const QString &text)
{
    std::printf("%s\n", text.toUtf8().constData());
}

/// The samples that came with the program: beside it in a build, in "share" when it is installed.
QString shippedSamples()
{
    const QString program = QCoreApplication::applicationDirPath();
    for (const char *place : {"/../share/quillmark/samples", "/samples", "/../../../samples"}) {
        const QString folder = QDir::cleanPath(program + QString::fromLatin1(place));
        if (QFileInfo::exists(folder + QStringLiteral("/packages")))
            return folder;
    }
    return QDir::cleanPath(program + QStringLiteral("/../share/quillmark/samples"));
}

/// The help file that came with the program; empty when it has none.
QString shippedHelp()
{
    const QString program = QCoreApplication::applicationDirPath();
    for (const char *place : {"", "/../share/quillmark"}) {
        const QString file = program + QString::fromLatin1(place) + QStringLiteral("/Report Generator.chm");
        if (QFileInfo(file).isFile())
            return file;
    }
    return {};
}

/// When the events end: with the whole of a given day, else with the hour that has passed.
std::optional<qm::EventTime> endOfEvents(const QString &day)
{
    if (day.isEmpty()) {
        constexpr qint64 kHourMs = 3'600'000;
        return QDateTime::currentMSecsSinceEpoch() / kHourMs * kHourMs;
    }
    const QDate date = QDate::fromString(day, Qt::ISODate);
    constexpr int kFirstYear = 1971, kLastYear = 9998;
    if (!date.isValid() || date.year() < kFirstYear || date.year() > kLastYear)
        return std::nullopt;
    return date.addDays(1).startOfDay(Qt::UTC).toMSecsSinceEpoch();
}

/// \returns what is wrong with the command line; empty when nothing is.
QString readCommandLine(const QCommandLineParser &parser, qm::TrialOptions &options)
{
    options.to = parser.value(QStringLiteral("to"));
    if (options.to.isEmpty())
        return QStringLiteral("--to is missing: the folder to make the installation in");
    options.samples = parser.isSet(QStringLiteral("samples")) ? parser.value(QStringLiteral("samples")) : shippedSamples();
    options.help = shippedHelp();
    bool isNumber = false;
    constexpr qint64 kMostRows = 1'000'000'000;
    options.rows = parser.value(QStringLiteral("rows")).toLongLong(&isNumber);
    if (!isNumber || options.rows < 0 || options.rows > kMostRows)
        return QStringLiteral("--rows has to be a number from 0 to 1000000000");
    options.seed = parser.value(QStringLiteral("seed")).toULongLong(&isNumber);
    if (!isNumber)
        return QStringLiteral("--seed has to be a whole number");
    const auto end = endOfEvents(parser.value(QStringLiteral("end")));
    if (!end)
        return QStringLiteral("--end has to be a date like 2026-11-20");
    options.end = *end;
    options.force = parser.isSet(QStringLiteral("force"));
    return parser.positionalArguments().isEmpty()
               ? QString()
               : QStringLiteral("\"%1\" is not an option").arg(parser.positionalArguments().constFirst());
}

void registerInstallation(const QString &folder)
{
    const QString key = QString::fromLatin1(qm::kRegistryKey), name = QStringLiteral("InstallPath");
    const QString path = qm::installationPath(folder);
    QString before;
    try {
        before = qm::registryString(key, name);
    } catch (const qm::RuntimeError &) { // nothing was registered
    }
    qm::setRegistryString(key, name, path);
    tell(before.isEmpty() || before == path ? QStringLiteral("Registered it as this machine's installation")
                                            : QStringLiteral("Registered it as this machine's installation in place of %1").arg(before));
}

void addOptions(QCommandLineParser &parser)
{
    const auto add = [&](const char *name, const char *text, const char *value, const char *byDefault) {
        parser.addOption(
            {QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value), QString::fromLatin1(byDefault)});
    };
    parser.setApplicationDescription(
        QStringLiteral("Lays out an installation with three packages, their report queries and sample events."));
    parser.addHelpOption();
    parser.addVersionOption();
    add("to", "the folder to make the installation in", "FOLDER", "");
    add("samples", "the folder that holds the sample queries, when they are not where the program looks", "FOLDER", "");
    add("rows", "events in each package", "N", "20000");
    add("end", "the last day with events (default: today, up to now)", "DATE", "");
    add("seed", "another number gives other events", "S", "1");
    add("register", "make it this machine's installation", "", "");
    add("force", "replace files that are there, event databases included", "", "");
}

} // namespace

int main(int argc, char *argv[])
{
    qm::prepareProgram();
    const QString unreadable = qm::whyUnreadable(argc, argv);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillmark-trial"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLMARK_VERSION));
    QCommandLineParser parser;
    addOptions(parser);
    const bool parsed = parser.parse(QCoreApplication::arguments());
    if (parsed && parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    if (parsed && parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    qm::TrialOptions options;
    const QString wrong = !unreadable.isEmpty() ? unreadable : parsed ? readCommandLine(parser, options) : parser.errorText();
    if (!wrong.isEmpty()) {
        complain(wrong);
        complain(QStringLiteral(
            "usage: quillmark-trial --to FOLDER [--rows N] [--end DATE] [--seed S] [--samples FOLDER] [--register] [--force]"));
        return kWrongUsage;
    }
    try {
        qm::TrialInstallation(options, tell).create();
        if (parser.isSet(QStringLiteral("register")))
            registerInstallation(options.to);
        return kDone;
    } catch (const std::exception &error) {
        complain(QString::fromUtf8(error.what()));
        return kFailed;
    }
}
