#pragma once

#include <cstddef>
#include <cstdint>

namespace media_server {

/// Picture-format record: fixed layout, handed out by picture streams. 0 stands for unknown unless said.
struct PictureFormat {
  std::uint32_t width;   ///< coded picture, pixels
  std::uint32_t height;  ///< for "AMP4" files both stacked pictures together
  double frame_rate;     ///< frames per second
  std::uint32_t frame_count;
  std::int32_t display_width;   ///< pixels, after the sample aspect ratio
  std::int32_t display_height;  ///< as height for "AMP4" files
  std::int32_t reserved28;
  std::int32_t field_order;  ///< 1 progressive, 2 top first, 3 bottom first
  std::uint32_t flags;       ///< bit 0 interlaced, 1 variable frame rate, 2 alpha, 3 encrypted, 4 high dynamic range
  std::int32_t chroma;       ///< 400, 420, 422, 444; 1 RGB
  std::int32_t bit_depth;    ///< bits per component
  std::int32_t color_primaries;  ///< H.273 number
  std::int32_t color_range;      ///< 1 limited, 2 full
  std::int32_t bit_rate;         ///< bits/s
  std::uint8_t reserved60[68];
  std::int32_t reserved128;
  std::int32_t level;  ///< as the codec numbers it, -99 unknown
};
static_assert(sizeof(PictureFormat) == 136);
static_assert(offsetof(PictureFormat, frame_rate) == 8);
static_assert(offsetof(PictureFormat, frame_count) == 16);
static_assert(offsetof(PictureFormat, display_width) == 20);
static_assert(offsetof(PictureFormat, field_order) == 32);
static_assert(offsetof(PictureFormat, flags) == 36);
static_assert(offsetof(PictureFormat, bit_rate) == 56);
static_assert(offsetof(PictureFormat, level) == 132);

/// Sound-format record, likewise.
struct SoundFormat {
  std::uint32_t sample_rate;  ///< Hz
  std::uint32_t channels;
  std::uint32_t bits_per_sample;  ///< 0 where the codec has none
  std::uint32_t bit_rate;         ///< bits/s
  double sample_rate_hz;
  std::uint32_t flags;  ///< bit 0 variable bit rate, 2 lossless, 3 encrypted
  std::uint32_t reserved28;
};
static_assert(sizeof(SoundFormat) == 32);
static_assert(offsetof(SoundFormat, sample_rate_hz) == 16);
static_assert(offsetof(SoundFormat, flags) == 24);

/// Container code of MP4 files with an alpha picture stacked under the colour picture ("AMP4").
inline constexpr std::uint32_t kStackedAlphaMp4 = 0x34504D41;

/// Codec tags of side streams that stand in the picture list without being pictures ("keyb", "mice", "mark").
inline constexpr std::uint32_t kKeyboardStream = 0x6279656B;
inline constexpr std::uint32_t kMouseStream = 0x6563696D;
inline constexpr std::uint32_t kMarkerStream = 0x6B72616D;

}  // namespace media_server
