#pragma once

#include <cstdint>
#include <limits>

namespace media_server {

/// A sum that stops at the largest number instead of wrapping around: places in a file that a broken size leads to lie
/// behind its end then.
inline std::uint64_t SaturatingAdd(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
  return a > kLargest - b ? kLargest : a + b;
}

}  // namespace media_server
