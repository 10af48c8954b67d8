#include "media-server/container/mpeg_audio_header.h"

#include <array>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

// kbit/s by bit rate index.
using BitRates = std::array<std::uint16_t, 15>;
constexpr BitRates kMpeg1Layer1 = {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
constexpr BitRates kMpeg1Layer2 = {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
constexpr BitRates kMpeg1Layer3 = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr BitRates kMpeg2Layer1 = {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
constexpr BitRates kMpeg2Layer23 = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
constexpr std::array<std::uint32_t, 3> kMpeg1Rates = {44100, 48000, 32000};

}  // namespace

std::optional<MpegAudioHeader> ReadMpegAudioHeader(std::span<const std::uint8_t> frame) {
  ByteReader reader(frame);
  const std::uint32_t word = reader.Be32();
  const std::uint32_t version = word >> 19 & 3;  // 0: 2.5, 2: 2, 3: 1
  const std::uint32_t layer_bits = word >> 17 & 3;
  const std::uint32_t bit_rate_index = word >> 12 & 15;
  const std::uint32_t rate_index = word >> 10 & 3;
  const std::uint32_t padding = word >> 9 & 1;
  const bool is_mono = (word >> 6 & 3) == 3;
  const bool reserved_emphasis = (word & 3) == 2;
  if (!reader.Ok() || word >> 21 != 0x7FF || version == 1 || layer_bits == 0 || bit_rate_index == 0 ||
      bit_rate_index == 15 || rate_index == 3 || reserved_emphasis) {
    return std::nullopt;
  }
  const bool mpeg1 = version == 3;
  const std::uint32_t layer = 4 - layer_bits;
  const BitRates& table = layer == 1   ? (mpeg1 ? kMpeg1Layer1 : kMpeg2Layer1)
                          : !mpeg1     ? kMpeg2Layer23
                          : layer == 2 ? kMpeg1Layer2
                                       : kMpeg1Layer3;
  const std::uint32_t bit_rate = table[bit_rate_index] * 1000U;
  const std::uint32_t sample_rate = kMpeg1Rates[rate_index] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
  const std::uint32_t slots_factor = layer == 1 ? 12 : (layer == 3 && !mpeg1) ? 72 : 144;
  const std::uint32_t slot_bytes = layer == 1 ? 4 : 1;
  const std::uint32_t size = (slots_factor * bit_rate / sample_rate + padding) * slot_bytes;
  const std::uint32_t samples = slots_factor * slot_bytes * 8;
  constexpr std::uint32_t kConstants = 0xFFFE0C00;
  return MpegAudioHeader{static_cast<int>(layer), sample_rate, is_mono ? 1U : 2U, bit_rate, size, samples,
                         word & kConstants};
}

}  // namespace media_server
