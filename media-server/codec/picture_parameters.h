#pragma once

#include <cstdint>
#include <optional>

#include "core/rational.h"

namespace media_server::codec {

/// How colours are meant, in the numbers of ITU-T H.273. Code 2 ("unspecified") and reserved codes are not delivered.
struct ColorDescription {
  std::optional<int> primaries;
  std::optional<int> transfer;
  std::optional<int> matrix;  ///< 0 is RGB (GBR)
  std::optional<bool> full_range;

  friend bool operator==(const ColorDescription&, const ColorDescription&) = default;
};

/// The order in which the two fields of a picture are shown.
enum class FieldOrder { kProgressive, kTopFirst, kBottomFirst };

/// Values of `PictureParameters::chroma_sampling`.
inline constexpr int kChromaRgb = 1;
inline constexpr int kChroma400 = 400;
inline constexpr int kChroma420 = 420;
inline constexpr int kChroma422 = 422;
inline constexpr int kChroma440 = 440;
inline constexpr int kChroma411 = 411;
inline constexpr int kChroma410 = 410;
inline constexpr int kChroma444 = 444;

/// What a codec's own header says about the pictures of a stream. A fact that the header leaves open is empty, never a
/// default of ours; sizes, ratios and counts that are delivered are above zero unless said.
struct PictureParameters {
  /// Numbered as libavcodec's AV_PROFILE_* (H.264: profile_idc, plus 0x200 constrained, plus 0x800 intra).
  std::optional<int> profile;
  /// As libavcodec's codecpar->level: H.264 level_idc (9 is level 1b), HEVC general_level_idc (30 per level), AV1
  /// seq_level_idx, MPEG-2 level_indication, MPEG-4 the low four bits of profile_and_level_indication.
  std::optional<int> level;
  std::optional<bool> high_tier;  ///< HEVC, VVC, AV1: true for the high tier, false for the main tier

  std::optional<std::uint32_t> width;   ///< in pixels, after cropping
  std::optional<std::uint32_t> height;  ///< in pixels, after cropping
  std::optional<core::Rational> sample_aspect_ratio;

  std::optional<int> bit_depth;        ///< bits per luma sample, 1 to 16
  std::optional<int> chroma_sampling;  ///< 400, 420, 422, 444 (440, 411, 410), or 1 for RGB
  ColorDescription color;
  std::optional<bool> alpha;

  std::optional<int> reference_frames;  ///< frames kept for reference, 0 and up
  std::optional<bool> cabac;
  /// True when no picture of the stream can be interlaced, false when interlaced pictures may occur.
  std::optional<bool> progressive_only;
  std::optional<FieldOrder> field_order;
  std::optional<core::Rational> frame_rate;  ///< frames per second
  std::optional<int> views;                  ///< views of a multi-view stream, 2 and up; empty for a plain one
};

}  // namespace media_server::codec
