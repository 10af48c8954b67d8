#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/nal_configuration.h"
#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads H.264 extradata: an avcC (or mvcC) record, or parameter sets behind start codes. Uses the first sequence
/// parameter set that can be read; where a record holds none, its own profile and level remain. Empty when the bytes
/// are neither.
std::optional<NalConfiguration> ReadH264Configuration(std::span<const std::uint8_t> extradata);

/// Reads the parameter sets before the first slice of a sample (ISO/IEC 14496-10, 7.3.2); `nal_length_size` as
/// `NalReader` takes it. Empty when it has no sequence parameter set that can be read.
std::optional<PictureParameters> ReadH264ParameterSets(std::span<const std::uint8_t> sample, int nal_length_size);

/// True when the first coded slice of the sample belongs to an IDR picture, false for another picture; empty when no
/// slice is found. The first bytes of a sample are enough as long as they reach the slice's header byte.
std::optional<bool> IsH264Idr(std::span<const std::uint8_t> sample, int nal_length_size);

/// Adds to `facts` what the SEI messages before the first slice of a sample tell.
void ReadH264Sei(std::span<const std::uint8_t> sample, int nal_length_size, SeiFacts& facts);

}  // namespace media_server::codec
