#include "media-server/codec/image_size.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#include "media-server/codec/video_usability.h"
#include "media-server/container/byte_reader.h"

namespace media_server::codec {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Picture = std::optional<PictureParameters>;
using namespace std::string_view_literals;

bool StartsWith(Bytes bytes, std::string_view text) { return AsText(bytes).starts_with(text); }

Picture Sized(std::uint64_t width, std::uint64_t height, PictureParameters picture) {
  return SetPictureSize(picture, width, height, 0, 0) ? Picture(picture) : std::nullopt;
}

/// Horizontal factor above, vertical below, of each of three JPEG components.
using SamplingFactors = std::array<std::uint8_t, 3>;

/// Only the ratio of luma to chroma counts: encoders write 2x2, 1x2, 1x2 as well as 2x1, 1x1, 1x1 for 4:2:2.
std::optional<int> ChromaOfFactors(const SamplingFactors& factors) {
  struct Sampling {
    unsigned horizontal;
    unsigned vertical;
    int chroma_sampling;
  };
  constexpr std::array<Sampling, 5> kSamplings = {
      {{1, 1, kChroma444}, {2, 1, kChroma422}, {2, 2, kChroma420}, {1, 2, kChroma440}, {4, 1, kChroma411}}};
  if (factors[1] != factors[2]) return std::nullopt;
  const unsigned horizontal = factors[1] >> 4;
  const unsigned vertical = factors[1] & 15;
  if (horizontal == 0 || vertical == 0) return std::nullopt;
  for (const Sampling& sampling : kSamplings) {
    const bool matches =
        factors[0] >> 4 == sampling.horizontal * horizontal && (factors[0] & 15) == sampling.vertical * vertical;
    if (matches) return sampling.chroma_sampling;
  }
  return std::nullopt;
}

/// A frame header behind its length (ITU-T T.81, B.2.2).
Picture ReadJpegFrame(ByteReader& bytes) {
  PictureParameters picture;
  const int precision = bytes.U8();
  const std::uint16_t height = bytes.Be16();
  const std::uint16_t width = bytes.Be16();
  const unsigned components = bytes.U8();
  if (!bytes.Ok() || precision < 1 || precision > 16) return std::nullopt;
  picture.bit_depth = precision;
  picture.alpha = false;
  if (components == 1) picture.chroma_sampling = kChroma400;
  if (components == 3) {
    SamplingFactors factors{};
    for (auto& factor : factors) {
      bytes.Skip(1);  // component identifier
      factor = bytes.U8();
      bytes.Skip(1);  // quantisation table
    }
    picture.chroma_sampling = ChromaOfFactors(factors);
  }
  return Sized(width, height, picture);
}

Picture ReadJpeg(Bytes image) {
  constexpr std::uint8_t kStartOfScan = 0xDA;
  ByteReader bytes(image);
  bytes.Skip(2);
  while (bytes.Ok()) {
    if (bytes.U8() != 0xFF) return std::nullopt;
    std::uint8_t marker = 0xFF;
    while (marker == 0xFF && bytes.Ok()) marker = bytes.U8();            // fill bytes
    if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) continue;  // TEM, RST, SOI stand alone
    if (marker == kStartOfScan) return std::nullopt;
    const std::uint16_t length = bytes.Be16();
    if (length < 2) return std::nullopt;
    // SOF0 to SOF15 without DHT (C4), JPG (C8) and DAC (CC); F7 is the frame of JPEG-LS.
    const bool is_frame = (marker >= 0xC0 && marker <= 0xCF && marker % 4 != 0) || marker == 0xC0 || marker == 0xF7;
    if (is_frame) return ReadJpegFrame(bytes);
    bytes.Skip(length - 2U);
  }
  return std::nullopt;
}

/// IHDR (PNG specification, 11.2.2).
Picture ReadPng(Bytes image) {
  constexpr std::uint8_t kPalette = 3;
  ByteReader bytes(image);
  bytes.Skip(8 + 4);  // signature, length
  if (AsText(bytes.Take(4)) != "IHDR") return std::nullopt;
  const std::uint32_t width = bytes.Be32();
  const std::uint32_t height = bytes.Be32();
  const int depth = bytes.U8();
  const std::uint8_t color_type = bytes.U8();
  if (!bytes.Ok() || depth > 16 || std::popcount(static_cast<unsigned>(depth)) != 1) return std::nullopt;
  PictureParameters picture;
  picture.bit_depth = color_type == kPalette ? 8 : depth;
  picture.chroma_sampling = (color_type & 2) != 0 ? kChromaRgb : kChroma400;
  if (color_type != kPalette) picture.alpha = (color_type & 4) != 0;  // a palette may bring alpha in a later chunk
  return Sized(width, height, picture);
}

Picture ReadGif(Bytes image) {
  ByteReader bytes(image);
  bytes.Skip(6);
  const std::uint16_t width = bytes.Le16();
  const std::uint16_t height = bytes.Le16();
  if (!bytes.Ok()) return std::nullopt;
  PictureParameters picture;
  picture.bit_depth = 8;
  picture.chroma_sampling = kChromaRgb;
  return Sized(width, height, picture);
}

Picture ReadBmp(Bytes image) {
  constexpr std::uint32_t kCoreHeaderSize = 12;  // OS/2 1.x: 16-bit sizes
  ByteReader bytes(image);
  bytes.Skip(14);
  const std::uint32_t header_size = bytes.Le32();
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  if (header_size == kCoreHeaderSize) {
    width = bytes.Le16();
    height = bytes.Le16();
  } else {
    width = bytes.Le32();
    height = bytes.Le32();
    if ((height >> 31) != 0) height = 0U - height;  // negative: rows from the top down
  }
  bytes.Skip(2);  // planes
  const std::uint16_t bits_per_pixel = bytes.Le16();
  if (!bytes.Ok() || header_size < kCoreHeaderSize) return std::nullopt;
  PictureParameters picture;
  picture.chroma_sampling = kChromaRgb;
  if (bits_per_pixel != 16) picture.bit_depth = 8;  // 16 bits are 5:5:5 or 5:6:5
  return Sized(width, height, picture);
}

/// VP8X, VP8 or VP8L, the first chunk behind the RIFF header (WebP container specification).
Picture ReadWebp(Bytes image) {
  constexpr std::uint32_t kKeyFrameCode = 0x9D012A;
  ByteReader bytes(image);
  bytes.Skip(8);
  if (AsText(bytes.Take(4)) != "WEBP") return std::nullopt;
  const auto chunk = AsText(bytes.Take(4));
  bytes.Skip(4);
  PictureParameters picture;
  picture.bit_depth = 8;
  picture.chroma_sampling = kChroma420;
  if (chunk == "VP8X") {
    picture.alpha = (bytes.U8() & 0x10) != 0;
    picture.chroma_sampling.reset();  // the frames behind it may be of both kinds
    bytes.Skip(3);
    const std::uint64_t width = bytes.LittleEndian(3) + 1;
    const std::uint64_t height = bytes.LittleEndian(3) + 1;
    return bytes.Ok() ? Sized(width, height, picture) : std::nullopt;
  }
  if (chunk == "VP8 ") {
    picture.alpha = false;
    bytes.Skip(3);  // frame tag
    if (bytes.Be24() != kKeyFrameCode) return std::nullopt;
    const std::uint32_t width = bytes.Le16() & 0x3FFFU;  // the two bits above are a scaling hint
    const std::uint32_t height = bytes.Le16() & 0x3FFFU;
    return Sized(width, height, picture);
  }
  if (chunk == "VP8L" && bytes.U8() == 0x2F) {
    const std::uint32_t fields = bytes.Le32();
    if (!bytes.Ok()) return std::nullopt;
    picture.chroma_sampling = kChromaRgb;
    picture.alpha = (fields >> 28 & 1) != 0;
    return Sized((fields & 0x3FFF) + 1, (fields >> 14 & 0x3FFF) + 1, picture);
  }
  return std::nullopt;
}

struct Format {
  std::string_view magic;
  Picture (*read)(Bytes image);
};

constexpr std::array<Format, 6> kFormats = {{
    {"\xFF\xD8\xFF"sv, ReadJpeg},
    {"\x89PNG\r\n\x1A\n"sv, ReadPng},
    {"GIF87a"sv, ReadGif},
    {"GIF89a"sv, ReadGif},
    {"BM"sv, ReadBmp},
    {"RIFF"sv, ReadWebp},
}};

}  // namespace

std::optional<PictureParameters> ReadImageSize(std::span<const std::uint8_t> image) {
  for (const Format& format : kFormats) {
    if (StartsWith(image, format.magic)) return format.read(image);
  }
  return std::nullopt;
}

}  // namespace media_server::codec
