#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// What libavformat does not tell about a track.
struct MatroskaTrack {
  std::uint64_t number = 0;
  std::uint64_t type = 0;      ///< TrackType; 0 when not told
  std::string codec_id;        ///< CodecID, valid UTF-8; empty when not told
  std::string language;        ///< Language, of ISO 639-2, valid UTF-8 like the next; empty when not told
  std::string language_tag;    ///< LanguageBCP47
  std::uint64_t frame_ns = 0;  ///< DefaultDuration; 0 when not told
  bool encrypted = false;      ///< has a ContentEncryption with an algorithm
};

struct MatroskaScan {
  std::vector<MatroskaTrack> tracks;  ///< in file order, at most 1000
  bool tells_duration = false;
  double tick_ns = 1e6;    ///< TimestampScale: a tick of the clock of blocks, in nanoseconds
  bool truncated = false;  ///< the Segment, or an element that its seek head names and that describes the file, ends
                           ///< behind the input
};

/// Reads the headers of a Matroska or WebM file: the elements in front of the first cluster, and those that the seek
/// head names behind it. Never fails: what is broken or missing stays empty. Reads at most 4 MiB of tracks and 1 MiB of
/// each seek head, 8 MiB in all.
MatroskaScan ScanMatroska(IByteSource& source);

}  // namespace media_server
