#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media-server/model/media_description.h"
#include "media-server/probe/elementary_stream.h"
#include "media-server/probe/picture_header.h"
#include "media-server/probe/track_facts.h"

struct AVStream;

namespace media_server::probe {

/// What is known about a picture stream, and from where.
struct PictureFacts {
  PictureHeader header;  ///< from the codec's own header
  TrackFacts track;      ///< from the container, where libavformat hides it
  std::optional<bool> file_is_truncated;
  /// The container tells the ratio of the whole picture, which libavformat makes one of the samples it stores.
  bool aspect_is_of_display = false;
  std::optional<std::string> gop;       ///< as "M=3, N=12"
  std::uint32_t sample_count = 0;       ///< in the container's index of all samples; 0 where it has none
  std::optional<PictureTiming> timing;  ///< of a stream without a clock; wins over libavformat's guess
};

/// Fills the picture part of `description`, whose duration is set already, from libavformat's stream and the other
/// facts. Where they differ, sizes and colours of the codec's header win over the container's: they are what a decoder
/// shows.
void DescribePicture(const AVStream& stream, const PictureFacts& facts, StreamDescription& description);

}  // namespace media_server::probe
