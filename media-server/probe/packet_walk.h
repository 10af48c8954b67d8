#pragma once

#include <cstdint>
#include <limits>
#include <span>

#include "media-server/probe/av_handles.h"

namespace media_server::probe {

std::span<const std::uint8_t> BytesOf(const AVPacket& packet);

/// How much of a file is read in search of something: no packet is begun behind either bound.
struct PacketBounds {
  int packets = std::numeric_limits<int>::max();
  std::uint64_t bytes = std::numeric_limits<std::uint64_t>::max();  ///< in the packets
};

/// How many packets, and what they come to.
struct PacketSum {
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;
  std::int64_t ticks = 0;  ///< for which they are shown; means something where all are of one stream
};

/// Reads the packets of a file from where reading stands, a bounded number. Borrows the context. What it passes is lost
/// to later readers of packets.
class PacketWalk {
 public:
  /// Why there is no further packet.
  enum class End { kNone, kFile, kBound, kError };

  PacketWalk(AVFormatContext& context, const PacketBounds& bounds);

  /// The next packet, valid until the next call; null at the end, and from then on.
  const AVPacket* Next();
  /// `kNone` as long as `Next` may give more.
  End ReachedEnd() const { return end_; }
  /// Of the packets given so far.
  PacketSum Seen() const { return {static_cast<std::uint64_t>(packets_seen_), bytes_seen_, ticks_seen_}; }

 private:
  AVFormatContext& context_;
  const PacketBounds bounds_;
  PacketHandle packet_;
  int packets_seen_ = 0;
  std::uint64_t bytes_seen_ = 0;
  std::int64_t ticks_seen_ = 0;
  End end_ = End::kNone;
};

}  // namespace media_server::probe
