#pragma once

#include <cstdint>
#include <string>

namespace media_server {

/// Writes the bit fields of JPEG XL, least significant bit first.
class JpegXlBits {
 public:
  /// Starts with the signature.
  JpegXlBits() { Put(0x0AFF, 16); }

  JpegXlBits& Put(std::uint64_t value, unsigned count) {
    for (unsigned i = 0; i < count; ++i, ++bits_) {
      if (bits_ % 8 == 0) bytes_ += '\0';
      if ((value >> i & 1) != 0) bytes_.back() = static_cast<char>(bytes_.back() | 1 << (bits_ % 8));
    }
    return *this;
  }

  /// Of 14 bits: not small, height less one in 9 bits, width by a ratio.
  JpegXlBits& Size(std::uint32_t height, unsigned ratio) {
    return Put(0, 1).Put(0, 2).Put(height - 1, 9).Put(ratio, 3);
  }

  const std::string& Bytes() const { return bytes_; }

 private:
  std::string bytes_;
  unsigned bits_ = 0;
};

}  // namespace media_server
