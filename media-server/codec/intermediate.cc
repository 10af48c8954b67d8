#include "media-server/codec/intermediate.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "media-server/container/byte_reader.h"

namespace media_server::codec {
namespace {

using Bytes = std::span<const std::uint8_t>;

PictureParameters Format(int chroma_sampling, int bit_depth, bool alpha = false) {
  PictureParameters picture;
  picture.chroma_sampling = chroma_sampling;
  picture.bit_depth = bit_depth;
  picture.alpha = alpha;
  return picture;
}

// Behind the letter of the compression and that of the depth: Y has the matrix of BT.601 and H that of BT.709, in eight
// bits.
struct UtVideoKind {
  std::string_view ending;
  int chroma_sampling;
  bool alpha;
};

constexpr std::array<UtVideoKind, 8> kUtVideoKinds = {{{"Y0", kChroma420, false},
                                                       {"Y2", kChroma422, false},
                                                       {"Y4", kChroma444, false},
                                                       {"H0", kChroma420, false},
                                                       {"H2", kChroma422, false},
                                                       {"H4", kChroma444, false},
                                                       {"RG", kChromaRgb, false},
                                                       {"RA", kChromaRgb, true}}};

struct MagicYuvKind {
  std::uint8_t format;
  int chroma_sampling;
  int bit_depth;
  bool alpha;
};

constexpr std::array<MagicYuvKind, 17> kMagicYuvKinds = {{{0x65, kChromaRgb, 8, false},
                                                          {0x66, kChromaRgb, 8, true},
                                                          {0x67, kChroma444, 8, false},
                                                          {0x68, kChroma422, 8, false},
                                                          {0x69, kChroma420, 8, false},
                                                          {0x6A, kChroma444, 8, true},
                                                          {0x6B, kChroma400, 8, false},
                                                          {0x6C, kChroma422, 10, false},
                                                          {0x6D, kChromaRgb, 10, false},
                                                          {0x6E, kChromaRgb, 10, true},
                                                          {0x6F, kChromaRgb, 12, false},
                                                          {0x70, kChromaRgb, 12, true},
                                                          {0x71, kChromaRgb, 14, false},
                                                          {0x72, kChromaRgb, 14, true},
                                                          {0x73, kChroma400, 10, false},
                                                          {0x76, kChroma444, 10, false},
                                                          {0x7B, kChroma420, 10, false}}};

// The kinds of the first two versions, by the bits of a pixel.
std::optional<PictureParameters> HuffYuvOfPixel(int bits_per_pixel) {
  switch (bits_per_pixel) {
    case 12:
      return Format(kChroma420, 8);
    case 16:
      return Format(kChroma422, 8);
    case 24:
      return Format(kChromaRgb, 8);
    case 32:
      return Format(kChromaRgb, 8, /*alpha=*/true);
    default:
      return std::nullopt;
  }
}

// FFmpeg's third version: depth and binary logarithms of what chroma is sampled down by, and kinds of planes.
std::optional<PictureParameters> HuffYuvOfPlanes(std::uint8_t samples, std::uint8_t planes) {
  constexpr int kSamplings[3][3] = {
      {kChroma444, kChroma440, 0}, {kChroma422, kChroma420, 0}, {kChroma411, 0, kChroma410}};
  const int depth = (samples >> 4) + 1;
  const bool alpha = (planes & 4) != 0;
  if ((planes & 3) == 0) return Format(kChroma400, depth, alpha);
  if ((planes & 1) == 0) return Format(kChromaRgb, depth, alpha);
  const int across = samples & 3;
  const int down = samples >> 2 & 3;
  if (across > 2 || down > 2 || kSamplings[across][down] == 0) return std::nullopt;
  return Format(kSamplings[across][down], depth, alpha);
}

}  // namespace

std::optional<PictureParameters> UtVideoFormat(std::uint32_t codec_tag) {
  std::array<char, 4> letters{};
  for (std::size_t i = 0; i < letters.size(); ++i) letters[i] = static_cast<char>(codec_tag >> 8 * i & 0xFF);
  const std::string_view tag(letters.data(), letters.size());
  constexpr int kBt709 = 1;  // in the numbers of H.273
  constexpr int kBt601 = 5;
  constexpr std::string_view kEightBits = "LM";  // with one table for a picture, and in packs
  const bool has_ten_bits = tag[1] == 'Q';
  if (tag[0] != 'U' || (!has_ten_bits && kEightBits.find(tag[1]) == std::string_view::npos)) return std::nullopt;
  const auto* kind = std::ranges::find(kUtVideoKinds, tag.substr(2), &UtVideoKind::ending);
  if (kind == kUtVideoKinds.end()) return std::nullopt;
  PictureParameters picture = Format(kind->chroma_sampling, has_ten_bits ? 10 : 8, kind->alpha);
  if (!has_ten_bits && tag[2] == 'Y') picture.color.matrix = kBt601;
  if (!has_ten_bits && tag[2] == 'H') picture.color.matrix = kBt709;
  return picture;
}

std::optional<PictureParameters> HuffYuvFormat(Bytes extradata, int bits_per_pixel) {
  constexpr std::size_t kHeaderSize = 4;
  constexpr int kMethod = 7;  // the lowest bits of a depth in which the first version keeps it
  const bool is_first_version = (bits_per_pixel & kMethod) != 0 && bits_per_pixel != 12;
  if (is_first_version || extradata.size() < kHeaderSize) return HuffYuvOfPixel(bits_per_pixel & ~kMethod);
  if (extradata[3] != 0) return HuffYuvOfPlanes(extradata[1], extradata[2]);
  return HuffYuvOfPixel(extradata[1] != 0 ? extradata[1] : bits_per_pixel & ~kMethod);
}

std::optional<PictureParameters> ReadMagicYuvFrame(Bytes frame) {
  constexpr std::uint32_t kName = 0x4D414759;  // "MAGY"
  constexpr std::uint8_t kVersion = 7;
  ByteReader reader(frame);
  const std::uint32_t name = reader.Be32();
  reader.Skip(4);  // size of the header
  const std::uint8_t version = reader.U8();
  const std::uint8_t format = reader.U8();
  if (!reader.Ok() || name != kName || version != kVersion) return std::nullopt;
  const auto* kind = std::ranges::find(kMagicYuvKinds, format, &MagicYuvKind::format);
  if (kind == kMagicYuvKinds.end()) return std::nullopt;
  return Format(kind->chroma_sampling, kind->bit_depth, kind->alpha);
}

}  // namespace media_server::codec
