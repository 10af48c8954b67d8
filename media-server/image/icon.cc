#include "media-server/image/icon.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <tuple>

#include "media-server/container/byte_reader.h"
#include "media-server/image/bmp.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"
#include "media-server/image/png.h"
#include "media-server/io/tail_source.h"

namespace media_server::image {
namespace {

constexpr std::size_t kDirectorySize = 6;
constexpr std::size_t kEntrySize = 16;
constexpr std::size_t kMostEntries = 256;
constexpr std::uint32_t kBmp = FourCC("BMP ");
constexpr std::uint32_t kPng = FourCC("PNG ");

/// One picture of an icon.
struct Entry {
  PictureSize size;
  std::uint32_t bits_per_pixel = 0;
  std::uint32_t fourcc = 0;  // 0 when its own header could not be read
  std::uint64_t offset = 0;

  auto Rank() const { return std::tuple(std::uint64_t{size.width} * size.height, bits_per_pixel); }
};

std::uint32_t SideOf(std::uint8_t told) { return told == 0 ? 256U : told; }

/// What the picture's own header tells; empty when that is none. The bitmaps of icons are twice as high as the picture,
/// since a mask of what is transparent lies behind the colours.
std::optional<Entry> ReadPicture(HeaderWindow& window, std::uint64_t offset) {
  static_assert(kPngStartSize <= kDibStartSize);
  const auto bytes = window.View(offset, kDibStartSize);
  if (const auto png = ReadPngStart(bytes)) {
    const std::uint32_t channels = png->HasAlphaChannel() ? 4 : 3;
    return Entry{png->size, channels * png->bit_depth, kPng, offset};
  }
  const auto dib = ReadDibHeader(bytes);
  if (!dib || dib->size.width == 0 || dib->size.height < 2) return std::nullopt;
  const PictureSize size{dib->size.width, dib->size.height / 2};
  return Entry{size, dib->bits_per_pixel, kBmp, offset};
}

std::optional<imagecore::AlphaMode> AlphaOf(const Entry& entry, IByteSource& source) {
  constexpr std::uint32_t kAlphaBitsPerPixel = 32;
  if (entry.fourcc == kPng) {
    MeteredSource metered(source, kMostStillBytes);
    TailSource picture(metered, entry.offset);
    PictureHeaders png;
    ReadPng(picture, png);
    return png.alpha;
  }
  const bool has_alpha = entry.fourcc == kBmp || entry.bits_per_pixel == kAlphaBitsPerPixel;
  return has_alpha ? std::optional(imagecore::kAlphaStraight) : std::nullopt;
}

}  // namespace

bool ReadIconAt(IByteSource& source, std::uint64_t base, PictureHeaders& headers) {
  constexpr std::uint16_t kIconType = 1;
  HeaderWindow window(source);
  ByteReader start(window.View(base, kDirectorySize));
  start.Skip(2);
  const bool is_icon = start.Le16() == kIconType;
  const std::size_t count = std::min<std::size_t>(start.Le16(), kMostEntries);
  const auto entries = ReadBytes(source, base + kDirectorySize, count * kEntrySize);
  std::optional<Entry> best;
  for (ByteReader reader(entries); reader.Remaining() >= kEntrySize;) {
    Entry entry;
    entry.size.width = SideOf(reader.U8());
    entry.size.height = SideOf(reader.U8());
    reader.Skip(4);  // colours, reserved, planes
    const std::uint16_t bits_per_pixel = reader.Le16();
    // A cursor has its hot spot here.
    if (is_icon) entry.bits_per_pixel = bits_per_pixel;
    reader.Skip(4);  // length
    entry = ReadPicture(window, base + reader.Le32()).value_or(entry);
    if (!best || entry.Rank() > best->Rank()) best = entry;
  }
  if (!best) return false;
  headers.size = best->size;
  headers.fourcc = best->fourcc;
  headers.alpha = AlphaOf(*best, source);
  return true;
}

bool ReadIcon(IByteSource& source, PictureHeaders& headers) { return ReadIconAt(source, 0, headers); }

}  // namespace media_server::image
