#pragma once

#include <string_view>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Whether the container's own sizes claim more bytes than the input has, for the format that libavformat's demuxer
/// `demuxer` reads ("mov", "matroska", "wav", "avi", "w64", "aiff", "dsf", "asf", "flv"; of a list the first name
/// counts). False for formats that state no size, and for inputs of unknown size.
bool EndsEarly(IByteSource& source, std::string_view demuxer);

}  // namespace media_server
