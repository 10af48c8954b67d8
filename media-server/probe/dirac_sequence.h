#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

namespace media_server::probe {

/// Bytes of the head of every unit of a Dirac stream: a code and the distances to the next one and the one before.
inline constexpr std::size_t kDiracParseInfo = 13;

/// What the sequence header of Dirac or VC-2 tells that `bytes` begin with, behind its parse info (Dirac specification
/// 9.6, 10). Empty for anything else.
std::optional<codec::PictureParameters> ReadDiracSequence(std::span<const std::uint8_t> bytes);

}  // namespace media_server::probe
