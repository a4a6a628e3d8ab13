/// \file
/// Numbers as text, the same under every locale.
#pragma once

#include <cstdint>
#include <string>

namespace qm::numbers {

/// Room that appendInteger() and appendShortest() may need.
inline constexpr std::size_t kMaxText = 32;

/// Writes decimal digits and gives the place behind them.
[[nodiscard]] char *writeInteger(std::int64_t value, char *out);
/// The shortest digits that read back as the same number; "NaN", "Infinity", "-Infinity".
[[nodiscard]] char *writeShortest(double value, char *out);

struct Pattern
{
    int minDecimals = 0, maxDecimals = 0;
    bool grouping = false; ///< thousands separated by commas
    int shift = 0;         ///< places the point moves to the right first; 2 shows 0.285 as 28.5
};

/// Rounds as a person does on paper: on the decimal digits a reader sees, halves away from zero (2.675 becomes 2.68). Point and commas are
/// English. \p value must be finite.
void appendFixed(double value, const Pattern &pattern, std::string &out);
void appendFixed(std::int64_t value, const Pattern &pattern, std::string &out);

/// "1 row", "1,234 rows".
[[nodiscard]] std::string counted(std::int64_t count, const char *one, const char *many);

} // namespace qm::numbers
