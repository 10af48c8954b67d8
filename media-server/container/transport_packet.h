#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace media_server {

/// The head of a packet of an MPEG transport stream (ISO/IEC 13818-1, 2.4.3.2).
struct TransportPacketHead {
  static constexpr std::size_t kSize = 4;

  /// Borrows the bytes.
  explicit TransportPacketHead(std::span<const std::uint8_t> packet) : bytes(packet.first<kSize>()) {}

  bool IsBroken() const { return bytes[0] != 0x47 || (bytes[1] & 0x80) != 0; }
  bool BeginsPes() const { return (bytes[1] & 0x40) != 0; }
  std::uint16_t Pid() const { return static_cast<std::uint16_t>((bytes[1] & 0x1F) << 8 | bytes[2]); }
  /// 0 for clear packets, 1 reserved, 2 and 3 by the key.
  unsigned Scrambling() const { return bytes[3] >> 6; }
  bool HasAdaptation() const { return (bytes[3] & 0x20) != 0; }
  bool HasPayload() const { return (bytes[3] & 0x10) != 0; }

  std::span<const std::uint8_t, kSize> bytes;
};

}  // namespace media_server
