#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// What a video parameter set tells beyond the sequence parameter sets.
struct HevcVideoParameterSet {
  std::optional<core::Rational> frame_rate;
  std::optional<int> views;  ///< distinct views of the layers, above 1
  bool alpha = false;        ///< a layer is an alpha plane
};

/// Reads a video parameter set (ITU-T H.265, 7.3.2.1 and F.7.3.2.1); `payload` as `NalPayload` gives it. What comes
/// before a truncation counts.
HevcVideoParameterSet ReadHevcVideoParameterSet(std::span<const std::uint8_t> payload);

/// Reads a sequence parameter set of the base layer (7.3.2.2). Empty when it ends before the picture ordering
/// information or holds a value out of range; a usability information that cannot be read leaves its facts empty.
std::optional<PictureParameters> ReadHevcSequenceParameterSet(std::span<const std::uint8_t> payload);

/// Profile, tier, level and source scan type from the 96 bits of a general profile_tier_level (7.3.3); hvcC repeats
/// them.
void ReadHevcProfileTierLevel(BitReader& bits, PictureParameters& picture);

}  // namespace media_server::codec
