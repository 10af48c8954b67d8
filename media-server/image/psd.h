#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Photoshop documents, large ones (PSB) too: the file header; among the image resources those that hold Exif, XMP and
/// IPTC; of the layers their count, which tells transparency from saved selections (Adobe Photoshop File Formats
/// Specification). False when the header is cut short.
bool ReadPsd(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
