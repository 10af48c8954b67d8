#pragma once

#include <cstdint>

namespace core {

/// A fraction. Nothing keeps it reduced, and nothing keeps its denominator positive or non-zero.
struct Rational {
  std::int64_t numerator = 0;
  std::int64_t denominator = 0;

  friend constexpr bool operator==(const Rational&, const Rational&) = default;
};

}  // namespace core
