#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>

#include "fuzz/check.h"
#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// What the fuzz targets hold true of every answer: a value that is delivered lies within its field's legal range.

inline bool InRange(const std::optional<int>& value, int lowest, int highest) {
  return !value || (*value >= lowest && *value <= highest);
}

inline bool IsReducedRatio(const std::optional<core::Rational>& ratio) {
  if (!ratio) return true;
  if (ratio->numerator <= 0 || ratio->denominator <= 0) return false;
  std::int64_t a = ratio->numerator;
  std::int64_t b = ratio->denominator;
  while (b != 0) {
    const std::int64_t rest = a % b;
    a = b;
    b = rest;
  }
  return a == 1;
}

/// Sizes come all or not at all, and the picture lies within what is coded.
inline void CheckSize(const PictureParameters& picture) {
  const bool sized = picture.width.has_value();
  FUZZ_CHECK(picture.height.has_value() == sized);
  if (!sized) return;
  FUZZ_CHECK(*picture.width >= 1 && *picture.width <= 65535);
  FUZZ_CHECK(*picture.height >= 1 && *picture.height <= 65535);
}

inline void CheckColor(const ColorDescription& color) {
  FUZZ_CHECK(InRange(color.primaries, 1, 22) && color.primaries != 2 && color.primaries != 3);
  FUZZ_CHECK(InRange(color.transfer, 1, 18) && color.transfer != 2 && color.transfer != 3);
  FUZZ_CHECK(InRange(color.matrix, 0, 17) && color.matrix != 2 && color.matrix != 3);
}

inline bool IsChroma(const std::optional<int>& chroma_sampling) {
  constexpr int kKnown[] = {kChromaRgb, kChroma400, kChroma420, kChroma422,
                            kChroma440, kChroma411, kChroma410, kChroma444};
  return !chroma_sampling || std::ranges::find(kKnown, *chroma_sampling) != std::end(kKnown);
}

inline void CheckPicture(const PictureParameters& picture) {
  CheckSize(picture);
  CheckColor(picture.color);
  FUZZ_CHECK(IsChroma(picture.chroma_sampling));
  FUZZ_CHECK(InRange(picture.profile, 0, 4095));
  FUZZ_CHECK(InRange(picture.level, 0, 255));
  FUZZ_CHECK(InRange(picture.bit_depth, 1, 16));
  FUZZ_CHECK(InRange(picture.reference_frames, 0, 16));
  FUZZ_CHECK(InRange(picture.views, 2, 1024));
  FUZZ_CHECK(IsReducedRatio(picture.sample_aspect_ratio));
  FUZZ_CHECK(IsReducedRatio(picture.frame_rate));
  if (picture.progressive_only == true) FUZZ_CHECK(picture.field_order == FieldOrder::kProgressive);
}

inline void CheckPicture(const std::optional<PictureParameters>& picture) {
  if (picture) CheckPicture(*picture);
}

}  // namespace media_server::codec
