#include "media-server/image/minolta_raw.h"

#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_values.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"

namespace media_server::image {

bool ReadMinoltaRaw(IByteSource& file, PictureHeaders& headers) {
  using namespace std::string_view_literals;
  MeteredSource source(file, kMostStillBytes);
  constexpr std::uint64_t kBlockHeader = 8;  // name, bytes behind it
  constexpr std::size_t kDimensions = 16;
  constexpr int kMostBlocks = 16;
  headers.type = imagecore::kPictureCameraRaw;
  headers.fourcc = FourCC("MRW ");
  headers.alpha = imagecore::kAlphaNone;

  // The file's first block has the length of all others as its own.
  const auto first_bytes = ReadBytes(source, 0, kBlockHeader);
  ByteReader first(first_bytes);
  first.Skip(4);
  const std::uint64_t end = kBlockHeader + first.Be32();
  std::uint64_t offset = kBlockHeader;
  for (int i = 0; i < kMostBlocks && offset < end; ++i) {
    const auto bytes = ReadBytes(source, offset, kBlockHeader + kDimensions);
    ByteReader block(bytes);
    const std::string_view name = AsText(block.Take(4));
    const std::uint32_t size = block.Be32();
    if (!block.Ok()) break;
    if (name == "\0PRD"sv) {
      block.Skip(8);  // version
      block.Skip(4);  // height and width of the sensor
      const std::uint32_t height = block.Be16();
      const std::uint32_t width = block.Be16();
      if (block.Ok()) headers.size = PictureSize{width, height};
    }
    if (name == "\0TTW"sv && headers.metadata.exif_values.empty()) {
      headers.metadata.exif_values = ReadExifValues(source, offset + kBlockHeader);
    }
    offset += kBlockHeader + size;
  }
  return headers.size.has_value();
}

}  // namespace media_server::image
