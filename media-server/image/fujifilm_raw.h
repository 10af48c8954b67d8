#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Fujifilm's raw format (RAF), as measured: the maker published nothing. The size is that of the picture without the
/// borders of the sensor; metadata come from the JPEG preview in front. False when neither the table of the sensor's
/// picture nor the preview tells a size.
bool ReadFujifilmRaw(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
