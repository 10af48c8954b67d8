#pragma once

#include <cstdint>

#include "core/rational.h"

namespace core {

/// Divides both parts by their greatest common divisor; the sign stays where it is. A fraction with a zero part is
/// logged and left as it is. Always 0.
std::uint32_t Normalize(Rational& rational);

}  // namespace core
