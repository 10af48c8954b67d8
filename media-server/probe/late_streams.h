#pragma once

#include <cstdint>
#include <string_view>

#include "media-server/io/bounded_source.h"

struct AVFormatContext;

namespace media_server::probe {

/// libavformat's name of the demuxer of MPEG transport streams.
inline constexpr std::string_view kTransportStreamDemuxer = "mpegts";

/// Gives streams of an analysed transport stream that lack facts those that they have in the last `bytes` of the file.
/// Encoders send pictures up to a second before the sound that belongs to them, so sound sets in behind the first half
/// megabyte from some 5 Mb/s on; at the end all is under way. A broadcast that changes is described as it ends then.
/// False when facts are lacking still, or a stream is not seen to end there.
bool LearnFromEnd(BoundedSource& source, std::uint64_t bytes, AVFormatContext& context);

}  // namespace media_server::probe
