#include "media-server/image/box_view.h"

#include <algorithm>

namespace media_server::image {

std::optional<BoxView> NextBox(ByteReader& reader) {
  const std::size_t begin = reader.Position();
  const std::size_t room = reader.Remaining();
  std::uint64_t size = reader.Be32();
  const std::string_view type = AsText(reader.Take(4));
  if (size == 1) size = reader.Be64();
  if (!reader.Ok()) return std::nullopt;
  if (size == 0) size = room;
  const std::size_t header_size = reader.Position() - begin;
  if (size < header_size) return std::nullopt;
  const auto payload_size = static_cast<std::size_t>(std::min<std::uint64_t>(size, room)) - header_size;
  return BoxView{type, reader.Take(payload_size)};
}

std::optional<BoxView> FindBox(std::span<const std::uint8_t> boxes, std::string_view type) {
  ByteReader reader(boxes);
  while (const auto box = NextBox(reader)) {
    if (box->type == type) return box;
  }
  return std::nullopt;
}

}  // namespace media_server::image
