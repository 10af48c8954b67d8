#include "media-server/container/transport_pes.h"

#include <algorithm>
#include <array>
#include <span>

#include "media-server/container/byte_reader.h"
#include "media-server/container/frame_sync.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kStart = 4096;
constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kPacket = 188;
constexpr std::size_t kProof = 5;             // packets
constexpr std::size_t kLongestPesHead = 264;  // 9 bytes, and the 255 that they may tell of

/// The fields of a packet's head (ISO/IEC 13818-1, 2.4.3.2).
struct Packet {
  explicit Packet(Bytes packet) : bytes(packet) {}

  bool IsOf(std::uint16_t pid) const {
    const bool is_broken = bytes[0] != 0x47 || (bytes[1] & 0x80) != 0;
    return !is_broken && ((bytes[1] & 0x1F) << 8 | bytes[2]) == pid;
  }
  bool BeginsPes() const { return (bytes[1] & 0x40) != 0; }
  bool IsScrambled() const { return (bytes[3] & 0xC0) != 0; }
  Bytes Payload() const {
    constexpr std::size_t kHead = 4;
    const bool has_payload = (bytes[3] & 0x10) != 0;
    const std::size_t adaptation = (bytes[3] & 0x20) != 0 ? std::size_t{1} + bytes[kHead] : 0;
    return has_payload ? bytes.subspan(std::min(kHead + adaptation, kPacket)) : Bytes();
  }

  Bytes bytes;
};

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
    const Packet packet(bytes);
    if (!packet.IsOf(pid)) continue;
    if (packet.IsScrambled()) return {};
    if (packet.BeginsPes() && !pes.empty()) break;
    if (!packet.BeginsPes() && pes.empty()) continue;
    const Bytes payload = packet.Payload();
    pes.insert(pes.end(), payload.begin(), payload.end());
    if (pes.size() >= kLongestPesHead + most) break;
  }
  return ContentOf(pes, most);
}

}  // namespace media_server
