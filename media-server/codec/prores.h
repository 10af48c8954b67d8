#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// What the sample entry's code tells of a ProRes stream: profile (0 proxy, 1 LT, 2 standard, 3 HQ, 4 4444, 5 XQ),
/// chroma and bit depth (12 for the two 4444 kinds). `codec_tag` has the first character in its lowest byte. Empty for
/// others.
std::optional<PictureParameters> ProResFormat(std::uint32_t codec_tag);

/// Reads the frame header at the start of a sample (SMPTE RDD 36, 5.1.1): size, chroma, scan, frame rate, colour and
/// alpha. Empty when the bytes are no ProRes frame.
std::optional<PictureParameters> ReadProResFrame(std::span<const std::uint8_t> sample);

}  // namespace media_server::codec
