#include "media-server/image/texture.h"

#include <algorithm>
#include <array>

#include "media-server/container/byte_reader.h"
#include "media-server/container/format_magic.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;
using imagecore::AlphaMode;

/// DXGI_FORMAT numbers of formats with alpha.
struct FormatRange {
  std::uint32_t first;
  std::uint32_t last;
};
constexpr std::array kFormatsWithAlpha = {
    FormatRange{1, 4},      // R32G32B32A32
    FormatRange{9, 14},     // R16G16B16A16
    FormatRange{23, 25},    // R10G10B10A2
    FormatRange{27, 32},    // R8G8B8A8
    FormatRange{65, 65},    // A8
    FormatRange{73, 78},    // BC2, BC3
    FormatRange{86, 87},    // B5G5R5A1, B8G8R8A8
    FormatRange{89, 91},    // R10G10B10_XR_BIAS_A2; B8G8R8A8, typeless and sRGB
    FormatRange{97, 99},    // BC7
    FormatRange{100, 102},  // AYUV, Y410, Y416
    FormatRange{111, 112},  // AI44, IA44
    FormatRange{114, 115},  // A8P8, B4G4R4A4
    FormatRange{191, 191},  // A4B4G4R4
};

/// DDS_HEADER_DXT10: the format's number at 0, the alpha mode in the low three bits of miscFlags2 at 16.
std::optional<AlphaMode> AlphaOfDxgi(IByteSource& source) {
  constexpr std::uint64_t kOffset = 128;
  const auto bytes = ReadBytes(source, kOffset, 20);
  ByteReader reader(bytes);
  const std::uint32_t format = reader.Le32();
  reader.Skip(12);  // dimension, flags, size of the array
  const std::uint32_t mode = reader.Le32() & 7;
  if (!reader.Ok()) return std::nullopt;
  if (mode == 1) return imagecore::kAlphaStraight;
  if (mode == 2) return imagecore::kAlphaPremultiplied;
  if (mode == 3 || mode == 4) return imagecore::kAlphaNone;  // opaque; a fourth channel that is no transparency
  const bool has_alpha = std::ranges::any_of(
      kFormatsWithAlpha, [&](const FormatRange& range) { return range.first <= format && format <= range.last; });
  return has_alpha ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

/// By the code in the pixel format: four characters, or the number of a Direct3D 9 format.
struct SurfaceAlpha {
  std::uint32_t code;
  AlphaMode alpha;
};
constexpr std::array kSurfaces = {
    SurfaceAlpha{FourCC("DXT2"), imagecore::kAlphaPremultiplied},
    SurfaceAlpha{FourCC("DXT3"), imagecore::kAlphaStraight},
    SurfaceAlpha{FourCC("DXT4"), imagecore::kAlphaPremultiplied},
    SurfaceAlpha{FourCC("DXT5"), imagecore::kAlphaStraight},
    SurfaceAlpha{36, imagecore::kAlphaStraight},   // A16B16G16R16
    SurfaceAlpha{113, imagecore::kAlphaStraight},  // A16B16G16R16F
    SurfaceAlpha{116, imagecore::kAlphaStraight},  // A32B32G32R32F
};

/// By OpenGL's base internal format.
AlphaMode AlphaOfBaseFormat(std::uint32_t format) {
  constexpr std::array<std::uint32_t, 3> kWithAlpha = {0x1906, 0x1908, 0x190A};  // alpha, RGBA, luminance with alpha
  return std::ranges::find(kWithAlpha, format) != kWithAlpha.end() ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

/// By the channels of the basic block of the data format descriptor (Khronos Data Format Specification).
std::optional<AlphaMode> AlphaOfDescriptor(IByteSource& source, std::uint32_t offset) {
  constexpr std::uint8_t kBc1 = 128;
  constexpr std::uint8_t kUastc = 166;
  constexpr std::size_t kBlockHeaderSize = 24;
  constexpr std::size_t kSampleSize = 16;
  constexpr std::size_t kMostSamples = 16;
  const auto bytes = ReadBytes(source, offset, 4 + kBlockHeaderSize + kMostSamples * kSampleSize);
  ByteReader reader(bytes);
  reader.Skip(4 + 4 + 2);  // size of all, vendor and type, version
  const std::size_t block_size = reader.Le16();
  const std::uint8_t model = reader.U8();
  reader.Skip(2);  // primaries, transfer
  const bool is_premultiplied = (reader.U8() & 1) != 0;
  reader.Skip(12);  // block of texels, bytes of planes
  if (!reader.Ok()) return std::nullopt;
  const int alpha_channel = model == kBc1 ? 1 : model == kUastc ? 3 : 15;
  for (std::size_t end = kBlockHeaderSize + kSampleSize; end <= block_size; end += kSampleSize) {
    ByteReader sample(reader.Take(kSampleSize));
    sample.Skip(3);  // bits
    const int channel = sample.U8() & 0x0F;
    if (!sample.Ok()) break;
    if (channel == alpha_channel) return is_premultiplied ? imagecore::kAlphaPremultiplied : imagecore::kAlphaStraight;
  }
  return imagecore::kAlphaNone;
}

}  // namespace

bool ReadDds(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kHeaderSize = 128;
  constexpr std::uint32_t kAlphaPixels = 0x1;
  constexpr std::uint32_t kAlphaOnly = 0x2;
  constexpr std::uint32_t kFourCc = 0x4;
  const auto bytes = ReadBytes(source, 0, kHeaderSize);
  ByteReader reader(bytes);
  reader.Skip(4 + 4 + 4);  // magic, size, flags
  const std::uint32_t height = reader.Le32();
  const std::uint32_t width = reader.Le32();
  reader.Skip(4 + 4 + 4 + 11 * 4 + 4);  // pitch, depth, mip maps, reserved, size of the pixel format
  const std::uint32_t flags = reader.Le32();
  const std::uint32_t told_code = reader.Le32();
  const std::uint32_t code = (flags & kFourCc) != 0 ? told_code : 0;
  if (bytes.size() < kHeaderSize) return false;

  headers.size = PictureSize{width, height};
  // Small codes are numbers.
  headers.fourcc = code > 0xFFFF ? code : FourCC("DDS ");
  const auto surface = std::ranges::find(kSurfaces, code, &SurfaceAlpha::code);
  if (surface != kSurfaces.end()) {
    headers.alpha = surface->alpha;
  } else if (code == FourCC("DX10")) {
    headers.alpha = AlphaOfDxgi(source);
  } else {
    headers.alpha = (flags & (kAlphaPixels | kAlphaOnly)) != 0 ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
  }
  return true;
}

bool ReadKtx(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kHeaderSize = 52;
  const auto bytes = ReadBytes(source, 0, kHeaderSize);
  ByteReader reader(bytes);
  const bool is_first_version = Holds(bytes, 5, "11"sv);
  reader.Skip(12);  // identifier
  const bool is_big_endian = is_first_version && reader.Be32() == 0x04030201;
  const auto take_number = [&] { return is_big_endian ? reader.Be32() : reader.Le32(); };
  // Version 1: type, its size, format, internal format, base format; version 2: format, size of the type.
  reader.Skip(is_first_version ? 4 * 4 : 2 * 4);
  if (is_first_version) headers.alpha = AlphaOfBaseFormat(take_number());
  const std::uint32_t width = take_number();
  const std::uint32_t height = take_number();
  if (!reader.Ok()) return false;
  headers.fourcc = FourCC("KTX ");
  headers.size = PictureSize{width, std::max(height, 1U)};
  if (is_first_version) return true;
  reader.Skip(5 * 4);  // depth, layers, faces, levels, compression on top
  const std::uint32_t descriptor = reader.Le32();
  if (reader.Ok() && descriptor != 0) headers.alpha = AlphaOfDescriptor(source, descriptor);
  return true;
}

}  // namespace media_server::image
