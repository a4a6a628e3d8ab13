/// \file
/// Single values as ODBC gives them, turned into the engine's.
#pragma once

#include "documents/Value.h"
#include "platform/OdbcApi.h"

#include <optional>
#include <string_view>

namespace qm::odbc_values {

/// Bytes that write() needs at most.
inline constexpr std::size_t kRoom = 40;

/// "YYYY-MM-DD". \returns the end.
char *write(const SQL_DATE_STRUCT &date, char *out);
/// "YYYY-MM-DD HH:MM:SS", with a fraction of 3, 6 or 9 digits where there is one. \returns the end.
char *write(const SQL_TIMESTAMP_STRUCT &time, char *out);

/// The double with the shortest text of \p number: 0.1f is 0.1, not 0.10000000149.
[[nodiscard]] double widened(float number);
/// A decimal's text as an integer, or as a real when that reads back as the same digits; nothing when neither holds it exactly.
[[nodiscard]] std::optional<Value> exactNumber(std::string_view digits);
/// "12:30:00.500000" without the zeros behind the last digit of the fraction, and without an empty fraction.
[[nodiscard]] std::string_view withoutTrailingZeros(std::string_view time);

} // namespace qm::odbc_values
