#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads the size of a JPEG, PNG, GIF, BMP or WebP picture held in memory, such as the cover in a music file, whose
/// declared type is often wrong: the bytes decide. Bits per component, chroma and alpha come along where the header
/// tells them; nothing is decoded. Empty for other formats and for headers that are cut short.
std::optional<PictureParameters> ReadImageSize(std::span<const std::uint8_t> image);

}  // namespace media_server::codec
