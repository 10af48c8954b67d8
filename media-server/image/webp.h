#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// WebP (RFC 9649): lossy, lossless and extended files. The chunk headers are walked here rather than by libwebp's
/// demuxer, which wants the whole file in memory to tell what stands in the first 24 bytes of each frame. The animation
/// is told when all frames were seen, or those that a cut file still has. False when the first chunk is none of the
/// three or is cut short.
bool ReadWebp(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
