#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace media_server::codec {

/// What the header of a sound codec tells, as containers keep it beside the stream. Unset: not told. Containers repeat
/// some of it in fields of their own, which writers leave at a default or which are too narrow.
struct SoundConfiguration {
  std::optional<std::int32_t> profile;  ///< of AAC: libavcodec's number, the audio object type less one
  std::optional<std::uint32_t> sample_rate_hz;
  std::optional<std::uint32_t> channels;
  std::optional<std::uint32_t> bits_per_sample;
};

/// AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1): the profile, with spectral band replication and parametric stereo
/// also where they stand behind the plain configuration; of the channels only the two that parametric stereo makes of
/// one. Empty where the bytes end early.
SoundConfiguration ReadAacConfiguration(std::span<const std::uint8_t> bytes);

/// The box with the ALACSpecificConfig, 36 bytes: rate, channels and depth.
SoundConfiguration ReadAlacConfiguration(std::span<const std::uint8_t> bytes);

/// STREAMINFO (RFC 9639, 8.2), with or without the marker and the block header in front: rate, channels and depth.
SoundConfiguration ReadFlacConfiguration(std::span<const std::uint8_t> bytes);

/// OpusHead (RFC 7845, 5.1): the channels.
SoundConfiguration ReadOpusConfiguration(std::span<const std::uint8_t> bytes);

}  // namespace media_server::codec
