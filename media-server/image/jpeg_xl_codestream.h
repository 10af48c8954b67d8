#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// What the headers of an animation's frames depend on, and how long a tick of theirs is.
struct JpegXlFrameRules {
  PictureSize size;
  std::uint32_t ticks_per_second = 0;  ///< divided by `ticks_divisor`; above 0, like that
  std::uint32_t ticks_divisor = 0;
  bool has_time_codes = false;
  bool is_xyb = false;
  std::uint32_t extra_channels = 0;
  std::uint64_t frames_begin = 0;  ///< in the codestream
};

/// What the headers of a JPEG XL codestream tell (ISO/IEC 18181-1, annex D).
struct JpegXlHeader {
  PictureSize size;
  /// Empty where the bytes end before they tell it.
  std::optional<Orientation> orientation;
  std::optional<imagecore::AlphaMode> alpha;
  /// Of an animation whose first frame could be found: no colour profile or preview stands in front of it.
  std::optional<JpegXlFrameRules> frame_rules;
};

/// Reads the headers from the signature (ff 0a) on. Empty when the bytes do not tell the size.
std::optional<JpegXlHeader> ParseJpegXlHeader(std::span<const std::uint8_t> codestream);

}  // namespace media_server::image
