#pragma once

#include <cstdint>
#include <optional>

#include "media-server/probe/packet_walk.h"

struct AVFormatContext;

namespace media_server::probe {

/// When the pictures of a stream are shown.
struct PictureTiming {
  double frame_rate = 0;  ///< frames per second, above 0
  std::uint32_t frame_count = 0;
  double duration = 0;  ///< seconds
};

/// Whether the file is nothing but one coded picture stream, which has no clock and counts nothing.
bool IsElementaryPictureStream(const AVFormatContext& context);

/// Times an elementary picture stream of `size` bytes: its pictures are counted as far as a bounded read goes, and
/// extrapolated; `header_rate` is the frame rate that the codec's header tells, 0 when it does not. Empty when no
/// picture was found. Reads packets: libavformat has no second pass over a stream. Those that were read before are
/// `taken`.
std::optional<PictureTiming> TimeElementaryStream(AVFormatContext& context, const PacketSum& taken, double header_rate,
                                                  std::uint64_t size);

}  // namespace media_server::probe
