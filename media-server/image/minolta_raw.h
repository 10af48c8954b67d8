#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Minolta's raw format (MRW), as measured: the maker published nothing. The size is that which the block of the
/// picture's dimensions gives for the picture, without the borders of the sensor. False when that block is not there.
bool ReadMinoltaRaw(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
