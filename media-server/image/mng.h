#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// MNG: what its header tells (MNG specification 1.0, 4.1.1). False when that is cut short.
bool ReadMng(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
