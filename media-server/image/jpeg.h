#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// JPEG (ITU-T T.81) and JPEG-LS up to the first scan of the first picture: the previews and gain maps of
/// multi-picture files lie behind it. Exif, XMP and IPTC out of their application segments; Exif that is spread over
/// several segments and extended XMP hold previews and edit histories and are left out. False when no frame header
/// tells a size; a frame of 0 lines gets its height from the line count behind the scan if that is near.
bool ReadJpeg(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
