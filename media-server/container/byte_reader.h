#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The bytes of `bytes` as text, borrowed from it.
inline std::string_view AsText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The text as bytes, borrowed from it.
inline std::span<const std::uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Up to `size` bytes of `source` from `offset`; fewer at its end.
inline std::vector<std::uint8_t> ReadBytes(IByteSource& source, std::uint64_t offset, std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  bytes.resize(std::min(size, source.ReadAt(offset, bytes)));
  return bytes;
}

/// Reads numbers and pieces off a run of bytes, front to back. A read past the end gives zeros (an empty piece) and
/// turns `Ok` false for good, so that a caller may check once after several reads. Borrows the bytes.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool Ok() const { return ok_; }
  std::size_t Remaining() const { return bytes_.size() - position_; }
  std::size_t Position() const { return position_; }

  std::uint8_t U8() { return static_cast<std::uint8_t>(BigEndian(1)); }
  std::uint16_t Be16() { return static_cast<std::uint16_t>(BigEndian(2)); }
  std::uint32_t Be24() { return static_cast<std::uint32_t>(BigEndian(3)); }
  std::uint32_t Be32() { return static_cast<std::uint32_t>(BigEndian(4)); }
  std::uint64_t Be64() { return BigEndian(8); }
  std::uint16_t Le16() { return static_cast<std::uint16_t>(LittleEndian(2)); }
  std::uint32_t Le32() { return static_cast<std::uint32_t>(LittleEndian(4)); }
  std::uint64_t Le64() { return LittleEndian(8); }

  /// A big-endian number of `width` bytes, at most 8.
  std::uint64_t BigEndian(std::size_t width) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : Take(width)) value = value << 8 | byte;
    return value;
  }

  /// A little-endian number of `width` bytes, at most 8.
  std::uint64_t LittleEndian(std::size_t width) {
    std::uint64_t value = 0;
    unsigned shift = 0;
    for (const std::uint8_t byte : Take(width)) {
      value |= std::uint64_t{byte} << shift;
      shift += 8;
    }
    return value;
  }

  /// The next `size` bytes; an empty piece when fewer are left.
  std::span<const std::uint8_t> Take(std::size_t size) {
    if (size > Remaining()) {
      ok_ = false;
      position_ = bytes_.size();
      return {};
    }
    const auto piece = bytes_.subspan(position_, size);
    position_ += size;
    return piece;
  }

  /// All that is left.
  std::span<const std::uint8_t> TakeRest() { return Take(Remaining()); }

  void Skip(std::size_t size) { Take(size); }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
  bool ok_ = true;
};

}  // namespace media_server
