#include "media-server/image/jpeg_xl_codestream.h"

#include <array>
#include <cstddef>

#include "media-server/image/orientation.h"

namespace media_server::image {
namespace {

/// Reads numbers of bits, least significant bit first. Past the end it gives zeros and turns `Ok` false for good.
class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool Ok() const { return position_ <= bytes_.size() * 8; }

  std::uint32_t Bits(unsigned count) {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i) {
      const std::size_t at = position_ + i;
      if (at < bytes_.size() * 8) value |= static_cast<std::uint32_t>(bytes_[at / 8] >> (at % 8) & 1) << i;
    }
    position_ += count;
    return value;
  }

  bool Bool() { return Bits(1) != 0; }
  void Skip(std::size_t count) { position_ += count; }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;  // in bits
};

/// One of the four ways in which a number is written: an offset and as many bits as are added to it.
struct Distribution {
  std::uint32_t offset;
  unsigned bits;
};
using Distributions = std::array<Distribution, 4>;

/// U32() of ISO/IEC 18181-1 annex B: two bits choose the distribution.
std::uint32_t ReadU32(BitReader& reader, const Distributions& distributions) {
  const Distribution& chosen = distributions[reader.Bits(2)];
  return chosen.offset + reader.Bits(chosen.bits);
}

/// Enum() of annex B.
std::uint32_t ReadEnum(BitReader& reader) { return ReadU32(reader, {{{0, 0}, {1, 0}, {2, 4}, {18, 6}}}); }

struct Ratio {
  std::uint32_t width;
  std::uint32_t height;
};
/// By their code, from 1 on.
constexpr std::array kRatios = {Ratio{1, 1},  Ratio{12, 10}, Ratio{4, 3}, Ratio{3, 2},
                                Ratio{16, 9}, Ratio{5, 4},   Ratio{2, 1}};

/// Height and width of a size bundle: the width is a number of its own or follows from the height by a ratio.
template <typename NumberReader>
PictureSize ReadSizeBundle(BitReader& reader, NumberReader read_number) {
  const std::uint32_t height = read_number();
  const std::uint32_t ratio_code = reader.Bits(3);
  if (ratio_code == 0) return {read_number(), height};
  const Ratio& ratio = kRatios[ratio_code - 1];
  return {static_cast<std::uint32_t>(std::uint64_t{height} * ratio.width / ratio.height), height};
}

/// SizeHeader.
PictureSize ReadSize(BitReader& reader) {
  const bool is_small = reader.Bool();
  return ReadSizeBundle(reader, [&] {
    if (is_small) return (reader.Bits(5) + 1) * 8;
    return ReadU32(reader, {{{1, 9}, {1, 13}, {1, 18}, {1, 30}}});
  });
}

/// PreviewHeader.
void SkipPreview(BitReader& reader) {
  const bool is_in_eights = reader.Bool();
  ReadSizeBundle(reader, [&] {
    if (is_in_eights) return ReadU32(reader, {{{16, 0}, {32, 0}, {1, 5}, {33, 9}}});
    return ReadU32(reader, {{{1, 6}, {65, 8}, {321, 10}, {1345, 12}}});
  });
}

/// AnimationHeader: ticks a second, loops, time codes.
void SkipAnimation(BitReader& reader) {
  ReadU32(reader, {{{100, 0}, {1000, 0}, {1, 10}, {1, 30}}});
  ReadU32(reader, {{{1, 0}, {1001, 0}, {1, 8}, {1, 10}}});
  ReadU32(reader, {{{0, 0}, {0, 3}, {0, 16}, {0, 32}}});
  reader.Skip(1);
}

/// BitDepth.
void SkipBitDepth(BitReader& reader) {
  if (!reader.Bool()) {
    ReadU32(reader, {{{8, 0}, {10, 0}, {12, 0}, {1, 6}}});
    return;
  }
  ReadU32(reader, {{{32, 0}, {16, 0}, {24, 0}, {1, 6}}});
  reader.Skip(4);  // exponent
}

/// ExtraChannelInfo. Gives the alpha mode of an alpha channel, kAlphaNone for others.
imagecore::AlphaMode ReadExtraChannel(BitReader& reader) {
  constexpr std::uint32_t kAlpha = 0;
  constexpr std::uint32_t kSpotColour = 2;
  constexpr std::uint32_t kColourFilter = 5;
  constexpr std::size_t kFloatBits = 16;
  if (reader.Bool()) return imagecore::kAlphaStraight;
  const std::uint32_t type = ReadEnum(reader);
  SkipBitDepth(reader);
  ReadU32(reader, {{{0, 0}, {3, 0}, {4, 0}, {1, 3}}});  // subsampling
  const std::uint32_t name_bytes = ReadU32(reader, {{{0, 0}, {0, 4}, {16, 5}, {48, 10}}});
  reader.Skip(std::size_t{name_bytes} * 8);
  if (type == kAlpha) return reader.Bool() ? imagecore::kAlphaPremultiplied : imagecore::kAlphaStraight;
  if (type == kSpotColour) reader.Skip(4 * kFloatBits);
  if (type == kColourFilter) ReadU32(reader, {{{1, 0}, {0, 2}, {3, 4}, {19, 8}}});
  return imagecore::kAlphaNone;
}

/// ImageMetadata, as far as the extra channels.
void ReadImageMetadata(BitReader& reader, JpegXlHeader& header) {
  std::uint32_t exif_orientation = 1;
  auto alpha = imagecore::kAlphaNone;
  const bool all_default = reader.Bool();
  if (!all_default) {
    if (reader.Bool()) {
      exif_orientation = reader.Bits(3) + 1;
      if (reader.Bool()) ReadSize(reader);  // to be shown at
      if (reader.Bool()) SkipPreview(reader);
      if (reader.Bool()) SkipAnimation(reader);
    }
    if (reader.Ok()) header.orientation = OrientationFromExif(exif_orientation);
    SkipBitDepth(reader);
    reader.Skip(1);  // 16-bit buffers
    const std::uint32_t channels = ReadU32(reader, {{{0, 0}, {1, 0}, {2, 4}, {1, 12}}});
    for (std::uint32_t i = 0; i < channels && reader.Ok() && alpha == imagecore::kAlphaNone; ++i) {
      alpha = ReadExtraChannel(reader);
    }
  }
  if (!reader.Ok()) return;
  header.orientation = OrientationFromExif(exif_orientation);
  header.alpha = alpha;
}

}  // namespace

std::optional<JpegXlHeader> ParseJpegXlHeader(std::span<const std::uint8_t> codestream) {
  constexpr std::array<std::uint32_t, 2> kSignature = {0xFF, 0x0A};
  BitReader reader(codestream);
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
