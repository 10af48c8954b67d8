#pragma once

#include <cstring>
#include <span>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {

inline std::span<AVStream* const> Streams(const AVFormatContext& context) {
  return {context.streams, context.nb_streams};
}

/// A picture that belongs to the file as a whole (the cover of a song) and stands among its streams.
inline bool IsCover(const AVStream& stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

/// Layer I, II or III.
inline bool IsMpegAudio(const AVStream& stream) {
  const AVCodecID codec = stream.codecpar->codec_id;
  return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 || codec == AV_CODEC_ID_MP3;
}

/// The number in an enum of libav*. libavformat puts numbers of the file there unchecked, and loading an enum that
/// holds a number outside its range is undefined.
template <typename Enum>
int NumberIn(const Enum& value) {
  int number = 0;
  static_assert(sizeof number == sizeof value);
  std::memcpy(&number, &value, sizeof number);
  return number;
}

}  // namespace media_server::probe
