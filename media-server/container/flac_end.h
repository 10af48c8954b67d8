#pragma once

#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Seconds of a FLAC file whose writer could not go back to tell how many samples there are, by the number that the
/// last frame bears. That one is looked for in the last 64 KiB, or as much as the largest frame takes by the header, up
/// to 1 MiB. Empty for other files, for those that tell it, and where no frame is found.
std::optional<double> ReadFlacSeconds(IByteSource& source);

}  // namespace media_server
