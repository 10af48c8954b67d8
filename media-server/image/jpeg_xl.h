#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// JPEG XL, as a bare codestream (ISO/IEC 18181-1) or in boxes (ISO/IEC 18181-2). The orientation is the codestream's,
/// which holds over Exif's (ISO/IEC 18181-2). False when the codestream does not tell a size.
bool ReadJpegXl(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
