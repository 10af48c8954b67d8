#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace media_server {

/// What the header of an MPEG audio frame tells (ISO/IEC 11172-3, 2.4.2.3; ISO/IEC 13818-3; MPEG-2.5).
struct MpegAudioHeader {
  int layer = 0;  ///< 1 to 3
  std::uint32_t sample_rate_hz = 0;
  std::uint32_t channels = 0;    ///< 1 or 2
  std::uint32_t bit_rate = 0;    ///< of this frame, in bits per second
  std::uint32_t size_bytes = 0;  ///< of the whole frame
  std::uint32_t samples = 0;     ///< of each channel
  std::uint32_t constants = 0;   ///< the bits that all frames of a stream share: sync, version, layer, sample rate
};

inline constexpr std::size_t kMpegAudioHeaderSize = 4;

/// Reads the header that `frame` begins with. Empty where none stands there, and for the free bit rate, which does not
/// tell how long a frame is.
std::optional<MpegAudioHeader> ReadMpegAudioHeader(std::span<const std::uint8_t> frame);

}  // namespace media_server
