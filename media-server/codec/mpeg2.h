#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads the first sequence header of MPEG-1 or MPEG-2 video (ISO/IEC 11172-2, ISO/IEC 13818-2) in extradata or at the
/// start of a sample, its extensions, and the order of the fields of the first picture behind it. A stream without
/// sequence extension is MPEG-1: it has no profile and level. Empty when there is no sequence header.
std::optional<PictureParameters> ReadMpegVideo(std::span<const std::uint8_t> bytes);

/// How the picture is coded whose header is the first in `bytes`: 1 intra, 2 predicted, 3 between two others
/// (picture_coding_type, ISO/IEC 13818-2, 6.3.9). Empty when there is no header, and for other types.
std::optional<int> ReadMpegPictureType(std::span<const std::uint8_t> bytes);

}  // namespace media_server::codec
