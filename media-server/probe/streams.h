#pragma once

#include <span>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {

inline std::span<AVStream* const> Streams(const AVFormatContext& context) {
  return {context.streams, context.nb_streams};
}

/// A picture that belongs to the file as a whole (the cover of a song) and stands among its streams.
inline bool IsCover(const AVStream& stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

}  // namespace media_server::probe
