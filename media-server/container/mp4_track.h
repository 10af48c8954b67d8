#pragma once

#include "media-server/container/mp4_boxes.h"
#include "media-server/container/mp4_movie.h"

namespace media_server {

/// Times and length as `mvhd` and `mdhd` begin with them (ISO/IEC 14496-12 8.2.2, 8.4.2).
struct Mp4MediaHeader {
  Mp4HeaderTimes times;
  std::uint32_t timescale = 0;
  std::optional<Mp4Duration> duration;  ///< empty when 0 or marked unknown
  std::uint16_t packed_language = 0;    ///< mdhd only
};
std::optional<Mp4MediaHeader> ReadMp4MediaHeader(Mp4BoxReader& boxes, const Mp4Box& box);

/// Reads one `trak`, without its metadata. `input_size` bounds what the sample tables can mean, where it is known.
Mp4Track ReadMp4Track(Mp4BoxReader& boxes, const Mp4Box& trak, std::optional<std::uint64_t> input_size);

}  // namespace media_server
