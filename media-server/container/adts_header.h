#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace media_server {

/// What the header of an ADTS frame of AAC tells (ISO/IEC 13818-7, 6.2).
struct AdtsHeader {
  std::uint32_t sample_rate_hz = 0;  ///< of the core, half of what is heard where the bands above are told otherwise
  std::uint32_t size_bytes = 0;      ///< of the whole frame
  std::uint32_t samples = 0;         ///< of each channel, at that rate
  std::uint32_t constants = 0;       ///< the bits that all frames of a stream share: sync, layer, profile, sample rate
};

inline constexpr std::size_t kAdtsHeaderSize = 7;

/// Reads the header that `frame` begins with. Empty where none stands there.
std::optional<AdtsHeader> ReadAdtsHeader(std::span<const std::uint8_t> frame);

}  // namespace media_server
