#include "media-server/image/mng.h"

#include <cstddef>
#include <cstdint>

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {

bool ReadMng(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kSignatureSize = 8;
  constexpr std::size_t kHeaderChunkSize = 8 + 7 * 4;
  constexpr std::uint32_t kForever = 0x7FFFFFFF;
  const auto bytes = ReadBytes(source, kSignatureSize, kHeaderChunkSize);
  ByteReader reader(bytes);
  reader.Skip(4);  // length
  const bool is_header = AsText(reader.Take(4)) == "MHDR";
  const std::uint32_t width = reader.Be32();
  const std::uint32_t height = reader.Be32();
  const std::uint32_t ticks_per_second = reader.Be32();
  reader.Skip(2 * 4);  // layers, frames
  const std::uint32_t play_time_ticks = reader.Be32();
  reader.Skip(4);  // profile
  if (!reader.Ok() || !is_header) return false;
  headers.fourcc = FourCC("MNG ");
  headers.size = PictureSize{width, height};
  const bool is_timed = ticks_per_second > 0 && play_time_ticks > 0 && play_time_ticks < kForever;
  if (is_timed) headers.animation = Animation{static_cast<double>(play_time_ticks) / ticks_per_second, std::nullopt};
  return true;
}

}  // namespace media_server::image
