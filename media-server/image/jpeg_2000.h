#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// JPEG 2000: the boxes of JP2 and JPX (ISO/IEC 15444-1 annex I, 15444-2 annex M) and JPH (15444-15 annex D), or a bare
/// codestream (ISO/IEC 15444-1 annex A), which does not tell what its components mean. False when nothing tells the
/// size.
bool ReadJpeg2000(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
