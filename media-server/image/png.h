#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// PNG and APNG (W3C PNG specification, third edition). Chunks are skipped, not read: Exif, XMP, IPTC, the label of
/// AI-generated content and the modification time are found behind the picture data too. The animation is told when
/// all its frame headers were seen, or those that a cut file still has. False when IHDR does not come first (behind
/// CgBI in what Apple's tools optimise) or is cut short.
bool ReadPng(IByteSource& source, PictureHeaders& headers);

/// Longest start of a PNG file that ReadPngStart needs.
inline constexpr std::size_t kPngStartSize = 8 + 8 + 13;

/// Size and alpha of a PNG by its first kPngStartSize bytes, signature and IHDR; empty when they are something else.
struct PngStart {
  PictureSize size;
  std::uint8_t bit_depth = 0;
  std::uint8_t color_type = 0;

  bool HasAlphaChannel() const { return (color_type & 4) != 0; }
};
std::optional<PngStart> ReadPngStart(std::span<const std::uint8_t> bytes);

}  // namespace media_server::image
