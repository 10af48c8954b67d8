#pragma once

#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Seconds of a file of AMR or AMR-WB frames (RFC 4867, section 5), each of which lasts 20 ms and tells its size.
/// Frames are counted in the first 4 MiB (128 KiB where a server gives them): silence is much time in few bytes. What
/// lies behind is taken to have as many in as many bytes. Empty for other files, also those of several channels, and
/// where the length of the input is not known.
std::optional<double> ReadAmrSeconds(IByteSource& source);

}  // namespace media_server
