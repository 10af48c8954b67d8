#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "record/metadata.h"

namespace mediaprobe {

/// What the image service tells of a still image, an animation or a picture sequence. Whatever is not told is empty.
struct ImageRecord {
  std::optional<std::uint32_t> width;  ///< of the stored picture, in pixels; that of a sequence's first frame
  std::optional<std::uint32_t> height;
  std::optional<std::uint64_t> duration_100ns;    ///< of animations and sequences
  std::optional<std::uint32_t> frame_count;       ///< of sequences
  std::optional<std::uint32_t> rotation_degrees;  ///< clockwise, after the flip
  std::optional<std::string_view> flip;
  Metadata metadata;
};

}  // namespace mediaprobe
