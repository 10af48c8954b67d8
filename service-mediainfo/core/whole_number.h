#pragma once

#include <cstdint>
#include <limits>

namespace service::mediainfo {

/// `value` cut to a whole number. Not-a-number and negative values give 0, too large ones the largest number.
inline std::uint64_t ToWholeNumber(double value) {
  constexpr double kEnd = 0x1p64;
  if (!(value > 0)) return 0;
  if (value >= kEnd) return std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(value);
}

}  // namespace service::mediainfo
