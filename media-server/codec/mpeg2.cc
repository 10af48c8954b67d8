#include "media-server/codec/mpeg2.h"

#include <array>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/nal.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {
namespace {

using core::Rational;

// Start codes, and identifiers of extensions.
constexpr std::uint8_t kPicture = 0x00;
constexpr std::uint8_t kFirstSlice = 0x01;
constexpr std::uint8_t kLastSlice = 0xAF;
constexpr std::uint8_t kSequenceHeader = 0xB3;
constexpr std::uint8_t kExtension = 0xB5;
constexpr std::uint32_t kSequenceExtension = 1;
constexpr std::uint32_t kSequenceDisplayExtension = 2;
constexpr std::uint32_t kPictureCodingExtension = 8;

// frame_rate_code, from 1 on (13818-2, table 6-4).
constexpr std::array<Rational, 8> kFrameRates = {
    {{24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1}, {60000, 1001}, {60, 1}}};

// aspect_ratio_information of MPEG-2, from 2 on: of the whole picture (table 6-3).
constexpr std::array<Rational, 3> kDisplayAspectRatios = {{{4, 3}, {16, 9}, {221, 100}}};

// pel_aspect_ratio of MPEG-1, from 1 on: height by width of a sample in ten thousandths (11172-2, 2.4.3.2).
constexpr std::array<std::uint32_t, 14> kPelAspectRatios = {10000, 6735, 7031,  7615,  8055,  8437,  8935,
                                                            9157,  9815, 10255, 10695, 10950, 11575, 12015};

struct Sequence {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t aspect_code = 0;
  std::uint32_t frame_rate_code = 0;
  std::uint32_t rate_multiplier = 1;
  std::uint32_t rate_divisor = 1;
  bool has_extension = false;
  bool progressive = true;
};

std::optional<Sequence> ReadHeader(BitReader& bits) {
  Sequence sequence;
  sequence.width = bits.Bits(12);
  sequence.height = bits.Bits(12);
  sequence.aspect_code = bits.Bits(4);
  sequence.frame_rate_code = bits.Bits(4);
  return bits.Ok() ? std::optional(sequence) : std::nullopt;
}

void ReadSequenceExtension(BitReader& bits, Sequence& sequence, PictureParameters& picture) {
  bits.Skip(1);  // escape bit: the profiles behind it have numbers of their own that do not clash
  const std::uint32_t profile = bits.Bits(3);
  const std::uint32_t level = bits.Bits(4);
  const bool progressive = bits.Flag();
  const std::uint32_t chroma_format = bits.Bits(2);
  const std::uint32_t width_extension = bits.Bits(2);
  const std::uint32_t height_extension = bits.Bits(2);
  bits.Skip(12 + 1 + 8 + 1);  // bit rate and buffer size extensions, low_delay
  const std::uint32_t rate_multiplier = bits.Bits(2) + 1;
  const std::uint32_t rate_divisor = bits.Bits(5) + 1;
  if (!bits.Ok() || sequence.has_extension) return;
  sequence.has_extension = true;
  sequence.progressive = progressive;
  sequence.width |= width_extension << 12;
  sequence.height |= height_extension << 12;
  sequence.rate_multiplier = rate_multiplier;
  sequence.rate_divisor = rate_divisor;
  picture.profile = static_cast<int>(profile);
  picture.level = static_cast<int>(level);
  picture.chroma_sampling = chroma_format == 0 ? std::nullopt : ChromaSampling(chroma_format, {});
}

void ReadDisplayExtension(BitReader& bits, PictureParameters& picture) {
  bits.Skip(3);              // video_format
  if (!bits.Flag()) return;  // colour_description
  const std::uint32_t primaries = bits.Bits(8);
  const std::uint32_t transfer = bits.Bits(8);
  const std::uint32_t matrix = bits.Bits(8);
  if (bits.Ok() && matrix != 0) picture.color = NamedColor(primaries, transfer, matrix);  // matrix 0 is forbidden here
}

/// The order of the fields of the first picture; only in MPEG-2.
std::optional<FieldOrder> ReadFieldOrder(BitReader& bits) {
  constexpr std::uint32_t kTopField = 1;
  constexpr std::uint32_t kBottomField = 2;
  bits.Skip(16 + 2);  // f_code, intra_dc_precision
  const std::uint32_t structure = bits.Bits(2);
  const bool top_first = bits.Flag();
  bits.Skip(7);
  const bool progressive = bits.Flag();
  if (!bits.Ok() || structure == 0) return std::nullopt;
  if (structure == kTopField) return FieldOrder::kTopFirst;
  if (structure == kBottomField) return FieldOrder::kBottomFirst;
  if (progressive) return FieldOrder::kProgressive;
  return top_first ? FieldOrder::kTopFirst : FieldOrder::kBottomFirst;
}

std::optional<Rational> AspectRatio(const Sequence& sequence) {
  if (!sequence.has_extension) {
    const std::uint32_t index = sequence.aspect_code - 1;
    return index < kPelAspectRatios.size() ? PositiveRatio(10000, kPelAspectRatios[index]) : std::nullopt;
  }
  if (sequence.aspect_code == 1) return Rational{1, 1};
  const std::uint32_t index = sequence.aspect_code - 2;
  if (index >= kDisplayAspectRatios.size()) return std::nullopt;
  const auto& display = kDisplayAspectRatios[index];
  return PositiveRatio(static_cast<std::uint64_t>(display.numerator) * sequence.height,
                       static_cast<std::uint64_t>(display.denominator) * sequence.width);
}

std::optional<Rational> FrameRate(const Sequence& sequence) {
  const std::uint32_t index = sequence.frame_rate_code - 1;
  if (index >= kFrameRates.size()) return std::nullopt;
  return PositiveRatio(static_cast<std::uint64_t>(kFrameRates[index].numerator) * sequence.rate_multiplier,
                       static_cast<std::uint64_t>(kFrameRates[index].denominator) * sequence.rate_divisor);
}

}  // namespace

std::optional<PictureParameters> ReadMpegVideo(std::span<const std::uint8_t> bytes) {
  StartCodeReader units(bytes);
  std::optional<Sequence> sequence;
  PictureParameters picture;
  picture.bit_depth = 8;
  picture.chroma_sampling = kChroma420;
  for (auto unit = units.Next(); !unit.empty(); unit = units.Next()) {
    const std::uint8_t code = unit.front();
    BitReader bits(unit.subspan(1));
    if (code == kSequenceHeader && !sequence) sequence = ReadHeader(bits);
    if (!sequence) continue;
    if (code >= kFirstSlice && code <= kLastSlice) break;
    if (code != kExtension) continue;
    const std::uint32_t extension = bits.Bits(4);
    if (extension == kSequenceExtension) ReadSequenceExtension(bits, *sequence, picture);
    if (extension == kSequenceDisplayExtension) ReadDisplayExtension(bits, picture);
    if (extension == kPictureCodingExtension && !picture.field_order) picture.field_order = ReadFieldOrder(bits);
  }
  if (!sequence || !SetPictureSize(picture, sequence->width, sequence->height)) return std::nullopt;
  picture.sample_aspect_ratio = AspectRatio(*sequence);
  picture.frame_rate = FrameRate(*sequence);
  picture.progressive_only = sequence->progressive;
  if (sequence->progressive) picture.field_order = FieldOrder::kProgressive;
  return picture;
}

std::optional<int> ReadMpegPictureType(std::span<const std::uint8_t> bytes) {
  StartCodeReader units(bytes);
  for (auto unit = units.Next(); !unit.empty(); unit = units.Next()) {
    if (unit.front() != kPicture) continue;
    BitReader bits(unit.subspan(1));
    bits.Skip(10);  // temporal_reference
    const std::uint32_t type = bits.Bits(3);
    return bits.Ok() && type >= 1 && type <= 3 ? std::optional(static_cast<int>(type)) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace media_server::codec
