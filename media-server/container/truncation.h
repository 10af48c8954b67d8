#pragma once

#include <optional>
#include <string_view>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Whether the size that a container states once, at a fixed place, claims more bytes than the input has, for the
/// format that libavformat's demuxer `demuxer` reads. Empty for formats that state none or are read by a reader of
/// their own, which tells it, and for inputs of unknown size.
std::optional<bool> EndsEarly(IByteSource& source, std::string_view demuxer);

}  // namespace media_server
