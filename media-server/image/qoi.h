#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Quite OK Image: the header of its specification, version 1.0. False when it is cut short.
bool ReadQoi(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
