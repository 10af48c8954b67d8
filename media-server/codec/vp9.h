#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads the content of a vpcC box (VP Codec ISO Media File Format Binding, version 1) from its version byte on:
/// profile, level, bit depth, chroma and colour. Empty when it is shorter or of another version.
std::optional<PictureParameters> ReadVp9Configuration(std::span<const std::uint8_t> box);

/// Reads the uncompressed header at the start of a sample (VP9 bitstream specification, 6.2): key frames and other
/// intra frames tell everything but the level, inter frames only the profile. Empty when the bytes are no VP9 frame.
std::optional<PictureParameters> ReadVp9Frame(std::span<const std::uint8_t> sample);

}  // namespace media_server::codec
