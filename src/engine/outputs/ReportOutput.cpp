#include "engine/outputs/ReportOutput.h"

#include "core/Failure.h"
#include "engine/outputs/CountOutput.h"
#include "engine/outputs/FileOutput.h"
#include "engine/outputs/MailOutput.h"
#include "engine/outputs/PrintOutput.h"
#include "engine/outputs/ScreenOutput.h"

#include <QDir>
#include <QFileInfo>

namespace qm {

std::unique_ptr<ReportOutput> makeOutput(const OutputChoices &choices, const OutputContext &context)
{
    OutputContext chosen = context;
    if (choices.format)
        chosen.format = *choices.format;
    else if (choices.outputFile)
        chosen.format = formatOfFile(*choices.outputFile).value_or(context.format);
    if (choices.countOnly)
        return std::make_unique<CountOutput>();
    if (choices.outputFile)
        return std::make_unique<FileOutput>(chosen, QDir::toNativeSeparators(QFileInfo(*choices.outputFile).absoluteFilePath()));
    switch (static_cast<OutputKind>(context.settings.OutputType)) {
    case OutputKind::Email:
        return std::make_unique<MailOutput>(chosen);
    case OutputKind::Printer:
        if (!choices.format)
            return std::make_unique<PrintOutput>(chosen);
        break;
    case OutputKind::Screen:
        if (!choices.format)
            return std::make_unique<ScreenOutput>(choices.screen);
        break;
    case OutputKind::File:
        break;
    default:
        if (!choices.format)
            failReport(
                QStringLiteral("The query's output has the code %1, which this version does not know. Choose an output in its output "
                               "settings, or name an output file for this run.")
                    .arg(context.settings.OutputType));
    }
    return std::make_unique<FileOutput>(chosen, OutputPattern::inReports(chosen));
}

} // namespace qm
