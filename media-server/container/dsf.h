#pragma once

#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Seconds of a DSD stream file (DSF), as its header counts samples: behind them there is padding, and perhaps an ID3v2
/// tag. Empty for other files and where the header makes no sense.
std::optional<double> ReadDsfSeconds(IByteSource& source);

}  // namespace media_server
