#include "media-server/codec/bit_reader.h"

#include <algorithm>

namespace media_server::codec {

std::uint32_t BitReader::Bits(unsigned count) {
  if (count > BitsLeft()) {
    Fail();
    return 0;
  }
  std::uint64_t value = 0;
  for (unsigned left = count; left > 0;) {
    const unsigned offset = position_ % 8;
    const unsigned taken = std::min(left, 8 - offset);
    const unsigned byte = bytes_[position_ / 8];
    value = value << taken | ((byte >> (8 - offset - taken)) & ((1U << taken) - 1));
    position_ += taken;
    left -= taken;
  }
  return static_cast<std::uint32_t>(value);
}

void BitReader::Skip(std::size_t count) {
  if (count > BitsLeft()) return Fail();
  position_ += count;
}

std::uint32_t BitReader::UnsignedGolomb() {
  unsigned zeros = 0;
  while (Ok() && !Flag()) ++zeros;
  if (zeros > 31) Fail();
  if (!Ok()) return 0;
  const std::uint32_t suffix = Bits(zeros);
  return Ok() ? (std::uint32_t{1} << zeros) - 1 + suffix : 0;
}

std::int32_t BitReader::SignedGolomb() {
  const std::uint32_t code = UnsignedGolomb();
  const auto magnitude = static_cast<std::int32_t>(code / 2 + code % 2);
  return code % 2 == 1 ? magnitude : -magnitude;
}

void BitReader::Fail() {
  ok_ = false;
  position_ = bytes_.size() * 8;
}

}  // namespace media_server::codec
