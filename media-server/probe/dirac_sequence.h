#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::probe {

/// What the sequence header of Dirac or VC-2 tells that `bytes` begin with, behind its parse info (Dirac specification
/// 9.6, 10). Empty for anything else.
std::optional<codec::PictureParameters> ReadDiracSequence(std::span<const std::uint8_t> bytes);

}  // namespace media_server::probe
