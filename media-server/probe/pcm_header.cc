#include "media-server/probe/pcm_header.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

using Bytes = std::span<const std::uint8_t>;

// A picture at 40 Mb/s is one packet of a transport stream, and sound comes at least every half second.
constexpr int kMostPackets = 256;

std::uint64_t BitsPerSecond(std::uint32_t rate, std::uint32_t channels, std::uint32_t bits) {
  return std::uint64_t{rate} * channels * bits;
}

// Emphasis and frame number, then quantisation, rate and channels, then range control.
std::optional<PcmFormat> ReadDvd(Bytes packet) {
  constexpr std::array<std::uint32_t, 4> kRates = {48000, 96000, 44100, 32000};
  constexpr std::array<std::uint32_t, 4> kBits = {16, 20, 24, 0};
  if (packet.size() < 3) return std::nullopt;
  PcmFormat format{.sample_rate_hz = kRates[packet[1] >> 4 & 3],
                   .channels = 1U + (packet[1] & 7U),
                   .bits_per_sample = kBits[packet[1] >> 6]};
  if (format.bits_per_sample == 0) return std::nullopt;
  format.bit_rate_bps = BitsPerSecond(format.sample_rate_hz, format.channels, format.bits_per_sample);
  return format;
}

// Size of the packet, then channel assignment and rate, then depth. Channels are stored in pairs, 20 bits in 24.
std::optional<PcmFormat> ReadBluRay(Bytes packet) {
  constexpr std::array<std::uint32_t, 16> kChannels = {0, 1, 0, 2, 3, 3, 4, 4, 5, 6, 7, 8, 0, 0, 0, 0};
  constexpr std::array<std::uint32_t, 16> kRates = {0, 48000, 0, 0, 96000, 192000};
  constexpr std::array<std::uint32_t, 4> kBits = {0, 16, 20, 24};
  if (packet.size() < 4) return std::nullopt;
  PcmFormat format{.sample_rate_hz = kRates[packet[2] & 0xF],
                   .channels = kChannels[packet[2] >> 4],
                   .bits_per_sample = kBits[packet[3] >> 6]};
  if (format.sample_rate_hz == 0 || format.channels == 0 || format.bits_per_sample == 0) return std::nullopt;
  const std::uint32_t stored_channels = format.channels + format.channels % 2;
  const std::uint32_t stored_bits = format.bits_per_sample == 16 ? 16 : 24;
  format.bit_rate_bps = BitsPerSecond(format.sample_rate_hz, stored_channels, stored_bits);
  return format;
}

// SMPTE ST 302, 5.2: size of the payload, pairs of channels, channel identification, depth. Each sample has four bits
// of status behind it; the rate is always 48 kHz.
std::optional<PcmFormat> ReadAes3(Bytes packet) {
  constexpr std::uint32_t kRate = 48000;
  constexpr std::size_t kHeader = 4;
  if (packet.size() < kHeader) return std::nullopt;
  const std::uint32_t payload = packet[0] * 256U + packet[1];
  PcmFormat format{.sample_rate_hz = kRate,
                   .channels = (packet[2] >> 6) * 2U + 2,
                   .bits_per_sample = (packet[3] >> 4 & 3) * 4U + 16};
  const std::uint32_t bits_of_all_channels = format.channels * (format.bits_per_sample + 4);
  const std::uint32_t samples = payload * 8 / bits_of_all_channels;
  if (format.bits_per_sample > 24 || samples == 0) return std::nullopt;
  format.bit_rate_bps = BitsPerSecond(kRate, 1, bits_of_all_channels) + std::uint64_t{kHeader} * 8 * kRate / samples;
  return format;
}

bool LacksFormat(const AVStream& stream) {
  return stream.codecpar->sample_rate <= 0 && PcmCarrierOf(*stream.codecpar).has_value();
}

void Describe(const AVPacket& packet, AVCodecParameters& codec) {
  const auto format = ReadPcmHeader(*PcmCarrierOf(codec), BytesOf(packet));
  if (!format) return;
  codec.sample_rate = static_cast<int>(format->sample_rate_hz);
  codec.bits_per_raw_sample = static_cast<int>(format->bits_per_sample);
  codec.bit_rate = static_cast<std::int64_t>(format->bit_rate_bps);
  av_channel_layout_uninit(&codec.ch_layout);
  av_channel_layout_default(&codec.ch_layout, static_cast<int>(format->channels));
}

}  // namespace

std::optional<PcmFormat> ReadPcmHeader(PcmCarrier carrier, Bytes packet) {
  switch (carrier) {
    case PcmCarrier::kDvd:
      return ReadDvd(packet);
    case PcmCarrier::kBluRay:
      return ReadBluRay(packet);
    case PcmCarrier::kAes3:
      return ReadAes3(packet);
  }
  return std::nullopt;
}

std::optional<PcmCarrier> PcmCarrierOf(const AVCodecParameters& codec) {
  switch (codec.codec_id) {
    case AV_CODEC_ID_PCM_DVD:
      return PcmCarrier::kDvd;
    case AV_CODEC_ID_PCM_BLURAY:
      return PcmCarrier::kBluRay;
    case AV_CODEC_ID_S302M:
      return PcmCarrier::kAes3;
    default:
      return std::nullopt;
  }
}

void DescribePackedPcm(AVFormatContext& context) {
  const auto any_lacks_format = [&] {
    return std::ranges::any_of(Streams(context), [](const AVStream* stream) { return LacksFormat(*stream); });
  };
  if (!any_lacks_format()) return;
  PacketWalk walk(context, {.packets = kMostPackets});
  while (any_lacks_format()) {
    const AVPacket* packet = walk.Next();
    if (packet == nullptr) return;
    const AVStream& stream = *context.streams[packet->stream_index];
    if (LacksFormat(stream)) Describe(*packet, *stream.codecpar);
  }
}

}  // namespace media_server::probe
