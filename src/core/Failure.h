/// \file
/// Failures of a report run, told in the engine's own words.
#pragma once

#include "core/RuntimeError.h"

namespace qm {

/// Throws error reportFailed, which has no classic wording: \p text says what failed, where, and what to do.
[[noreturn]] inline void failReport(const QString &text)
{
    throw RuntimeError(err::reportFailed, text, QString::fromLatin1(kFrameworkSource));
}

} // namespace qm
