#include "media-server/image/fujifilm_raw.h"

#include <algorithm>
#include <array>

#include "media-server/container/byte_reader.h"
#include "media-server/image/embedded_jpeg.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"

namespace media_server::image {
namespace {

constexpr std::size_t kMostTableBytes = 8 * 1024;

/// Tags of the table that hold a height and a width, the best first.
constexpr std::array<std::uint16_t, 3> kSizeTags = {
    0x0111,  // without borders
    0x0121,
    0x0100,  // of the whole sensor
};

/// The table: a count, then rows of a tag, the bytes of its value, and the value.
std::optional<PictureSize> SizeInTable(std::span<const std::uint8_t> table) {
  std::array<std::optional<PictureSize>, kSizeTags.size()> sizes;
  ByteReader reader(table);
  const std::uint32_t rows = reader.Be32();
  for (std::uint32_t row = 0; row < rows && reader.Ok(); ++row) {
    const std::uint16_t tag = reader.Be16();
    const std::uint16_t size = reader.Be16();
    ByteReader value(reader.Take(size));
    const std::uint32_t height = value.Be16();
    const std::uint32_t width = value.Be16();
    const auto wanted = std::ranges::find(kSizeTags, tag);
    const bool is_size = wanted != kSizeTags.end() && width > 0 && height > 0;
    if (is_size) sizes[static_cast<std::size_t>(wanted - kSizeTags.begin())] = PictureSize{width, height};
  }
  const auto best = std::ranges::find_if(sizes, [](const auto& size) { return size.has_value(); });
  return best == sizes.end() ? std::nullopt : *best;
}

}  // namespace

bool ReadFujifilmRaw(IByteSource& file, PictureHeaders& headers) {
  MeteredSource source(file, kMostStillBytes);
  constexpr std::uint64_t kPointers = 84;
  const auto pointer_bytes = ReadBytes(source, kPointers, 16);
  ByteReader pointers(pointer_bytes);
  const std::uint32_t jpeg_offset = pointers.Be32();
  pointers.Skip(4);  // its length
  const std::uint32_t table_offset = pointers.Be32();
  const std::uint32_t table_size = pointers.Be32();
  if (!pointers.Ok()) return false;

  headers.type = imagecore::kPictureCameraRaw;
  headers.fourcc = FourCC("RAF ");
  headers.alpha = imagecore::kAlphaNone;
  const PictureHeaders preview = ReadEmbeddedJpeg(source, jpeg_offset);
  headers.metadata = preview.metadata;
  headers.size = SizeInTable(ReadBytes(source, table_offset, std::min<std::size_t>(table_size, kMostTableBytes)));
  // The oldest cameras' files have no table.
  if (!headers.size) headers.size = preview.size;
  return headers.size.has_value();
}

}  // namespace media_server::image
