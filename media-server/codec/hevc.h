#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/nal_configuration.h"
#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Reads HEVC extradata: an hvcC record, or parameter sets behind start codes. Uses the first sequence parameter set of
/// the base layer that can be read; where a record holds none, its own fields remain. Empty when the bytes are neither.
std::optional<NalConfiguration> ReadHevcConfiguration(std::span<const std::uint8_t> extradata);

/// Adds to `facts` what the prefix SEI messages before the first slice of a sample tell; `nal_length_size` as
/// `NalReader` takes it.
void ReadHevcSei(std::span<const std::uint8_t> sample, int nal_length_size, SeiFacts& facts);

/// Kinds of pictures by the random access that they allow (table 7-1).
enum class HevcPictureKind {
  kIdr,
  kCra,    ///< clean random access: pictures shown before it may refer to earlier ones
  kBla,    ///< broken link access
  kOther,  ///< no random access point
};

/// The kind of the first coded picture of the base layer in a sample; empty when no slice is found. The first bytes of
/// a sample are enough as long as they reach the slice's header.
std::optional<HevcPictureKind> KindOfHevcPicture(std::span<const std::uint8_t> sample, int nal_length_size);

}  // namespace media_server::codec
