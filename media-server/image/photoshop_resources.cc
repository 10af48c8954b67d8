#include "media-server/image/photoshop_resources.h"

#include "media-server/container/byte_reader.h"

namespace media_server::image {

std::span<const std::uint8_t> FindPhotoshopResource(std::span<const std::uint8_t> blocks, std::uint16_t id) {
  ByteReader reader(blocks);
  while (reader.Remaining() > 0) {
    reader.Skip(4);  // "8BIM", or the signature of a plug-in
    const std::uint16_t block_id = reader.Be16();
    const std::uint8_t name_size = reader.U8();
    reader.Skip(name_size + (name_size % 2 == 0 ? 1U : 0U));  // even with its length byte
    const std::uint32_t size = reader.Be32();
    const auto data = reader.Take(size);
    if (!reader.Ok()) return {};
    if (block_id == id) return data;
    if (size % 2 != 0 && reader.Remaining() > 0) reader.Skip(1);
  }
  return {};
}

}  // namespace media_server::image
