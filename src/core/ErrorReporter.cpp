#include "core/ErrorReporter.h"

#include "core/Prompts.h"

#include <new>

namespace qm {

int ErrorReporter::ReportError(const QString &message, const QString &functionName, const QString &source, std::int32_t errorNumber,
                               const QString &description, int style) noexcept
{
    try {
        const QString line = QStringLiteral("\r\n");
        QString text = message;
        if (!functionName.isEmpty())
            text += line + line + QStringLiteral("Function Name:  ") + functionName;
        if (!source.isEmpty())
            text += line + QStringLiteral("Source:  ") + source;
        if (errorNumber != 0)
            text += line + QStringLiteral("Error No:  ") + QString::number(errorNumber);
        if (!description.isEmpty())
            text += line + QStringLiteral("Error Description:  ") + description;
        if (errorNumber != 0 && style == box::critical)
            text += line + line + QStringLiteral("Important: Please contact Tarrowind - Technical Support with the above details");
        const int pressed = m_prompts.messageBox(text, style, QString::fromLatin1(kApplicationTitle));
        m_prompts.pointer(0);
        return pressed;
    } catch (...) { // NOLINT(bugprone-empty-catch): nobody is left to tell
    }
    return 0;
}

void ErrorReporter::reportCurrent(const Procedure &procedure) noexcept
{
    const RuntimeError error = currentError();
    ReportError(QString::fromUtf8(procedure.message), QString::fromUtf8(procedure.name),
                procedure.source == nullptr ? error.source() : QString::fromUtf8(procedure.source), error.number(), error.description(),
                box::critical);
}

RuntimeError currentError() noexcept
{
    const QString source = QString::fromLatin1(kApplicationTitle);
    try {
        throw;
    } catch (const RuntimeError &error) {
        return error;
    } catch (const std::bad_alloc &) {
        return {err::outOfMemory, classicText(err::outOfMemory), source};
    } catch (const std::exception &error) {
        return {err::internalError, classicText(err::internalError) + QStringLiteral(": ") + QString::fromUtf8(error.what()), source};
    } catch (...) {
        return {err::internalError, classicText(err::internalError), source};
    }
}

} // namespace qm
