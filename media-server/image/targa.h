#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Truevision TGA: the header and, where a footer leads to one, the extension area, which tells what the attribute bits
/// mean (Truevision TGA File Format Specification, version 2.0). False when the header is cut short.
bool ReadTarga(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
