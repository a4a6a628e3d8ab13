#include "core/ErrorReporter.h"

#include "core/Prompts.h"

#include <QCoreApplication>

#include <new>

namespace qm {

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("qm::ErrorReporter", text);
}

} // namespace

int ErrorReporter::ReportError(const QString &message, const QString &functionName, const QString &source, std::int32_t errorNumber,
                               const QString &description, int style) noexcept
{
    try {
        const QString line = QStringLiteral("\r\n");
        QString text = message;
        if (!functionName.isEmpty())
            text += line + line + translated("Function Name:  ") + functionName;
        if (!source.isEmpty())
            text += line + translated("Source:  ") + source;
        if (errorNumber != 0)
            text += line + translated("Error No:  ") + QString::number(errorNumber);
        if (!description.isEmpty())
            text += line + translated("Error Description:  ") + description;
        if (errorNumber != 0 && style == box::critical)
            text += line + line + translated("Important: Please contact Tarrowind - Technical Support with the above details");
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
    ReportError(QCoreApplication::translate("qm::Procedure", procedure.message), QString::fromUtf8(procedure.name),
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
