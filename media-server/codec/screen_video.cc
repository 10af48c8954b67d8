#include "media-server/codec/screen_video.h"

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {

std::optional<PictureParameters> ReadScreenVideoFrame(std::span<const std::uint8_t> frame) {
  constexpr unsigned kBlockBits = 4;
  constexpr unsigned kSizeBits = 12;
  BitReader bits(frame);
  bits.Skip(kBlockBits);
  const std::uint32_t width = bits.Bits(kSizeBits);
  bits.Skip(kBlockBits);
  const std::uint32_t height = bits.Bits(kSizeBits);
  PictureParameters picture;
  if (!bits.Ok() || !SetPictureSize(picture, width, height)) return std::nullopt;
  return picture;
}

}  // namespace media_server::codec
