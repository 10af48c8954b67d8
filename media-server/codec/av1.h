#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads AV1 extradata: an av1C record, or open bitstream units (low overhead format). Where a record holds no sequence
/// header that can be read, its own fields remain: profile, level, tier, bit depth and chroma. Empty when the bytes are
/// neither.
std::optional<PictureParameters> ReadAv1Configuration(std::span<const std::uint8_t> extradata);

/// Reads the first sequence header among the open bitstream units of a sample (AV1 specification, 5.5). Empty when
/// there is none that can be read.
std::optional<PictureParameters> ReadAv1Sample(std::span<const std::uint8_t> sample);

}  // namespace media_server::codec
