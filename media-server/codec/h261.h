#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Size, aspect ratio and rate of an H.261 picture by the header that `bytes` begin with (ITU-T H.261, 4.2.1), whose
/// start code may stand at any bit of the first byte. The rate is that of the clock: pictures may be left out. Empty
/// for anything else.
std::optional<PictureParameters> ReadH261Picture(std::span<const std::uint8_t> bytes);

}  // namespace media_server::codec
