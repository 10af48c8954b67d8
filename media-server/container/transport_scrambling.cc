#include "media-server/container/transport_scrambling.h"

#include <cstddef>
#include <map>
#include <span>

#include "media-server/container/byte_reader.h"
#include "media-server/container/frame_sync.h"
#include "media-server/container/transport_packet.h"

namespace media_server {
namespace {

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kProof = 5;  // packets

}  // namespace

std::vector<std::uint16_t> ReadScrambledPids(IByteSource& source) {
  const auto window = ReadBytes(source, 0, kWindow);
  const auto packets = FindTransportPackets(window, kProof, kProof);
  if (!packets) return {};
  std::map<std::uint16_t, int> balances;  // scrambled packets less clear ones
  for (std::size_t at = packets->start; at + TransportPacketHead::kSize <= window.size(); at += packets->pitch) {
    const TransportPacketHead head{std::span(window).subspan(at)};
    if (head.IsBroken() || !head.HasPayload()) continue;
    balances[head.Pid()] += head.Scrambling() >= 2 ? 1 : -1;
  }
  std::vector<std::uint16_t> scrambled;
  for (const auto& [pid, balance] : balances) {
    if (balance > 0) scrambled.push_back(pid);
  }
  return scrambled;
}

}  // namespace media_server
