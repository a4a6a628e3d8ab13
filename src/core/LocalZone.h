/// \file
/// The machine's time zone, as the operating system knows it.
#pragma once

#include <cstdint>

namespace qm::zone {

/// Reads the machine's zone settings again, so that a change made while the program runs counts.
void refresh() noexcept;
/// Seconds that the local wall clock is ahead of UTC at \p unixSecond (seconds since 1970-01-01 00:00:00 UTC).
[[nodiscard]] std::int64_t offsetAt(std::int64_t unixSecond) noexcept;

} // namespace qm::zone
