/// \file
/// How the importers fail: with sentences that stand on their own.
#pragma once

#include "core/RuntimeError.h"

#include <stdexcept>
#include <string_view>

namespace qm {

/// An import whose end failed: what() says what is known of its rows.
class UncertainImport final : public std::runtime_error
{
public:
    explicit UncertainImport(const QString &text) : std::runtime_error(text.toStdString()) {}
};

/// Throws a run-time error of the framework whose description is \p text alone.
[[noreturn]] inline void failImport(std::int32_t number, const QString &text)
{
    throw RuntimeError(number, text, QString::fromLatin1(kFrameworkSource));
}

/// The input is not what it has to be. The caller adds file and line.
[[noreturn]] inline void refuseInput(const QString &text)
{
    failImport(err::invalidFileFormat, text);
}

[[nodiscard]] inline QString toQt(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

} // namespace qm
