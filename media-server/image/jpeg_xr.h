#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// JPEG XR: the first image file directory, which is TIFF's with a magic number of its own (ITU-T T.832 annex A), and
/// its Exif and XMP. False when the directory does not tell the size.
bool ReadJpegXr(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
