#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "media-server/container/byte_reader.h"

namespace media_server::image {

/// One box in memory (ISO/IEC 14496-12 4.2); borrows the bytes that it was read from.
struct BoxView {
  std::string_view type;
  std::span<const std::uint8_t> payload;  ///< as far as the bytes reach
};

/// The box that starts at the reader's place, which moves behind it. Empty at the end and at a size that cannot be. A
/// size of 0 reaches to the end.
std::optional<BoxView> NextBox(ByteReader& reader);

/// First box of the given type among neighbours; empty when there is none.
std::optional<BoxView> FindBox(std::span<const std::uint8_t> boxes, std::string_view type);

}  // namespace media_server::image
