#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace media_server::codec {

/// Reads bits, most significant first, off a run of bytes that it borrows. A read past the end gives zero and turns
/// `Ok` false for good, so that a caller may check once after several reads; nothing outside the bytes is ever touched.
class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool Ok() const { return ok_; }
  std::size_t BitsLeft() const { return bytes_.size() * 8 - position_; }

  /// The next `count` bits as a number; `count` at most 32.
  std::uint32_t Bits(unsigned count);

  bool Flag() { return Bits(1) != 0; }

  void Skip(std::size_t count);

  /// Goes on to the next byte boundary; stays where it is on one.
  void AlignToByte() { Skip((8 - position_ % 8) % 8); }

  /// An unsigned Exp-Golomb code, ue(v) of the H.26x standards: 0 to 2^32 - 2. A longer prefix than that fails.
  std::uint32_t UnsignedGolomb();

  /// A signed Exp-Golomb code, se(v): -(2^31 - 1) to 2^31 - 1.
  std::int32_t SignedGolomb();

 private:
  void Fail();

  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;  // in bits
  bool ok_ = true;
};

}  // namespace media_server::codec
