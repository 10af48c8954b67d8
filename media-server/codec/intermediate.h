#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

// Codecs for editing and capture that keep many kinds of pictures: which kind a stream has, and nothing else.

/// Depth, chroma and matrix of Ut Video by its FourCC, first character in the least significant byte. Empty for others.
std::optional<PictureParameters> UtVideoFormat(std::uint32_t codec_tag);

/// Depth and chroma of HuffYUV and of FFmpeg's variant of it: by the extradata, or, where these are too old to tell, by
/// the bits that the container gives a pixel. Empty where neither is known.
std::optional<PictureParameters> HuffYuvFormat(std::span<const std::uint8_t> extradata, int bits_per_pixel);

/// Depth and chroma as the header of a MagicYUV frame tells them; its first ten bytes are enough. Empty for anything
/// else.
std::optional<PictureParameters> ReadMagicYuvFrame(std::span<const std::uint8_t> frame);

}  // namespace media_server::codec
