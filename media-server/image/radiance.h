#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Radiance pictures (.hdr): header lines up to an empty one, then the line of the resolution, whose order and signs
/// say how the lines lie (The RADIANCE Picture File Format). False without one in the first 64 KiB.
bool ReadRadiance(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
