/// \file
/// Numbers as people type them into a settings field, by one fixed set of rules whatever the locale.
#pragma once

#include <QStringView>

#include <cstdint>
#include <optional>

namespace qm {

/// The value of a numeric text: outer blanks, a sign, an integer part with or without "," between groups of three digits, a decimal point,
/// an exponent. Empty, "inf", "nan", hexadecimal and anything beyond a double is not numeric.
[[nodiscard]] std::optional<double> numericValue(QStringView text);

/// \p value rounded to the nearest whole number, halves to even. \throws RuntimeError 6 outside 32 bits, 13 when the text is not numeric.
[[nodiscard]] std::int32_t roundedInteger(QStringView text);

} // namespace qm
