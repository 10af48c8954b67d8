#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "core/log.h"

namespace core {

/// A 128-bit identifier, bytes in the order in which its text shows them.
class CORE_API Uuid {
 public:
  /// Reads the canonical form of 36 characters (8-4-4-4-12 hexadecimal digits of either case). Returns false and
  /// changes nothing when `text` is null or of another form.
  bool FromString(const char* text);
  /// Canonical form with upper-case digits.
  std::string ToString() const;

  const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }
  friend bool operator==(const Uuid&, const Uuid&) = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace core
