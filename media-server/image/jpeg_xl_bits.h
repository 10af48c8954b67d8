#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace media_server::image {

/// Reads the fields of a JPEG XL codestream (ISO/IEC 18181-1 annex B), least significant bit first. Past the end it
/// gives zeros and turns `Ok` false for good. Borrows the bytes.
class JpegXlBitReader {
 public:
  /// One of the four ways in which a number is written: an offset and as many bits as are added to it.
  struct Distribution {
    std::uint32_t offset;
    unsigned bits;
  };
  using Distributions = std::array<Distribution, 4>;

  explicit JpegXlBitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool Ok() const { return position_ <= bytes_.size() * 8; }

  std::uint32_t Bits(unsigned count) {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i) {
      const std::size_t at = position_ + i;
      if (at < bytes_.size() * 8) value |= static_cast<std::uint32_t>(bytes_[at / 8] >> (at % 8) & 1) << i;
    }
    position_ += count;
    return value;
  }

  bool Bool() { return Bits(1) != 0; }
  void Skip(std::size_t count) { position_ += count; }
  /// As many 16-bit floating point numbers.
  void SkipF16(std::size_t count) { Skip(count * 16); }
  void SkipToByte() { position_ = (position_ + 7) / 8 * 8; }

  /// Bytes that were read, the last one perhaps in part.
  std::size_t BytesRead() const { return (position_ + 7) / 8; }

  /// U32(): two bits choose the distribution.
  std::uint32_t U32(const Distributions& distributions) {
    const Distribution& chosen = distributions[Bits(2)];
    return chosen.offset + Bits(chosen.bits);
  }

  std::uint32_t Enum() { return U32({{{0, 0}, {1, 0}, {2, 4}, {18, 6}}}); }

  std::uint64_t U64() {
    switch (Bits(2)) {
      case 0:
        return 0;
      case 1:
        return 1 + Bits(4);
      case 2:
        return 17 + Bits(8);
      default:
        break;
    }
    constexpr unsigned kLastShift = 60;
    std::uint64_t value = Bits(12);
    for (unsigned shift = 12; Bool(); shift += 8) {
      if (shift == kLastShift) return value | std::uint64_t{Bits(4)} << shift;
      value |= std::uint64_t{Bits(8)} << shift;
    }
    return value;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;  // in bits
};

}  // namespace media_server::image
