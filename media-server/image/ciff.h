#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Canon's older raw format (CRW: Camera Image File Format, specification 1.0 revision 4). False when the heap's
/// directories, which stand at its end, tell no size: a file that is cut short has none.
bool ReadCiff(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
