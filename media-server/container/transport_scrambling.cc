#include "media-server/container/transport_scrambling.h"

#include <cstddef>
#include <map>

#include "media-server/container/byte_reader.h"
#include "media-server/container/frame_sync.h"

namespace media_server {
namespace {

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kPacketHead = 4;
constexpr std::uint8_t kSync = 0x47;
constexpr std::size_t kProof = 5;  // packets

}  // namespace

std::vector<std::uint16_t> ReadScrambledPids(IByteSource& source) {
  const auto window = ReadBytes(source, 0, kWindow);
  const auto packets = FindTransportPackets(window, kProof, kProof);
  if (!packets) return {};
  std::map<std::uint16_t, int> balances;  // scrambled packets less clear ones
  for (std::size_t at = packets->start; at + kPacketHead <= window.size(); at += packets->pitch) {
    const bool is_broken = window[at] != kSync || (window[at + 1] & 0x80) != 0;
    const bool has_payload = (window[at + 3] & 0x10) != 0;
    if (is_broken || !has_payload) continue;
    const bool is_scrambled = (window[at + 3] & 0x80) != 0;
    balances[static_cast<std::uint16_t>((window[at + 1] & 0x1F) << 8 | window[at + 2])] += is_scrambled ? 1 : -1;
  }
  std::vector<std::uint16_t> scrambled;
  for (const auto& [pid, balance] : balances) {
    if (balance > 0) scrambled.push_back(pid);
  }
  return scrambled;
}

}  // namespace media_server
