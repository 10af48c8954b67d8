#include "media-server/container/flac_end.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/container/flac_blocks.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Sync, numbers of up to seven, two and two bytes, checksum (RFC 9639, 9.1).
constexpr std::size_t kLongestHeader = 4 + 7 + 2 + 2 + 1;

struct StreamInfo {
  std::uint32_t block_samples = 0;  // of the largest block; of all but the last one where they are alike
  std::uint32_t largest_frame = 0;  // in bytes; 0 when not told
  std::uint32_t sample_rate = 0;
  std::uint64_t samples = 0;  // 0 when not told
};

std::optional<StreamInfo> ReadStreamInfo(IByteSource& source) {
  constexpr std::size_t kSize = 4 + 4 + 18;  // mark, block header, the block up to its checksum
  const auto bytes = ReadBytes(source, 0, kSize);
  ByteReader reader(bytes);
  const bool is_flac = AsText(reader.Take(4)) == "fLaC";
  reader.Skip(4 + 2);
  StreamInfo info;
  info.block_samples = reader.Be16();
  reader.Skip(3);  // smallest frame
  info.largest_frame = reader.Be24();
  const std::uint64_t bits = reader.Be64();  // rate 20, channels 3, depth 5, samples 36
  info.sample_rate = static_cast<std::uint32_t>(bits >> 44);
  info.samples = bits & 0xF'FFFF'FFFF;
  if (!reader.Ok() || !is_flac || info.sample_rate == 0 || info.block_samples == 0) return std::nullopt;
  return info;
}

struct FrameHeader {
  std::uint8_t kind = 0;  // with the rest of the sync: whether blocks differ in size
  std::uint8_t rate = 0;  // codes, alike in all frames
  std::uint8_t depth = 0;
  std::uint64_t number = 0;  // of the frame, or of its first sample where blocks differ
  std::uint32_t samples = 0;

  bool AreBlocksAlike() const { return (kind & 1) == 0; }
  bool IsOfOneStreamWith(const FrameHeader& other) const {
    return kind == other.kind && rate == other.rate && depth == other.depth;
  }
};

std::uint8_t Checksum(Bytes bytes) {
  unsigned sum = 0;
  for (const std::uint8_t byte : bytes) {
    sum ^= byte;
    for (int bit = 0; bit < 8; ++bit) sum = (sum << 1 ^ ((sum & 0x80) != 0 ? 0x07U : 0U)) & 0xFF;
  }
  return static_cast<std::uint8_t>(sum);
}

// A number written as UTF-8 writes code points, of up to 36 bits.
std::optional<std::uint64_t> TakeCodedNumber(ByteReader& reader) {
  const std::uint8_t first = reader.U8();
  const int bytes = std::countl_one(first);
  if (bytes == 0) return first;
  if (bytes == 1 || bytes == 8) return std::nullopt;
  std::uint64_t number = first & 0x7FU >> bytes;
  for (int i = 1; i < bytes; ++i) {
    const std::uint8_t more = reader.U8();
    if ((more & 0xC0) != 0x80) return std::nullopt;
    number = number << 6 | (more & 0x3F);
  }
  return number;
}

std::uint32_t TakeBlockSamples(std::uint8_t code, ByteReader& reader) {
  if (code == 1) return 192;
  if (code >= 2 && code <= 5) return 576U << (code - 2);
  if (code == 6) return reader.U8() + 1U;
  if (code == 7) return reader.Be16() + 1U;
  return 256U << (code - 8);
}

std::optional<FrameHeader> ReadFrameHeader(Bytes bytes) {
  ByteReader reader(bytes);
  if (reader.U8() != 0xFF) return std::nullopt;
  FrameHeader header{.kind = reader.U8()};
  if ((header.kind & 0xFE) != 0xF8) return std::nullopt;
  const std::uint8_t sizes = reader.U8();
  const std::uint8_t form = reader.U8();
  header.rate = sizes & 0x0F;
  header.depth = form & 0x0F;
  const bool is_reserved = sizes >> 4 == 0 || header.rate == 0x0F || form >> 4 > 10 || (form & 1) != 0;
  const auto number = TakeCodedNumber(reader);
  if (is_reserved || !number) return std::nullopt;
  header.number = *number;
  header.samples = TakeBlockSamples(sizes >> 4, reader);
  reader.Skip(header.rate == 12 ? 1 : header.rate >= 13 ? 2 : 0);
  const std::size_t size = reader.Position();
  const std::uint8_t checksum = reader.U8();
  if (!reader.Ok() || checksum != Checksum(bytes.first(size))) return std::nullopt;
  return header;
}

std::optional<FrameHeader> FindLastFrame(IByteSource& source, std::uint32_t largest_frame, const FrameHeader& first) {
  constexpr std::uint32_t kLeast = 64 * 1024;
  constexpr std::uint32_t kMost = 1024 * 1024;
  const std::uint64_t size = source.Size().value_or(0);
  const std::uint64_t tail = std::min<std::uint64_t>(size, std::clamp(largest_frame, kLeast, kMost));
  const auto bytes = ReadBytes(source, size - tail, static_cast<std::size_t>(tail));
  for (std::size_t at = bytes.size(); at-- > 0;) {
    const Bytes rest = Bytes(bytes).subspan(at);
    const auto header = ReadFrameHeader(rest.first(std::min(rest.size(), kLongestHeader)));
    if (header && header->IsOfOneStreamWith(first)) return header;
  }
  return std::nullopt;
}

}  // namespace

std::optional<double> ReadFlacSeconds(IByteSource& source) {
  const auto info = ReadStreamInfo(source);
  if (!info || info->samples != 0) return std::nullopt;
  const auto first = ReadFrameHeader(ReadBytes(source, FlacMetadataSize(source), kLongestHeader));
  if (!first) return std::nullopt;
  const auto last = FindLastFrame(source, info->largest_frame, *first);
  if (!last) return std::nullopt;
  const auto number = static_cast<double>(last->number);
  const double in_front = last->AreBlocksAlike() ? number * info->block_samples : number;
  return (in_front + last->samples) / info->sample_rate;
}

}  // namespace media_server
