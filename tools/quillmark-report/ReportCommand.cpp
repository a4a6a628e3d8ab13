#include "quillmark-report/ReportCommand.h"

#include "framework/ReportFormat.h"

#include <QCommandLineParser>

namespace qm {

namespace {

QDate readDate(const QCommandLineParser &parser, const QString &option)
{
    if (!parser.isSet(option))
        return {};
    const QDate date = QDate::fromString(parser.value(option), QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid())
        throw UsageError(QStringLiteral("--%1 \"%2\" is no date. Write it as YYYY-MM-DD.").arg(option, parser.value(option)));
    return date;
}

QMap<QString, QString> readParameters(const QCommandLineParser &parser)
{
    QMap<QString, QString> parameters;
    for (const QString &text : parser.values(QStringLiteral("param"))) {
        const qsizetype equals = text.indexOf(u'=');
        if (equals < 1)
            throw UsageError(QStringLiteral("--param \"%1\" is not of the form NAME=VALUE.").arg(text));
        const QString name = text.left(equals);
        if (parameters.contains(name))
            throw UsageError(QStringLiteral("--param %1 is given twice.").arg(name));
        parameters.insert(name, text.mid(equals + 1));
    }
    return parameters;
}

void addOptions(QCommandLineParser &parser)
{
    const auto add = [&](const QStringList &names, const char *value = nullptr) {
        parser.addOption({names, QString(), value ? QString::fromLatin1(value) : QString()});
    };
    add({QStringLiteral("format")}, "format");
    add({QStringLiteral("output"), QStringLiteral("o")}, "file");
    add({QStringLiteral("param")}, "name=value");
    add({QStringLiteral("from")}, "date");
    add({QStringLiteral("to")}, "date");
    add({QStringLiteral("all-time")});
    add({QStringLiteral("database")}, "file");
    add({QStringLiteral("rows")});
    add({QStringLiteral("history")});
    add({QStringLiteral("resend")}, "run");
    add({QStringLiteral("help"), QStringLiteral("h")});
    add({QStringLiteral("version"), QStringLiteral("v")});
}

std::optional<QString> valueOf(const QCommandLineParser &parser, const char *option)
{
    const QString name = QString::fromLatin1(option);
    if (!parser.isSet(name))
        return std::nullopt;
    if (parser.values(name).size() > 1)
        throw UsageError(QStringLiteral("--%1 is given twice.").arg(name));
    if (parser.value(name).isEmpty())
        throw UsageError(QStringLiteral("--%1 needs a value.").arg(name));
    return parser.value(name);
}

RunOptions readOptions(const QCommandLineParser &parser)
{
    RunOptions options;
    options.trigger = RunTrigger::CommandLine;
    if (const auto format = valueOf(parser, "format")) {
        options.format = formatOfWord(*format);
        if (!options.format)
            throw UsageError(QStringLiteral("--format \"%1\" is not known. Choose %2.").arg(*format, formatChoices()));
    }
    options.outputFile = valueOf(parser, "output");
    options.database = valueOf(parser, "database");
    options.parameters = readParameters(parser);
    options.from = readDate(parser, QStringLiteral("from"));
    options.to = readDate(parser, QStringLiteral("to"));
    options.allTime = parser.isSet(QStringLiteral("all-time"));
    if (options.allTime && (options.from.isValid() || options.to.isValid()))
        throw UsageError(QStringLiteral("--all-time and --from or --to exclude each other."));
    if (options.from.isValid() && options.to.isValid() && options.from > options.to)
        throw UsageError(QStringLiteral("--from lies after --to."));
    return options;
}

} // namespace

ReportCommand readCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(QStringList(QStringLiteral("quillmark-report")) + arguments))
        throw UsageError(parser.errorText());
    ReportCommand command;
    if (parser.isSet(QStringLiteral("help"))) {
        command.action = ReportCommand::Action::Help;
        return command;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        command.action = ReportCommand::Action::Version;
        return command;
    }
    const QStringList files = parser.positionalArguments();
    if (files.size() > 1)
        throw UsageError(QStringLiteral("More than one query file is named: %1.").arg(files.join(QStringLiteral(", "))));
    command.queryFile = files.value(0);
    if (parser.isSet(QStringLiteral("history"))) {
        command.action = ReportCommand::Action::History;
        return command;
    }
    if (const auto run = valueOf(parser, "resend")) {
        command.action = ReportCommand::Action::Resend;
        command.run = run->toLongLong();
        if (command.run < 1)
            throw UsageError(QStringLiteral("--resend \"%1\" is no number of a run. --history lists them.").arg(*run));
        return command;
    }
    if (command.queryFile.isEmpty())
        throw UsageError(QStringLiteral("No query file is named."));
    command.options = readOptions(parser);
    command.printRows = parser.isSet(QStringLiteral("rows"));
    command.options.countOnly = command.printRows && !command.options.outputFile;
    return command;
}

QString usageText()
{
    return QStringLiteral(R"(Usage: quillmark-report [OPTION]... QUERY.rqn
       quillmark-report --history [QUERY.rqn]
       quillmark-report --resend RUN [QUERY.rqn]
Generates the report of one query file without a display.

  --format pdf|html|xlsx|csv  the output's format; without it, that of --output's suffix, then the query's
  --output FILE               writes exactly FILE, replacing it; without it, the query's output settings hold: a file in "Reports", a printer,
                              or e-mail
  --param NAME=VALUE          a value for the query's parameter NAME; may be given again for others
  --from DATE --to DATE       the period, both days included (YYYY-MM-DD, local time)
  --all-time                  the whole time
  --database FILE             reads this SQLite file in place of the package's event database
  --rows                      prints the number of rows, and nothing else, on standard output; without --output no file is written
  --history                   lists the installation's report runs, the newest first; indented, who got an e-mailed or printed one
  --resend RUN                sends the e-mail of that run again to those who do not have it, or may not have it
  --help, --version

Exit status: 0 done, 1 failed (standard error says why), 2 wrong usage.
)");
}

} // namespace qm
