#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// What the headers of a JPEG XL codestream tell (ISO/IEC 18181-1, annex D).
struct JpegXlHeader {
  PictureSize size;
  /// Empty where the bytes end before they tell it.
  std::optional<Orientation> orientation;
  std::optional<imagecore::AlphaMode> alpha;
};

/// Reads the headers from the signature (ff 0a) on. Empty when the bytes do not tell the size.
std::optional<JpegXlHeader> ParseJpegXlHeader(std::span<const std::uint8_t> codestream);

}  // namespace media_server::image
