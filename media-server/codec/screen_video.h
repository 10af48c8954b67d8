#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// The size at the front of a frame of Screen Video, of either version (FLV specification, E.4.3.1). Empty when the
/// bytes end before it or no picture has such a size.
std::optional<PictureParameters> ReadScreenVideoFrame(std::span<const std::uint8_t> frame);

}  // namespace media_server::codec
