#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Streams without a file header, known only by the sync words of their frames.
enum class FrameStream {
  kMpegLayer1,
  kMpegLayer2,
  kMpegLayer3,
  kAdts,
  kLoas,
  kAc3,
  kEac3,
  kDts,
  kMpegTransport,
};

/// Names the stream whose frames follow one another from `offset` without a gap. A sync word of 11 to 16 bits occurs in
/// any data, so four frames with the same basic parameters are asked for; two suffice where they reach the end of the
/// input or the tag (ID3v1, APE) that closes it. For transport streams ten packets at a pitch of 188, 192 or 204 bytes,
/// the first of them within one pitch of `offset`, or all packets of a shorter input, at least three. Reads at most
/// about 4 KiB.
std::optional<FrameStream> ProveFrameStream(IByteSource& source, std::uint64_t offset);

/// Where the packets of a transport stream lie.
struct TransportPackets {
  std::size_t start = 0;
  std::size_t pitch = 0;  ///< 188, 192 or 204 bytes
};

/// Finds the packets of a transport stream, the first within one pitch of the window's start: `wanted` of them that
/// follow one another, or at least `least` where they fill a window of less than 4 KiB, which is taken for a whole
/// input.
std::optional<TransportPackets> FindTransportPackets(std::span<const std::uint8_t> window, std::size_t wanted,
                                                     std::size_t least);

}  // namespace media_server
