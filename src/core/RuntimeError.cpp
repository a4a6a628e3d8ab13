#include "core/RuntimeError.h"

#include <array>

namespace qm {

namespace {

struct Wording
{
    std::int32_t number;
    const char *text;
};

constexpr std::array kWordings{
    Wording{err::invalidProcedureCall, "Invalid procedure call or argument"},
    Wording{err::overflow, "Overflow"},
    Wording{err::outOfMemory, "Out of memory"},
    Wording{err::subscriptOutOfRange, "Subscript out of range"},
    Wording{err::typeMismatch, "Type mismatch"},
    Wording{err::outOfStackSpace, "Out of stack space"},
    Wording{err::internalError, "Internal error"},
    Wording{err::badFileName, "Bad file name or number"},
    Wording{err::fileNotFound, "File not found"},
    Wording{err::deviceIo, "Device I/O error"},
    Wording{err::fileAlreadyExists, "File already exists"},
    Wording{err::diskFull, "Disk full"},
    Wording{err::permissionDenied, "Permission denied"},
    Wording{err::pathFileAccess, "Path/File access error"},
    Wording{err::pathNotFound, "Path not found"},
    Wording{err::objectNotSet, "Object variable or With block variable not set"},
    Wording{err::invalidFileFormat, "Invalid file format"},
    Wording{err::cannotCreateObject, "ActiveX component can't create object"},
    Wording{err::noSuchMember, "Object doesn't support this property or method"},
    Wording{err::duplicateKey, "This key is already associated with an element of this collection"},
    Wording{err::dialogCancelled, "Cancel was selected"},
    Wording{err::indexOutOfBounds, "Index out of bounds"},
    Wording{err::elementNotFound, "Element not found"},
    Wording{err::keyNotUnique, "Key is not unique in collection"},
};

} // namespace

RuntimeError::RuntimeError(std::int32_t number, QString description, QString source)
    : m_number(number), m_description(std::move(description)), m_source(std::move(source)), m_utf8(m_description.toUtf8())
{
}

QString classicText(std::int32_t number)
{
    for (const Wording &wording : kWordings)
        if (wording.number == number)
            return QString::fromLatin1(wording.text);
    return QStringLiteral("Application-defined or object-defined error");
}

void raise(std::int32_t number, const QString &detail, const char *source)
{
    QString description = classicText(number);
    if (!detail.isEmpty())
        description += QStringLiteral(": ") + detail;
    throw RuntimeError(number, std::move(description), QString::fromLatin1(source));
}

} // namespace qm
