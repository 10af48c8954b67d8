#pragma once

#include <cstdint>

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// What the headers of the JPEG picture at `offset` of `source` tell: camera raw files keep their Exif in a preview.
/// Empty fields when no JPEG picture begins there.
PictureHeaders ReadEmbeddedJpeg(IByteSource& source, std::uint64_t offset);

}  // namespace media_server::image
