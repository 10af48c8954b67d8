#include "media-server/image/embedded_jpeg.h"

#include "media-server/container/byte_reader.h"
#include "media-server/image/jpeg.h"
#include "media-server/io/tail_source.h"

namespace media_server::image {

PictureHeaders ReadEmbeddedJpeg(IByteSource& source, std::uint64_t offset) {
  constexpr std::string_view kStartOfImage = "\xff\xd8\xff";
  PictureHeaders headers;
  TailSource tail(source, offset);
  if (AsText(ReadBytes(tail, 0, kStartOfImage.size())) == kStartOfImage) ReadJpeg(tail, headers);
  return headers;
}

}  // namespace media_server::image
