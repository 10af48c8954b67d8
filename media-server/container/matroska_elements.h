#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "media-server/container/byte_reader.h"

namespace media_server {

/// Ids of the elements that hold a file's frames, its blocks (RFC 9559, 5.1).
namespace matroska {
inline constexpr std::uint32_t kSegment = 0x18538067;
inline constexpr std::uint32_t kCluster = 0x1F43B675;
inline constexpr std::uint32_t kSimpleBlock = 0xA3;
inline constexpr std::uint32_t kBlockGroup = 0xA0;
inline constexpr std::uint32_t kBlock = 0xA1;
}  // namespace matroska

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
