#include "media-server/image/jpeg_xl_codestream.h"

#include <array>
#include <cstddef>

#include "media-server/image/jpeg_xl_bits.h"
#include "media-server/image/orientation.h"

namespace media_server::image {
namespace {

struct Ratio {
  std::uint32_t width;
  std::uint32_t height;
};
/// By their code, from 1 on.
constexpr std::array kRatios = {Ratio{1, 1},  Ratio{12, 10}, Ratio{4, 3}, Ratio{3, 2},
                                Ratio{16, 9}, Ratio{5, 4},   Ratio{2, 1}};

/// Height and width of a size bundle: the width is a number of its own or follows from the height by a ratio.
template <typename NumberReader>
PictureSize ReadSizeBundle(JpegXlBitReader& reader, NumberReader read_number) {
  const std::uint32_t height = read_number();
  const std::uint32_t ratio_code = reader.Bits(3);
  if (ratio_code == 0) return {read_number(), height};
  const Ratio& ratio = kRatios[ratio_code - 1];
  return {static_cast<std::uint32_t>(std::uint64_t{height} * ratio.width / ratio.height), height};
}

/// SizeHeader.
PictureSize ReadSize(JpegXlBitReader& reader) {
  const bool is_small = reader.Bool();
  return ReadSizeBundle(reader, [&] {
    if (is_small) return (reader.Bits(5) + 1) * 8;
    return reader.U32({{{1, 9}, {1, 13}, {1, 18}, {1, 30}}});
  });
}

/// PreviewHeader.
void SkipPreview(JpegXlBitReader& reader) {
  const bool is_in_eights = reader.Bool();
  ReadSizeBundle(reader, [&] {
    if (is_in_eights) return reader.U32({{{16, 0}, {32, 0}, {1, 5}, {33, 9}}});
    return reader.U32({{{1, 6}, {65, 8}, {321, 10}, {1345, 12}}});
  });
}

/// AnimationHeader.
JpegXlFrameRules ReadAnimation(JpegXlBitReader& reader) {
  JpegXlFrameRules rules;
  rules.ticks_per_second = reader.U32({{{100, 0}, {1000, 0}, {1, 10}, {1, 30}}});
  rules.ticks_divisor = reader.U32({{{1, 0}, {1001, 0}, {1, 8}, {1, 10}}});
  reader.U32({{{0, 0}, {0, 3}, {0, 16}, {0, 32}}});  // loops
  rules.has_time_codes = reader.Bool();
  return rules;
}

/// BitDepth.
void SkipBitDepth(JpegXlBitReader& reader) {
  if (!reader.Bool()) {
    reader.U32({{{8, 0}, {10, 0}, {12, 0}, {1, 6}}});
    return;
  }
  reader.U32({{{32, 0}, {16, 0}, {24, 0}, {1, 6}}});
  reader.Skip(4);  // exponent
}

/// ExtraChannelInfo. Gives the alpha mode of an alpha channel, kAlphaNone for others.
imagecore::AlphaMode ReadExtraChannel(JpegXlBitReader& reader) {
  constexpr std::uint32_t kAlpha = 0;
  constexpr std::uint32_t kSpotColour = 2;
  constexpr std::uint32_t kColourFilter = 5;
  constexpr std::size_t kFloatBits = 16;
  if (reader.Bool()) return imagecore::kAlphaStraight;
  const std::uint32_t type = reader.Enum();
  SkipBitDepth(reader);
  reader.U32({{{0, 0}, {3, 0}, {4, 0}, {1, 3}}});  // subsampling
  const std::uint32_t name_bytes = reader.U32({{{0, 0}, {0, 4}, {16, 5}, {48, 10}}});
  reader.Skip(std::size_t{name_bytes} * 8);
  if (type == kAlpha) return reader.Bool() ? imagecore::kAlphaPremultiplied : imagecore::kAlphaStraight;
  if (type == kSpotColour) reader.Skip(4 * kFloatBits);
  if (type == kColourFilter) reader.U32({{{1, 0}, {0, 2}, {3, 4}, {19, 8}}});
  return imagecore::kAlphaNone;
}

void SkipChromaticity(JpegXlBitReader& reader) {
  for (int i = 0; i < 2; ++i) reader.U32({{{0, 19}, {524288, 19}, {1048576, 20}, {2097152, 21}}});
}

/// ColourEncoding. False where a profile follows, which is compressed: what comes behind is out of reach.
bool SkipColours(JpegXlBitReader& reader) {
  constexpr std::uint32_t kGrey = 1;
  constexpr std::uint32_t kXyb = 2;
  constexpr std::uint32_t kCustom = 2;
  constexpr int kPrimaries = 3;
  if (reader.Bool()) return true;
  const bool has_profile = reader.Bool();
  const std::uint32_t space = reader.Enum();
  if (has_profile) return false;
  if (space != kXyb && reader.Enum() == kCustom) SkipChromaticity(reader);  // white point
  if (space != kXyb && space != kGrey && reader.Enum() == kCustom) {
    for (int i = 0; i < kPrimaries; ++i) SkipChromaticity(reader);
  }
  if (space != kXyb) {
    if (reader.Bool()) {
      reader.Skip(24);  // gamma
    } else {
      reader.Enum();
    }
  }
  reader.Enum();  // rendering intent
  return true;
}

void SkipToneMapping(JpegXlBitReader& reader) {
  if (reader.Bool()) return;
  reader.SkipF16(2);
  reader.Skip(1);
  reader.SkipF16(1);
}

/// CustomTransformData.
void SkipTransform(JpegXlBitReader& reader, bool is_xyb) {
  constexpr std::size_t kOpsinNumbers = 16;
  constexpr std::size_t kWeights[] = {15, 55, 210};  // of upsampling by two, four and eight
  if (reader.Bool()) return;
  if (is_xyb && !reader.Bool()) reader.SkipF16(kOpsinNumbers);
  const std::uint32_t custom = reader.Bits(3);
  for (unsigned i = 0; i < 3; ++i) {
    if ((custom >> i & 1) != 0) reader.SkipF16(kWeights[i]);
  }
}

/// ExtraChannelInfo of all channels. The first alpha channel counts.
void ReadExtraChannels(JpegXlBitReader& reader, std::uint32_t count, JpegXlHeader& header) {
  auto alpha = imagecore::kAlphaNone;
  for (std::uint32_t i = 0; i < count && reader.Ok(); ++i) {
    const auto mode = ReadExtraChannel(reader);
    if (!reader.Ok() || alpha != imagecore::kAlphaNone) continue;
    alpha = mode;
    if (alpha != imagecore::kAlphaNone) header.alpha = alpha;
  }
  if (reader.Ok()) header.alpha = alpha;
}

/// ImageMetadata and what stands between it and the first frame.
void ReadImageMetadata(JpegXlBitReader& reader, JpegXlHeader& header) {
  std::optional<JpegXlFrameRules> rules;
  if (reader.Bool()) {  // all default
    if (!reader.Ok()) return;
    header.orientation = OrientationFromExif(1);
    header.alpha = imagecore::kAlphaNone;
    return;
  }
  std::uint32_t exif_orientation = 1;
  bool has_preview = false;
  const bool has_extra_fields = reader.Bool();
  if (has_extra_fields) {
    exif_orientation = reader.Bits(3) + 1;
    if (reader.Bool()) ReadSize(reader);  // to be shown at
    has_preview = reader.Bool();
    if (has_preview) SkipPreview(reader);
    if (reader.Bool()) rules = ReadAnimation(reader);
  }
  if (reader.Ok()) header.orientation = OrientationFromExif(exif_orientation);
  SkipBitDepth(reader);
  reader.Skip(1);  // 16-bit buffers
  const std::uint32_t channels = reader.U32({{{0, 0}, {1, 0}, {2, 4}, {1, 12}}});
  ReadExtraChannels(reader, channels, header);
  if (!rules || has_preview) return;
  rules->size = header.size;
  rules->extra_channels = channels;
  rules->is_xyb = reader.Bool();
  if (!SkipColours(reader)) return;
  if (has_extra_fields) SkipToneMapping(reader);
  if (reader.U64() != 0) return;  // extensions
  SkipTransform(reader, rules->is_xyb);
  rules->frames_begin = reader.BytesRead();
  if (reader.Ok()) header.frame_rules = rules;
}

}  // namespace

std::optional<JpegXlHeader> ParseJpegXlHeader(std::span<const std::uint8_t> codestream) {
  constexpr std::array<std::uint32_t, 2> kSignature = {0xFF, 0x0A};
  JpegXlBitReader reader(codestream);
  for (const std::uint32_t byte : kSignature) {
    if (reader.Bits(8) != byte) return std::nullopt;
  }
  JpegXlHeader header;
  header.size = ReadSize(reader);
  if (!reader.Ok()) return std::nullopt;
  ReadImageMetadata(reader, header);
  return header;
}

}  // namespace media_server::image
