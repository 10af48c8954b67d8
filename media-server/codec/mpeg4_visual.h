#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads the first video object layer of MPEG-4 Visual (ISO/IEC 14496-2, 6.2) in extradata or at the start of a sample,
/// and the profile and colour that the headers above it tell. Empty when there is no layer of rectangular 8-bit
/// pictures; of the studio profiles only profile and level are read.
std::optional<PictureParameters> ReadMpeg4Visual(std::span<const std::uint8_t> bytes);

}  // namespace media_server::codec
