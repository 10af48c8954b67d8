#include "media-server/container/transport_pes.h"

#include <algorithm>
#include <array>
#include <span>

#include "media-server/container/byte_reader.h"
#include "media-server/container/frame_sync.h"
#include "media-server/container/transport_packet.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kStart = 4096;
constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kPacket = 188;
constexpr std::size_t kProof = 5;             // packets
constexpr std::size_t kLongestPesHead = 264;  // 9 bytes, and the 255 that they may tell of

Bytes PayloadOf(Bytes packet, const TransportPacketHead& head) {
  const std::size_t adaptation = head.HasAdaptation() ? std::size_t{1} + packet[TransportPacketHead::kSize] : 0;
  const std::size_t start = std::min(TransportPacketHead::kSize + adaptation, kPacket);
  return head.HasPayload() ? packet.subspan(start) : Bytes();
}

std::vector<std::uint8_t> ContentOf(Bytes pes, std::size_t most) {
  ByteReader reader(pes);
  const bool has_start_code = reader.BigEndian(3) == 1;
  reader.Skip(5);  // stream id, length, flags
  reader.Skip(reader.U8());
  if (!has_start_code || !reader.Ok()) return {};
  const auto content = reader.Take(std::min(reader.Remaining(), most));
  return {content.begin(), content.end()};
}

}  // namespace

std::vector<std::uint8_t> ReadFirstPes(IByteSource& source, std::uint16_t pid, std::size_t most) {
  const auto start = ReadBytes(source, 0, kStart);
  const auto packets = FindTransportPackets(start, kProof, kProof);
  if (!packets) return {};
  std::vector<std::uint8_t> pes;
  std::array<std::uint8_t, kPacket> bytes;
  for (std::size_t at = packets->start; at < kWindow && source.ReadAt(at, bytes) == kPacket; at += packets->pitch) {
    const TransportPacketHead head(bytes);
    if (head.IsBroken() || head.Pid() != pid) continue;
    if (head.Scrambling() != 0) return {};
    if (head.BeginsPes() && !pes.empty()) break;
    if (!head.BeginsPes() && pes.empty()) continue;
    const Bytes payload = PayloadOf(bytes, head);
    pes.insert(pes.end(), payload.begin(), payload.end());
    if (pes.size() >= kLongestPesHead + most) break;
  }
  return ContentOf(pes, most);
}

}  // namespace media_server
