#include "media-server/container/adts_header.h"

#include <array>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

constexpr std::array<std::uint32_t, 13> kSampleRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                        22050, 16000, 12000, 11025, 8000,  7350};
constexpr std::uint32_t kSamplesOfABlock = 1024;

}  // namespace

std::optional<AdtsHeader> ReadAdtsHeader(std::span<const std::uint8_t> frame) {
  ByteReader reader(frame);
  const std::uint64_t bits = reader.BigEndian(kAdtsHeaderSize);
  const bool sync_and_layer = (bits >> 40 & 0xFFF6) == 0xFFF0;
  const auto rate_index = static_cast<std::size_t>(bits >> 34 & 15);
  const auto size = static_cast<std::uint32_t>(bits >> 13 & 0x1FFF);
  const auto blocks = static_cast<std::uint32_t>(bits & 3) + 1;
  if (!reader.Ok() || !sync_and_layer || rate_index >= kSampleRates.size() || size < kAdtsHeaderSize) {
    return std::nullopt;
  }
  constexpr std::uint32_t kConstants = 0xFFF6FC00;
  return AdtsHeader{kSampleRates[rate_index], size, blocks * kSamplesOfABlock,
                    static_cast<std::uint32_t>(bits >> 24) & kConstants};
}

}  // namespace media_server
