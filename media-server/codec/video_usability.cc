#include "media-server/codec/video_usability.h"

#include <array>
#include <limits>
#include <numeric>

namespace media_server::codec {
namespace {

// H.273 table 10 (SampleAspectRatio), from 1 on.
constexpr std::array<core::Rational, 16> kSampleAspectRatios = {{{1, 1},
                                                                 {12, 11},
                                                                 {10, 11},
                                                                 {16, 11},
                                                                 {40, 33},
                                                                 {24, 11},
                                                                 {20, 11},
                                                                 {32, 11},
                                                                 {80, 33},
                                                                 {18, 11},
                                                                 {15, 11},
                                                                 {64, 33},
                                                                 {160, 99},
                                                                 {4, 3},
                                                                 {3, 2},
                                                                 {2, 1}}};

bool IsPrimaries(std::uint32_t code) { return code == 1 || (code >= 4 && code <= 12) || code == 22; }
bool IsTransfer(std::uint32_t code) { return code == 1 || (code >= 4 && code <= 18); }
bool IsMatrix(std::uint32_t code) { return code <= 1 || (code >= 4 && code <= 17); }

std::optional<int> If(bool named, std::uint32_t code) {
  return named ? std::optional(static_cast<int>(code)) : std::nullopt;
}

}  // namespace

std::optional<core::Rational> PositiveRatio(std::uint64_t numerator, std::uint64_t denominator) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  if (numerator == 0 || denominator == 0 || numerator > kMax || denominator > kMax) return std::nullopt;
  const std::uint64_t divisor = std::gcd(numerator, denominator);
  return core::Rational{static_cast<std::int64_t>(numerator / divisor),
                        static_cast<std::int64_t>(denominator / divisor)};
}

std::optional<core::Rational> SampleAspectRatio(std::uint32_t indicator) {
  if (indicator == 0 || indicator > kSampleAspectRatios.size()) return std::nullopt;
  return kSampleAspectRatios[indicator - 1];
}

ColorDescription NamedColor(std::uint32_t primaries, std::uint32_t transfer, std::uint32_t matrix) {
  ColorDescription color;
  color.primaries = If(IsPrimaries(primaries), primaries);
  color.transfer = If(IsTransfer(transfer), transfer);
  color.matrix = If(IsMatrix(matrix), matrix);
  return color;
}

std::optional<int> ChromaSampling(std::uint32_t chroma_format_idc, const ColorDescription& color) {
  constexpr std::array kSampling = {kChroma400, kChroma420, kChroma422, kChroma444};
  if (chroma_format_idc >= kSampling.size()) return std::nullopt;
  if (chroma_format_idc == 3 && color.matrix == 0) return kChromaRgb;
  return kSampling[chroma_format_idc];
}

void ReadCommonUsability(BitReader& bits, PictureParameters& picture) {
  constexpr std::uint32_t kExtendedSar = 255;
  if (bits.Flag()) {  // aspect_ratio_info_present_flag
    const std::uint32_t indicator = bits.Bits(8);
    if (indicator == kExtendedSar) {
      const std::uint32_t width = bits.Bits(16);
      const std::uint32_t height = bits.Bits(16);
      picture.sample_aspect_ratio = PositiveRatio(width, height);
    } else {
      picture.sample_aspect_ratio = SampleAspectRatio(indicator);
    }
  }
  if (bits.Flag()) bits.Skip(1);  // overscan_info_present_flag: overscan_appropriate_flag
  if (bits.Flag()) {              // video_signal_type_present_flag
    bits.Skip(3);                 // video_format
    const bool full_range = bits.Flag();
    if (bits.Flag()) {  // colour_description_present_flag
      const std::uint32_t primaries = bits.Bits(8);
      const std::uint32_t transfer = bits.Bits(8);
      const std::uint32_t matrix = bits.Bits(8);
      if (bits.Ok()) picture.color = NamedColor(primaries, transfer, matrix);
    }
    if (bits.Ok()) picture.color.full_range = full_range;
  }
  if (bits.Flag()) {  // chroma_loc_info_present_flag: top field, bottom field
    bits.UnsignedGolomb();
    bits.UnsignedGolomb();
  }
}

bool SetPictureSize(PictureParameters& picture, std::uint64_t coded_width, std::uint64_t coded_height,
                    std::uint64_t crop_width, std::uint64_t crop_height) {
  if (coded_width == 0 || coded_height == 0) return false;
  if (coded_width > kMaxPictureSide || coded_height > kMaxPictureSide) return false;
  const bool croppable = crop_width < coded_width && crop_height < coded_height;
  picture.width = static_cast<std::uint32_t>(coded_width - (croppable ? crop_width : 0));
  picture.height = static_cast<std::uint32_t>(coded_height - (croppable ? crop_height : 0));
  return true;
}

}  // namespace media_server::codec
