#include "media-server/image/qoi.h"

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {

bool ReadQoi(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kHeaderSize = 14;
  constexpr std::uint8_t kRgba = 4;
  const auto bytes = ReadBytes(source, 0, kHeaderSize);
  ByteReader reader(bytes);
  reader.Skip(4);  // magic
  const std::uint32_t width = reader.Be32();
  const std::uint32_t height = reader.Be32();
  const std::uint8_t channels = reader.U8();
  if (!reader.Ok()) return false;
  headers.fourcc = FourCC("qoif");
  headers.size = PictureSize{width, height};
  headers.alpha = channels == kRgba ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
  return true;
}

}  // namespace media_server::image
