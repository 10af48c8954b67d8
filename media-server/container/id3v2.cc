#include "media-server/container/id3v2.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

constexpr std::size_t kHeaderSize = 10;

/// Size of the tag that starts here, header and footer included (ID3v2.4 section 3.1); empty when none does.
std::optional<std::uint32_t> TagSize(std::span<const std::uint8_t> header) {
  if (header.size() < kHeaderSize || !AsText(header).starts_with("ID3") || header[3] == 0xFF || header[4] == 0xFF) {
    return std::nullopt;
  }
  std::uint32_t size = 0;
  for (const std::uint8_t byte : header.subspan(6, 4)) {
    if ((byte & 0x80) != 0) return std::nullopt;
    size = size << 7 | byte;
  }
  const bool has_footer = (header[5] & 0x10) != 0;
  return size + static_cast<std::uint32_t>(kHeaderSize) * (has_footer ? 2 : 1);
}

}  // namespace

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
