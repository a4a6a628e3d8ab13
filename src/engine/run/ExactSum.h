/// \file
/// Sums that are what a reader gets who adds the values up on paper.
#pragma once

#include "engine/rows/RowCells.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// A number that a text spells with digits alone: its sign, and its digits before and behind the point.
struct DecimalText
{
    bool negative = false;
    std::string_view whole, fraction;
};

/// "-12.50", "7", ".5"; blanks around it do not count. Nothing for any other text, "1e5" included.
[[nodiscard]] std::optional<DecimalText> parseDecimal(std::string_view text);

/// Whether \p value is a number, or a text that spells one ("1e5" included). NaN and the infinities are numbers only as reals.
[[nodiscard]] bool isNumber(const Value &value);
/// Compares two numbers (see isNumber) exactly, whichever way they are given.
[[nodiscard]] int compareNumbers(const Value &left, const Value &right);

/// Adds numbers up: integers and decimals exactly however large the sum gets, reals with the error of each step carried along (Neumaier,
/// "Rundungsfehleranalyse einiger Verfahren zur Summation endlicher Summen", 1974).
class ExactSum final
{
public:
    /// \p decimal: reals are decimals that a double holds unchanged, as columns of the types DECIMAL and NUMERIC have them.
    /// \returns false, and adds nothing, for what is no number.
    bool add(const Value &value, bool decimal = false);
    void add(const ExactSum &other);

    /// How many numbers have been added.
    [[nodiscard]] std::int64_t count() const { return m_count; }
    /// An integer where that holds the sum; the decimal's text where neither an integer nor a real holds it unchanged; a real where one was
    /// added; NULL of no numbers.
    [[nodiscard]] OwnedValue sum() const;
    /// The sum as the nearest real; 0 of no numbers.
    [[nodiscard]] double real() const;
    /// NULL of no numbers.
    [[nodiscard]] Value average() const;

private:
    __extension__ using Wide = __int128;

    void addDecimal(const DecimalText &number);
    void addReal(double real);
    [[nodiscard]] std::int64_t &limb(int index);
    void carry();
    [[nodiscard]] std::string exactText() const;

    Wide m_integers = 0;
    std::vector<std::int64_t> m_limbs; ///< of the decimals, base 10^9, the lowest first; each may have either sign
    int m_lowest = 0;                  ///< the power of 10^9 of the first
    std::uint32_t m_uncarried = 0;
    std::size_t m_scale = 0; ///< digits behind the point, as the decimals have them
    bool m_hasDecimals = false, m_hasReals = false;
    double m_reals = 0, m_lost = 0;
    double m_infinite = 0; ///< the sum of infinities and NaN
    std::int64_t m_count = 0;
};

} // namespace qm
