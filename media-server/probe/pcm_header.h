#pragma once

#include <cstdint>
#include <optional>
#include <span>

struct AVCodecParameters;
struct AVFormatContext;

namespace media_server::probe {

/// Which uncompressed sound tells its format in front of the samples of each packet, not in the container.
enum class PcmCarrier { kDvd, kBluRay, kAes3 };

/// Uncompressed sound as a packet's header tells it.
struct PcmFormat {
  std::uint32_t sample_rate_hz = 0;
  std::uint32_t channels = 0;
  std::uint32_t bits_per_sample = 0;
  std::uint64_t bit_rate_bps = 0;  ///< what the samples take as they are stored: padding and headers between them count

  friend bool operator==(const PcmFormat&, const PcmFormat&) = default;
};

/// Reads the header in front of `packet`: three bytes in a DVD's program stream, four in the transport stream of a
/// Blu-ray disc or of SMPTE ST 302. Empty where the header is cut short or names what does not exist.
std::optional<PcmFormat> ReadPcmHeader(PcmCarrier carrier, std::span<const std::uint8_t> packet);

/// The carrier of a stream with that codec; empty for all others.
std::optional<PcmCarrier> PcmCarrierOf(const AVCodecParameters& codec);

/// Gives the streams of such sound what their next packets tell; packets are read until every one had its own, or for
/// as many as lie between them in an ordinary file.
void DescribePackedPcm(AVFormatContext& context);

}  // namespace media_server::probe
