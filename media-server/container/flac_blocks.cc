#include "media-server/container/flac_blocks.h"

#include <algorithm>
#include <limits>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

constexpr std::uint64_t kMost = std::uint64_t{64} << 20;
constexpr int kMostBlocks = 128;

}  // namespace

std::uint64_t FlacMetadataSize(IByteSource& source) {
  constexpr std::uint64_t kMarkSize = 4;
  constexpr std::uint64_t kHeaderSize = 4;
  if (AsText(ReadBytes(source, 0, kMarkSize)) != "fLaC") return 0;
  std::uint64_t end = kMarkSize;
  // A block begins with a bit for the last one, its type in seven, and its length (RFC 9639, 8.1).
  for (int block = 0; block < kMostBlocks && end < kMost; ++block) {
    const auto header = ReadBytes(source, end, kHeaderSize);
    ByteReader reader(header);
    const bool is_last = (reader.U8() & 0x80) != 0;
    const std::uint64_t length = reader.Be24();
    if (!reader.Ok()) break;
    end += kHeaderSize + length;
    if (is_last) break;
  }
  return std::min({end, kMost, source.Size().value_or(std::numeric_limits<std::uint64_t>::max())});
}

}  // namespace media_server
