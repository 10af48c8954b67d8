#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Canon's raw format in ISO base media boxes (brand "crx "), as measured: the maker published nothing. The size is
/// that which the camera's own directory gives for the picture, else that of the largest raw track, which has the
/// masked borders of the sensor. False when neither is there.
bool ReadCanonRaw(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
