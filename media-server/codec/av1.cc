#include "media-server/codec/av1.h"

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {
namespace {

constexpr std::uint32_t kMaxProfile = 2;
constexpr std::uint32_t kProfessional = 2;
constexpr std::uint32_t kSelectScreenContentTools = 2;
constexpr std::uint32_t kLevel4_0 = 8;  // levels from 4.0 on have two tiers (annex A.3)

struct SamplingFormat {
  bool monochrome = false;
  bool subsampling_x = false;
  bool subsampling_y = false;
};

std::optional<int> ChromaOf(const SamplingFormat& format, const ColorDescription& color) {
  if (format.monochrome) return kChroma400;
  if (!format.subsampling_x) return format.subsampling_y ? std::nullopt : ChromaSampling(3, color);
  return format.subsampling_y ? kChroma420 : kChroma422;
}

void SetLevel(PictureParameters& picture, std::uint32_t level, bool high_tier) {
  constexpr std::uint32_t kLevel7_3 = 23;
  constexpr std::uint32_t kMaxParameters = 31;  // no limits
  if (level > kLevel7_3 && level != kMaxParameters) return;
  picture.level = static_cast<int>(level);
  if (level >= kLevel4_0) picture.high_tier = high_tier;
}

struct TimingInfo {
  bool decoder_model = false;
  std::uint32_t delay_length = 0;  ///< bits of a decoder or encoder buffer delay
};

/// timing_info and decoder_model_info (5.5.3, 5.5.4).
TimingInfo ReadTiming(BitReader& bits, PictureParameters& picture) {
  const std::uint32_t units_in_tick = bits.Bits(32);
  const std::uint32_t time_scale = bits.Bits(32);
  if (bits.Flag()) {                                                                   // equal_picture_interval
    const std::uint64_t ticks_per_picture = std::uint64_t{bits.UnsignedGolomb()} + 1;  // uvlc() is the same code
    if (bits.Ok()) picture.frame_rate = PositiveRatio(time_scale, units_in_tick * ticks_per_picture);
  }
  TimingInfo timing{.decoder_model = bits.Flag()};
  if (!timing.decoder_model) return timing;
  timing.delay_length = bits.Bits(5) + 1;
  bits.Skip(32 + 5 + 5);  // num_units_in_decoding_tick, lengths of removal and presentation times
  return timing;
}

/// Level and tier of the first operating point; leaves `bits` behind the last one.
void ReadOperatingPoints(BitReader& bits, PictureParameters& picture) {
  TimingInfo timing;
  if (bits.Flag()) timing = ReadTiming(bits, picture);
  const bool initial_display_delay = bits.Flag();
  const std::uint32_t count = bits.Bits(5) + 1;
  for (std::uint32_t point = 0; point < count && bits.Ok(); ++point) {
    bits.Skip(12);  // operating_point_idc
    const std::uint32_t level = bits.Bits(5);
    const bool high_tier = level >= kLevel4_0 && bits.Flag();  // levels up to 3.3 have no seq_tier bit
    if (timing.decoder_model && bits.Flag()) bits.Skip(2 * timing.delay_length + 1);
    if (initial_display_delay && bits.Flag()) bits.Skip(4);
    if (point == 0 && bits.Ok()) SetLevel(picture, level, high_tier);
  }
}

/// The flags between the frame size and the colour configuration.
void SkipTools(BitReader& bits, bool reduced_header) {
  bits.Skip(3);  // 128x128 superblocks, filter intra, intra edge filter
  if (reduced_header) return;
  bits.Skip(4);  // interintra and masked compound, warped motion, dual filter
  const bool order_hint = bits.Flag();
  if (order_hint) bits.Skip(2);  // joint compound, reference frame motion vectors
  const std::uint32_t screen_content = bits.Flag() ? kSelectScreenContentTools : bits.Bits(1);
  if (screen_content > 0 && !bits.Flag()) bits.Skip(1);  // seq_choose_integer_mv, else seq_force_integer_mv
  if (order_hint) bits.Skip(3);
}

/// color_config (5.5.2).
void ReadColor(BitReader& bits, std::uint32_t profile, PictureParameters& picture) {
  constexpr ColorDescription kSrgb{.primaries = 1, .transfer = 13, .matrix = 0, .full_range = {}};
  const bool high_depth = bits.Flag();
  const bool twelve_bits = profile == kProfessional && high_depth && bits.Flag();
  SamplingFormat format;
  format.monochrome = profile != 1 && bits.Flag();
  if (bits.Flag()) {  // color_description_present_flag
    const std::uint32_t primaries = bits.Bits(8);
    const std::uint32_t transfer = bits.Bits(8);
    picture.color = NamedColor(primaries, transfer, bits.Bits(8));
  }
  if (!format.monochrome && picture.color == kSrgb) {
    picture.color.full_range = true;
  } else {
    picture.color.full_range = bits.Flag();
    format.subsampling_x = format.subsampling_y = profile == 0;
    if (profile == kProfessional && twelve_bits && !format.monochrome) {
      format.subsampling_x = bits.Flag();
      format.subsampling_y = format.subsampling_x && bits.Flag();
    } else if (profile == kProfessional) {
      format.subsampling_x = true;
    }
  }
  picture.bit_depth = twelve_bits ? 12 : high_depth ? 10 : 8;
  picture.chroma_sampling = ChromaOf(format, picture.color);
}

/// sequence_header_obu (5.5.1).
std::optional<PictureParameters> ReadSequenceHeader(std::span<const std::uint8_t> payload) {
  BitReader bits(payload);
  PictureParameters picture;
  const std::uint32_t profile = bits.Bits(3);
  if (profile > kMaxProfile) return std::nullopt;
  picture.profile = static_cast<int>(profile);
  bits.Skip(1);  // still_picture
  const bool reduced_header = bits.Flag();
  if (reduced_header) {
    SetLevel(picture, bits.Bits(5), /*high_tier=*/false);
  } else {
    ReadOperatingPoints(bits, picture);
  }
  const std::uint32_t width_bits = bits.Bits(4) + 1;
  const std::uint32_t height_bits = bits.Bits(4) + 1;
  const std::uint64_t width = std::uint64_t{bits.Bits(width_bits)} + 1;
  const std::uint64_t height = std::uint64_t{bits.Bits(height_bits)} + 1;
  if (!reduced_header && bits.Flag()) bits.Skip(4 + 3);  // frame_id_numbers_present_flag: their lengths
  SkipTools(bits, reduced_header);
  bits.Skip(3);  // superres, cdef, restoration
  ReadColor(bits, profile, picture);
  if (!bits.Ok() || !SetPictureSize(picture, width, height)) return std::nullopt;
  return picture;
}

/// A number in groups of seven bits, the lowest first (4.10.5).
std::uint64_t ReadLeb128(BitReader& bits) {
  std::uint64_t value = 0;
  for (unsigned i = 0; i < 8; ++i) {
    const bool more = bits.Flag();
    value |= std::uint64_t{bits.Bits(7)} << (7 * i);
    if (!more) break;
  }
  return value;
}

/// av1C (AV1 Codec ISO Media File Format Binding, 2.3) behind its first byte.
PictureParameters ReadRecordFormat(BitReader& bits) {
  PictureParameters picture;
  const std::uint32_t profile = bits.Bits(3);
  if (profile <= kMaxProfile) picture.profile = static_cast<int>(profile);
  const std::uint32_t level = bits.Bits(5);
  SetLevel(picture, level, bits.Flag());
  const bool high_depth = bits.Flag();
  const bool twelve_bits = bits.Flag();
  picture.bit_depth = twelve_bits ? 12 : high_depth ? 10 : 8;
  SamplingFormat format;
  format.monochrome = bits.Flag();
  format.subsampling_x = bits.Flag();
  format.subsampling_y = bits.Flag();
  picture.chroma_sampling = ChromaOf(format, {});
  return picture;
}

}  // namespace

std::optional<PictureParameters> ReadAv1Configuration(std::span<const std::uint8_t> extradata) {
  constexpr std::size_t kRecordHeaderSize = 4;
  constexpr std::uint8_t kMarkerAndVersion = 0x81;
  if (extradata.size() < kRecordHeaderSize || extradata.front() != kMarkerAndVersion) return ReadAv1Sample(extradata);
  const auto sequence = ReadAv1Sample(extradata.subspan(kRecordHeaderSize));
  if (sequence) return sequence;
  BitReader bits(extradata.subspan(1));
  return ReadRecordFormat(bits);
}

std::optional<PictureParameters> ReadAv1Sample(std::span<const std::uint8_t> sample) {
  constexpr std::uint32_t kSequenceHeader = 1;
  while (!sample.empty()) {
    BitReader bits(sample);
    const bool forbidden = bits.Flag();
    const std::uint32_t type = bits.Bits(4);
    const bool has_extension = bits.Flag();
    const bool has_size = bits.Flag();
    bits.Skip(has_extension ? 9 : 1);
    const std::uint64_t size = has_size ? ReadLeb128(bits) : bits.BitsLeft() / 8;
    if (forbidden || !bits.Ok() || size > bits.BitsLeft() / 8) return std::nullopt;
    const auto payload = sample.subspan(sample.size() - bits.BitsLeft() / 8);
    if (type == kSequenceHeader) return ReadSequenceHeader(payload.first(static_cast<std::size_t>(size)));
    sample = payload.subspan(static_cast<std::size_t>(size));
  }
  return std::nullopt;
}

}  // namespace media_server::codec
