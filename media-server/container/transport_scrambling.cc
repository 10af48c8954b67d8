#include "media-server/container/transport_scrambling.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <span>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kPacketHead = 4;
constexpr std::uint8_t kSync = 0x47;
constexpr std::array<std::size_t, 3> kPitches = {188, 192, 204};

struct Packets {
  std::size_t start = 0;
  std::size_t pitch = 0;
};

std::optional<Packets> FindPackets(Bytes window) {
  constexpr std::size_t kProof = 5;
  for (const std::size_t pitch : kPitches) {
    for (std::size_t start = 0; start < pitch && start + (kProof - 1) * pitch < window.size(); ++start) {
      std::size_t proven = 0;
      while (proven < kProof && window[start + proven * pitch] == kSync) ++proven;
      if (proven == kProof) return Packets{start, pitch};
    }
  }
  return std::nullopt;
}

struct Counts {
  int packets = 0;
  int scrambled = 0;
};

}  // namespace

std::vector<std::uint16_t> ReadScrambledPids(IByteSource& source) {
  const auto window = ReadBytes(source, 0, kWindow);
  const auto packets = FindPackets(window);
  if (!packets) return {};
  std::map<std::uint16_t, Counts> counts;
  for (std::size_t at = packets->start; at + kPacketHead <= window.size(); at += packets->pitch) {
    const bool is_broken = window[at] != kSync || (window[at + 1] & 0x80) != 0;
    const bool has_payload = (window[at + 3] & 0x10) != 0;
    if (is_broken || !has_payload) continue;
    Counts& of_pid = counts[static_cast<std::uint16_t>((window[at + 1] & 0x1F) << 8 | window[at + 2])];
    ++of_pid.packets;
    if ((window[at + 3] & 0x80) != 0) ++of_pid.scrambled;
  }
  std::vector<std::uint16_t> scrambled;
  for (const auto& [pid, count] : counts) {
    if (count.scrambled * 2 > count.packets) scrambled.push_back(pid);
  }
  return scrambled;
}

}  // namespace media_server
