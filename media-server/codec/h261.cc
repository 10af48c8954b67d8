#include "media-server/codec/h261.h"

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/video_usability.h"

namespace media_server::codec {

std::optional<PictureParameters> ReadH261Picture(std::span<const std::uint8_t> bytes) {
  constexpr unsigned kStartCodeBits = 20;
  constexpr std::uint32_t kStartCode = 0x10;
  for (unsigned shift = 0; shift < 8; ++shift) {
    BitReader bits(bytes);
    bits.Skip(shift);
    if (bits.Bits(kStartCodeBits) != kStartCode) continue;
    bits.Skip(5 + 3);  // temporal reference; split screen, document camera, freeze release
    const bool is_full = bits.Flag();
    if (!bits.Ok()) return std::nullopt;
    PictureParameters picture;
    SetPictureSize(picture, is_full ? 352 : 176, is_full ? 288 : 144);
    picture.sample_aspect_ratio = PositiveRatio(12, 11);  // the picture is 4:3
    picture.frame_rate = PositiveRatio(30'000, 1001);
    picture.progressive_only = true;
    return picture;
  }
  return std::nullopt;
}

}  // namespace media_server::codec
