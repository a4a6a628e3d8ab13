/// \file
/// The classic run-time errors: every helper that fails throws one of these.
#pragma once

#include <QString>

#include <cstdint>
#include <exception>

namespace qm {

/// Numbers of the classic run-time errors, as the operator sees them after "Error No:".
namespace err {
inline constexpr std::int32_t invalidProcedureCall = 5;
inline constexpr std::int32_t overflow = 6;
inline constexpr std::int32_t outOfMemory = 7;
inline constexpr std::int32_t subscriptOutOfRange = 9;
inline constexpr std::int32_t typeMismatch = 13;
inline constexpr std::int32_t outOfStackSpace = 28;
inline constexpr std::int32_t internalError = 51;
inline constexpr std::int32_t badFileName = 52;
inline constexpr std::int32_t fileNotFound = 53;
inline constexpr std::int32_t deviceIo = 57;
inline constexpr std::int32_t fileAlreadyExists = 58;
inline constexpr std::int32_t diskFull = 61;
inline constexpr std::int32_t permissionDenied = 70;
inline constexpr std::int32_t pathFileAccess = 75;
inline constexpr std::int32_t pathNotFound = 76;
inline constexpr std::int32_t objectNotSet = 91;
inline constexpr std::int32_t invalidFileFormat = 321;
inline constexpr std::int32_t cannotCreateObject = 429;
inline constexpr std::int32_t noSuchMember = 438;
inline constexpr std::int32_t duplicateKey = 457;
inline constexpr std::int32_t dialogCancelled = 32755;
inline constexpr std::int32_t indexOutOfBounds = 35600;
inline constexpr std::int32_t elementNotFound = 35601;
inline constexpr std::int32_t keyNotUnique = 35602;
/// Raised by a report run that ends on purpose without output; shown to nobody.
inline constexpr std::int32_t noOutputByRule = static_cast<std::int32_t>(0x80047689U);
inline constexpr std::int32_t cancelledByOperator = static_cast<std::int32_t>(0x80043B05U);
/// Errors of the report engine that have no classic number (SQL refused, parameter missing, ...).
inline constexpr std::int32_t reportFailed = static_cast<std::int32_t>(0x80043B00U);
} // namespace err

/// Source text of errors raised by the front end itself; also the title of every message box.
inline constexpr char kApplicationTitle[] = "Quillmark Report Generator";
/// Source text of errors raised by file readers, writers and the report engine.
inline constexpr char kFrameworkSource[] = "QMMPRptFW";

/// A run-time error: number, source, and a description that says what failed, where and what to do.
class RuntimeError final : public std::exception
{
public:
    RuntimeError(std::int32_t number, QString description, QString source = QString::fromLatin1(kApplicationTitle));

    [[nodiscard]] std::int32_t number() const noexcept { return m_number; }
    [[nodiscard]] const QString &description() const noexcept { return m_description; }
    [[nodiscard]] const QString &source() const noexcept { return m_source; }
    [[nodiscard]] const char *what() const noexcept override { return m_utf8.constData(); }

private:
    std::int32_t m_number;
    QString m_description;
    QString m_source;
    QByteArray m_utf8;
};

/// The classic wording of an error number ("File not found"); "Application-defined or object-defined error" for others.
[[nodiscard]] QString classicText(std::int32_t number);

/// Throws error \p number with its classic wording, followed by ": " and \p detail where there is one.
[[noreturn]] void raise(std::int32_t number, const QString &detail = {}, const char *source = kApplicationTitle);

} // namespace qm
