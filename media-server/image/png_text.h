#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// A keyword and its text, as one tEXt, zTXt or iTXt chunk holds them (PNG specification, 11.3.3).
struct PngText {
  std::string keyword;
  std::string text;  ///< inflated
};

/// Whether the text under `keyword` is one that TakePngText knows.
bool IsPngMetadata(std::string_view keyword);

/// The text of a chunk with the given type and data; empty when it is malformed, compressed in an unknown way, or
/// longer than twice kMostMetadataBytes.
std::optional<PngText> ReadPngText(std::string_view type, std::span<const std::uint8_t> data);

/// Files the text away: an XMP packet, the label of AI-generated content, the time of creation, or a profile in
/// hexadecimal digits ("Raw profile type exif") with Exif, XMP or IPTC in it. What is there already stays.
void TakePngText(const PngText& text, EmbeddedMetadata& metadata);

}  // namespace media_server::image
