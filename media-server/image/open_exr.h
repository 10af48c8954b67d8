#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// OpenEXR, scan lines, tiles and several parts alike: the attributes of the first part's header (OpenEXR File Layout,
/// "Header" and "Multi-Part"). The stored picture is the data window. Camera, date, place and exposure are given as
/// values of Exif. False without a data window.
bool ReadOpenExr(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
