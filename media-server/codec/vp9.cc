#include "media-server/codec/vp9.h"

#include <array>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {
namespace {

constexpr std::uint32_t kMaxProfile = 3;
constexpr std::uint32_t kUnspecified = 2;

// color_space (7.2.2) as H.273 matrix coefficients: unknown, BT.601, BT.709, SMPTE 170, SMPTE 240, BT.2020, reserved,
// RGB.
constexpr std::array<std::uint32_t, 8> kMatrixOfColorSpace = {kUnspecified, 5, 1, 6, 7, 9, kUnspecified, 0};

std::optional<int> ChromaOf(bool subsampling_x, bool subsampling_y, const ColorDescription& color) {
  if (!subsampling_x && !subsampling_y) return ChromaSampling(3, color);
  if (!subsampling_x) return kChroma440;
  return subsampling_y ? kChroma420 : kChroma422;
}

/// bitdepth_colorspace_sampling; false where reserved bits are set or profile and format do not go together.
bool ReadColor(BitReader& bits, std::uint32_t profile, PictureParameters& picture) {
  const bool any_sampling = profile % 2 == 1;
  picture.alpha = false;
  picture.bit_depth = profile < 2 ? 8 : bits.Flag() ? 12 : 10;
  const std::uint32_t matrix = kMatrixOfColorSpace[bits.Bits(3)];
  picture.color = NamedColor(kUnspecified, kUnspecified, matrix);
  if (matrix == 0) {
    picture.color.full_range = true;
    picture.chroma_sampling = kChromaRgb;
    return any_sampling && !bits.Flag();  // reserved_zero
  }
  picture.color.full_range = bits.Flag();
  picture.chroma_sampling = kChroma420;
  if (!any_sampling) return true;
  const bool subsampling_x = bits.Flag();
  const bool subsampling_y = bits.Flag();
  picture.chroma_sampling = ChromaOf(subsampling_x, subsampling_y, picture.color);
  return !bits.Flag() && !(subsampling_x && subsampling_y);  // reserved_zero; 4:2:0 belongs to profiles 0 and 2
}

// What every frame of profile 0 is that has no such fields of its own.
void SetImpliedColor(PictureParameters& picture) {
  constexpr std::uint32_t kBt601 = 5;
  picture.alpha = false;
  picture.bit_depth = 8;
  picture.chroma_sampling = kChroma420;
  picture.color = NamedColor(kUnspecified, kUnspecified, kBt601);
  picture.color.full_range = false;
}

/// From the sync code to the size; false where it is none or does not fit.
bool ReadIntraFormat(BitReader& bits, bool is_key, std::uint32_t profile, PictureParameters& picture) {
  constexpr std::uint32_t kSyncCode = 0x498342;
  if (bits.Bits(24) != kSyncCode) return false;
  if (!is_key && profile == 0) {
    SetImpliedColor(picture);
  } else if (!ReadColor(bits, profile, picture)) {
    return false;
  }
  if (!is_key) bits.Skip(8);  // refresh_frame_flags
  const std::uint32_t width = bits.Bits(16) + 1;
  const std::uint32_t height = bits.Bits(16) + 1;
  return bits.Ok() && SetPictureSize(picture, width, height);
}

}  // namespace

std::optional<PictureParameters> ReadVp9Frame(std::span<const std::uint8_t> sample) {
  constexpr std::uint32_t kFrameMarker = 2;
  BitReader bits(sample);
  if (bits.Bits(2) != kFrameMarker) return std::nullopt;
  const std::uint32_t low = bits.Bits(1);
  const std::uint32_t profile = bits.Bits(1) << 1 | low;
  if (profile == kMaxProfile && bits.Flag()) return std::nullopt;  // reserved_zero
  PictureParameters picture;
  picture.profile = static_cast<int>(profile);
  const bool show_existing = bits.Flag();
  if (show_existing) return bits.Ok() ? std::optional(picture) : std::nullopt;
  const bool is_key = !bits.Flag();
  const bool is_shown = bits.Flag();
  const bool is_error_resilient = bits.Flag();
  const bool is_intra_only = !is_key && !is_shown && bits.Flag();
  if (!bits.Ok()) return std::nullopt;
  if (!is_key && !is_intra_only) return picture;
  if (is_intra_only && !is_error_resilient) bits.Skip(2);  // reset_frame_context
  if (!ReadIntraFormat(bits, is_key, profile, picture)) return std::nullopt;
  return picture;
}

}  // namespace media_server::codec
