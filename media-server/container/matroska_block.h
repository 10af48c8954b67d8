#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "media-server/container/byte_reader.h"

namespace media_server {

/// Longest head of a block (RFC 9559, 10.1): number of the track, time, flags.
inline constexpr std::size_t kLongestMatroskaBlockHead = 8 + 2 + 1;

/// The number of the track that a block begins with; 0 for none.
inline std::uint64_t TakeMatroskaTrackNumber(ByteReader& reader) {
  const std::uint8_t first = reader.U8();
  const int more = std::countl_zero(first);
  if (more >= 8) return 0;
  return (std::uint64_t{first} & 0x7FU >> more) << 8 * more | reader.BigEndian(static_cast<std::size_t>(more));
}

}  // namespace media_server
