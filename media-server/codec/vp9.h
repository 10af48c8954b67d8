#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads the uncompressed header at the start of a sample (VP9 bitstream specification, 6.2): key frames and other
/// intra frames tell everything but the level, inter frames only the profile. Empty when the bytes are no VP9 frame.
std::optional<PictureParameters> ReadVp9Frame(std::span<const std::uint8_t> sample);

}  // namespace media_server::codec
