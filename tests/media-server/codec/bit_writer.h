#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace media_server::codec {

/// Composes headers for the tests, most significant bit first. The last byte is filled up with zero bits.
class BitWriter {
 public:
  BitWriter& Bits(std::uint64_t value, unsigned count) {
    for (unsigned bit = count; bit > 0; --bit) {
      if (used_ % 8 == 0) bytes_.push_back(0);
      const auto mask = static_cast<std::uint8_t>(((value >> (bit - 1)) & 1) << (7 - used_ % 8));
      bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | mask);
      ++used_;
    }
    return *this;
  }

  /// An unsigned Exp-Golomb code.
  BitWriter& Ue(std::uint64_t value) {
    const auto length = static_cast<unsigned>(std::bit_width(value + 1));
    return Bits(value + 1, 2 * length - 1);
  }

  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }
  unsigned BitCount() const { return used_; }

 private:
  std::vector<std::uint8_t> bytes_;
  unsigned used_ = 0;
};

/// The bytes of hexadecimal `text`; blanks are skipped.
inline std::vector<std::uint8_t> Hex(const char* text) {
  std::vector<std::uint8_t> bytes;
  unsigned digits = 0;
  for (; *text != '\0'; ++text) {
    if (*text == ' ') continue;
    const int digit = *text <= '9' ? *text - '0' : *text - 'a' + 10;
    if (digits++ % 2 == 0) bytes.push_back(0);
    bytes.back() = static_cast<std::uint8_t>(bytes.back() << 4 | digit);
  }
  return bytes;
}

}  // namespace media_server::codec
