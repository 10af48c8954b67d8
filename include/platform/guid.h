#pragma once

#include <array>
#include <cstdint>

namespace platform {

/// A 16-byte identifier in Windows field order: the first three groups are numbers in host order, the rest are bytes.
/// {12345678-9ABC-DEF0-1122-334455667788} is {0x12345678, 0x9ABC, 0xDEF0, {0x11, 0x22, 0x33, ...}}.
struct Guid {
  std::uint32_t data1;
  std::uint16_t data2;
  std::uint16_t data3;
  std::array<std::uint8_t, 8> data4;

  friend constexpr bool operator==(const Guid&, const Guid&) = default;
};
static_assert(sizeof(Guid) == 16);

}  // namespace platform
