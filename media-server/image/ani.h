#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Windows animated cursors: the first of their pictures, and how long one pass over the steps takes. False when no
/// icon comes within the first chunks.
bool ReadAnimatedCursor(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
