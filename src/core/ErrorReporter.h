/// \file
/// The single error reporter, and the trap that every specified procedure runs in.
#pragma once

#include "core/RuntimeError.h"

#include <initializer_list>
#include <optional>
#include <type_traits>
#include <utility>

namespace qm {

class Prompts;

/// The fixed words of one procedure's report. One constant per procedure, in a table beside its class.
struct Procedure
{
    const char *name;             ///< function name as reported
    const char *message;          ///< fixed first line
    const char *source = nullptr; ///< module file name; nullptr: the error's own source
};

/// Builds and shows the one message box of a failure; also the general question box.
class ErrorReporter final
{
public:
    explicit ErrorReporter(Prompts &prompts) noexcept : m_prompts(prompts) {}

    /// Shows \p message, then the lines for those of the other values that are not empty, with the given box style.
    /// \returns the button pressed (classic result), 0 when the box itself failed.
    int ReportError(const QString &message, const QString &functionName, const QString &source, std::int32_t errorNumber,
                    const QString &description, int style) noexcept;

    /// A question or notice: only \p message is shown.
    int ReportError(const QString &message, int style) noexcept { return ReportError(message, {}, {}, 0, {}, style); }

    /// Reports the exception in flight as a failure of \p procedure. Call only inside a catch block.
    void reportCurrent(const Procedure &procedure) noexcept;

private:
    Prompts &m_prompts;
};

/// The exception in flight as a run-time error (other exceptions become 51 and keep their text; out of memory becomes 7). Call only inside
/// a catch block.
[[nodiscard]] RuntimeError currentError() noexcept;

/// Runs the body of a specified procedure so that no error leaves it: an error is reported once and the result is R{}.
/// Guards inside the body have ended before the box is shown.
template <class Body>
std::invoke_result_t<Body> trap(ErrorReporter &errors, const Procedure &procedure, Body &&body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        errors.reportCurrent(procedure);
    }
    return std::invoke_result_t<Body>();
}

/// The trap of procedures that report nothing.
template <class Body>
std::invoke_result_t<Body> trapSilently(Body &&body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (...) { // NOLINT(bugprone-empty-catch): this handler is specified to swallow
    }
    return std::invoke_result_t<Body>();
}

/// Runs the body and gives the error that left it, if any: for procedures with a failure path of their own.
template <class Body>
std::optional<RuntimeError> attempt(Body &&body) noexcept
{
    try {
        std::forward<Body>(body)();
    } catch (...) {
        return currentError();
    }
    return std::nullopt;
}

/// The trap of procedures that end silently on some error numbers and report every other.
template <class Body>
std::invoke_result_t<Body> trapExcept(ErrorReporter &errors, const Procedure &procedure, std::initializer_list<std::int32_t> quiet,
                                      Body &&body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (const RuntimeError &error) {
        for (const std::int32_t number : quiet)
            if (number == error.number())
                return std::invoke_result_t<Body>();
        errors.reportCurrent(procedure);
    } catch (...) {
        errors.reportCurrent(procedure);
    }
    return std::invoke_result_t<Body>();
}

} // namespace qm
