#include "media-server/container/id3v2.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

constexpr std::size_t kHeaderSize = 10;

/// A number of which each byte has seven bits.
std::uint32_t FromSevens(std::uint32_t bits) {
  return (bits >> 24 & 0x7F) << 21 | (bits >> 16 & 0x7F) << 14 | (bits >> 8 & 0x7F) << 7 | (bits & 0x7F);
}

/// Size of the tag that starts here, header and footer included (ID3v2.4 section 3.1); empty when none does.
std::optional<std::uint32_t> TagSize(std::span<const std::uint8_t> header) {
  if (header.size() < kHeaderSize || !AsText(header).starts_with("ID3") || header[3] == 0xFF || header[4] == 0xFF) {
    return std::nullopt;
  }
  const std::uint32_t bits = ByteReader(header.subspan(6)).Be32();
  if ((bits & 0x80808080) != 0) return std::nullopt;
  const bool has_footer = (header[5] & 0x10) != 0;
  return FromSevens(bits) + static_cast<std::uint32_t>(kHeaderSize) * (has_footer ? 2 : 1);
}

}  // namespace

std::string ResynchronisedId3v2(IByteSource& source) {
  constexpr std::uint32_t kMost = std::uint32_t{2} << 20;
  constexpr std::size_t kFlags = 5;
  constexpr std::uint8_t kUnsynchronised = 0x80;
  const auto header = ReadBytes(source, 0, kHeaderSize);
  const auto size = TagSize(header);
  const bool has_zeros = size && header[3] < 4 && (header[kFlags] & kUnsynchronised) != 0;
  if (!has_zeros || *size > kMost) return {};
  const auto written = ReadBytes(source, 0, *size);
  if (written.size() < *size) return {};
  std::string tag(AsText(header));
  tag.reserve(written.size());
  bool is_behind_ff = false;
  for (const std::uint8_t byte : std::span(written).subspan(kHeaderSize)) {
    const bool is_put_in = is_behind_ff && byte == 0;
    if (!is_put_in) tag += static_cast<char>(byte);
    is_behind_ff = byte == 0xFF;
  }
  tag[kFlags] = static_cast<char>(header[kFlags] & ~kUnsynchronised);
  tag.resize(written.size(), '\0');
  return tag;
}

std::uint64_t LargeId3v2Frames(IByteSource& source) {
  constexpr int kMostFrames = 64;
  constexpr std::uint64_t kLarge = 64 * 1024;
  const auto header = ReadBytes(source, 0, kHeaderSize);
  const auto end = TagSize(header);
  if (!end || (header[5] & 0x40) != 0) return 0;
  const int version = header[3];
  const std::size_t name_size = version == 2 ? 3 : 4;
  const std::size_t frame_header = version == 2 ? 6 : 10;
  std::uint64_t large = 0;
  std::uint64_t offset = kHeaderSize;
  for (int i = 0; i < kMostFrames && offset < *end; ++i) {
    const auto bytes = ReadBytes(source, offset, frame_header);
    ByteReader reader(bytes);
    const bool is_padding = reader.U8() == 0;
    reader.Skip(name_size - 1);
    const auto bits = static_cast<std::uint32_t>(reader.BigEndian(name_size));
    if (!reader.Ok() || is_padding) break;
    const std::uint64_t size = version == 4 ? FromSevens(bits) : bits;
    if (size >= kLarge) large += size;
    offset += frame_header + size;
  }
  return large;
}

std::uint64_t SkipId3v2(IByteSource& source) {
  constexpr int kMostTags = 16;
  std::uint64_t offset = 0;
  for (int tags = 0; tags < kMostTags; ++tags) {
    const auto size = TagSize(ReadBytes(source, offset, kHeaderSize));
    if (!size) break;
    offset += *size;
  }
  return offset;
}

}  // namespace media_server
