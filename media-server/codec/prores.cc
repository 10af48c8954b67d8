#include "media-server/codec/prores.h"

#include <algorithm>
#include <array>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {
namespace {

using core::Rational;

constexpr std::uint32_t Tag(const char (&text)[5]) {
  std::uint32_t tag = 0;
  for (unsigned i = 0; i < 4; ++i) tag |= static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])) << (8 * i);
  return tag;
}

struct Kind {
  std::uint32_t tag;
  int profile;
  int chroma_sampling;
  int bit_depth;
};

constexpr std::array<Kind, 6> kKinds = {{
    {Tag("apco"), 0, kChroma422, 10},
    {Tag("apcs"), 1, kChroma422, 10},
    {Tag("apcn"), 2, kChroma422, 10},
    {Tag("apch"), 3, kChroma422, 10},
    {Tag("ap4h"), 4, kChroma444, 12},
    {Tag("ap4x"), 5, kChroma444, 12},
}};

// frame_rate_code, from 1 on (table 4).
constexpr std::array<Rational, 11> kFrameRates = {{{24000, 1001},
                                                   {24, 1},
                                                   {25, 1},
                                                   {30000, 1001},
                                                   {30, 1},
                                                   {50, 1},
                                                   {60000, 1001},
                                                   {60, 1},
                                                   {100, 1},
                                                   {120000, 1001},
                                                   {120, 1}}};

std::optional<Rational> AspectRatio(std::uint32_t code, std::uint32_t width, std::uint32_t height) {
  switch (code) {
    case 1:
      return Rational{1, 1};
    case 2:
      return PositiveRatio(std::uint64_t{4} * height, std::uint64_t{3} * width);
    case 3:
      return PositiveRatio(std::uint64_t{16} * height, std::uint64_t{9} * width);
    default:
      return std::nullopt;
  }
}

/// chroma_format and interlace_mode; false where they are reserved.
bool ReadFormat(BitReader& bits, PictureParameters& picture) {
  constexpr std::uint32_t kFormat422 = 2;
  constexpr std::uint32_t kReservedMode = 3;
  const std::uint32_t chroma_format = bits.Bits(2);
  bits.Skip(2);
  const std::uint32_t interlace_mode = bits.Bits(2);
  bits.Skip(2);
  if (chroma_format < kFormat422 || interlace_mode >= kReservedMode) return false;
  constexpr std::array kOrders = {FieldOrder::kProgressive, FieldOrder::kTopFirst, FieldOrder::kBottomFirst};
  picture.field_order = kOrders[interlace_mode];
  picture.progressive_only = interlace_mode == 0;
  picture.chroma_sampling = ChromaSampling(chroma_format, {});
  return true;
}

}  // namespace

std::optional<PictureParameters> ProResFormat(std::uint32_t codec_tag) {
  const auto kind = std::ranges::find(kKinds, codec_tag, &Kind::tag);
  if (kind == kKinds.end()) return std::nullopt;
  PictureParameters picture;
  picture.profile = kind->profile;
  picture.chroma_sampling = kind->chroma_sampling;
  picture.bit_depth = kind->bit_depth;
  return picture;
}

std::optional<PictureParameters> ReadProResFrame(std::span<const std::uint8_t> sample) {
  constexpr std::uint32_t kFrameIdentifier = 0x69637066;  // "icpf"
  constexpr std::uint32_t kMaxVersion = 1;
  BitReader bits(sample);
  bits.Skip(32);  // frame_size
  if (bits.Bits(32) != kFrameIdentifier) return std::nullopt;
  bits.Skip(16 + 8);  // frame_header_size, reserved
  const std::uint32_t version = bits.Bits(8);
  bits.Skip(32);  // encoder_identifier
  const std::uint32_t width = bits.Bits(16);
  const std::uint32_t height = bits.Bits(16);
  PictureParameters picture;
  if (version > kMaxVersion || !ReadFormat(bits, picture)) return std::nullopt;
  picture.sample_aspect_ratio = AspectRatio(bits.Bits(4), width, height);
  const std::uint32_t rate_code = bits.Bits(4);
  if (rate_code >= 1 && rate_code <= kFrameRates.size()) picture.frame_rate = kFrameRates[rate_code - 1];
  const std::uint32_t primaries = bits.Bits(8);
  const std::uint32_t transfer = bits.Bits(8);
  const std::uint32_t matrix = bits.Bits(8);
  bits.Skip(4);  // reserved, or the source's pixel format
  const std::uint32_t alpha_channel_type = bits.Bits(4);
  if (!bits.Ok() || !SetPictureSize(picture, width, height)) return std::nullopt;
  picture.color = NamedColor(primaries, transfer, matrix == 0 ? 2 : matrix);  // 0 is "unknown" here, as is 2
  picture.alpha = alpha_channel_type == 1 || alpha_channel_type == 2;         // 8 or 16 bits
  return picture;
}

}  // namespace media_server::codec
