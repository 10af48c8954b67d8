#pragma once

#include <cstdint>

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Windows icons and cursors: the largest of the first 256 pictures, and of equally large ones the one with the most
/// colours. The directory holds no size above 256 and is often wrong, so each picture's own header decides where it can
/// be read. Bitmaps have transparency, PNGs where they say so. False when the directory holds no entry.
bool ReadIcon(IByteSource& source, PictureHeaders& headers);

/// The same of an icon that starts at `base` in a larger file.
bool ReadIconAt(IByteSource& source, std::uint64_t base, PictureHeaders& headers);

}  // namespace media_server::image
