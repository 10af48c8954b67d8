#include "media-server/codec/mpeg4_visual.h"

#include <bit>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/nal.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {
namespace {

// Start codes (table 6-3).
constexpr std::uint8_t kFirstLayer = 0x20;
constexpr std::uint8_t kLastLayer = 0x2F;
constexpr std::uint8_t kVisualObjectSequence = 0xB0;
constexpr std::uint8_t kVisualObject = 0xB5;
constexpr std::uint8_t kVideoObjectPlane = 0xB6;

constexpr int kStudioProfile = 14;

/// profile_and_level_indication: profile above, level below; Simple level 0 has the value 8.
void ReadProfile(BitReader& bits, PictureParameters& picture) {
  const std::uint32_t profile = bits.Bits(4);
  const std::uint32_t level = bits.Bits(4);
  if (!bits.Ok() || (profile == 0 && level == 0)) return;  // reserved
  picture.profile = static_cast<int>(profile);
  picture.level = profile == 0 && level == 8 ? 0 : static_cast<int>(level);
}

void ReadColor(BitReader& bits, PictureParameters& picture) {
  constexpr std::uint32_t kVideo = 1;
  if (bits.Flag()) bits.Skip(4 + 3);   // is_visual_object_identifier: version, priority
  if (bits.Bits(4) != kVideo) return;  // visual_object_type
  if (!bits.Flag()) return;            // video_signal_type
  bits.Skip(3);                        // video_format
  const bool full_range = bits.Flag();
  if (bits.Flag()) {  // colour_description
    const std::uint32_t primaries = bits.Bits(8);
    const std::uint32_t transfer = bits.Bits(8);
    const std::uint32_t matrix = bits.Bits(8);
    if (bits.Ok() && matrix != 0) picture.color = NamedColor(primaries, transfer, matrix);
  }
  if (bits.Ok()) picture.color.full_range = full_range;
}

std::optional<core::Rational> ReadAspectRatio(BitReader& bits) {
  constexpr std::uint32_t kExtended = 15;
  constexpr std::uint32_t kLastNamed = 5;
  const std::uint32_t code = bits.Bits(4);
  if (code != kExtended) return code <= kLastNamed ? SampleAspectRatio(code) : std::nullopt;
  const std::uint32_t width = bits.Bits(8);
  return PositiveRatio(width, bits.Bits(8));
}

std::optional<core::Rational> ReadFrameRate(BitReader& bits) {
  const std::uint32_t resolution = bits.Bits(16);            // ticks per second
  bits.Skip(1);                                              // marker
  if (!bits.Flag() || resolution == 0) return std::nullopt;  // fixed_vop_rate
  const auto length = static_cast<unsigned>(std::bit_width(resolution - 1));
  return PositiveRatio(resolution, bits.Bits(length == 0 ? 1 : length));
}

/// VideoObjectLayer (6.2.3) as far as the interlaced flag; false when the layer cannot be used.
bool ReadLayer(BitReader& bits, PictureParameters& picture) {
  constexpr std::uint32_t kFineGranularityScalable = 18;
  constexpr std::uint32_t kRectangular = 0;
  constexpr std::size_t kBufferParameterBits = 79;
  bits.Skip(1);  // random_accessible_vol
  if (bits.Bits(8) == kFineGranularityScalable) return false;
  if (bits.Flag()) bits.Skip(4 + 3);  // is_object_layer_identifier
  picture.sample_aspect_ratio = ReadAspectRatio(bits);
  if (bits.Flag()) {  // vol_control_parameters
    bits.Skip(2);     // chroma_format: always 4:2:0
    bits.Skip(1);     // low_delay
    if (bits.Flag()) bits.Skip(kBufferParameterBits);
  }
  if (bits.Bits(2) != kRectangular) return false;
  bits.Skip(1);  // marker
  picture.frame_rate = ReadFrameRate(bits);
  bits.Skip(1);
  const std::uint32_t width = bits.Bits(13);
  bits.Skip(1);
  const std::uint32_t height = bits.Bits(13);
  bits.Skip(1);
  const bool interlaced = bits.Flag();
  if (!bits.Ok()) return false;
  picture.bit_depth = 8;
  picture.chroma_sampling = kChroma420;
  picture.progressive_only = !interlaced;
  if (!interlaced) picture.field_order = FieldOrder::kProgressive;
  return SetPictureSize(picture, width, height);
}

}  // namespace

std::optional<PictureParameters> ReadMpeg4Visual(std::span<const std::uint8_t> bytes) {
  StartCodeReader units(bytes);
  PictureParameters picture;
  for (auto unit = units.Next(); !unit.empty(); unit = units.Next()) {
    const std::uint8_t code = unit.front();
    BitReader bits(unit.subspan(1));
    if (code == kVisualObjectSequence) ReadProfile(bits, picture);
    if (picture.profile == kStudioProfile) return picture;  // headers of another form follow
    if (code == kVisualObject) ReadColor(bits, picture);
    if (code == kVideoObjectPlane) return std::nullopt;
    if (code < kFirstLayer || code > kLastLayer) continue;
    return ReadLayer(bits, picture) ? std::optional(picture) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace media_server::codec
