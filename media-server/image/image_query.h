#pragma once

#include <string>

#include "media-server/image/picture_headers.h"
#include "media-server/image/picture_tags.h"
#include "media-server/io/byte_source.h"
#include "media_server/image_info.h"

namespace media_server::image {

/// Fills `info` from the headers and metadata of the picture in `source`; see FillImageInfo. False, no flag set, and
/// the reason in words, when it is no picture or its headers do not tell its size. Throws std::bad_alloc.
bool QueryImage(IByteSource& source, imagecore::QkImageInfo& info, std::string* reason);

/// Sets exactly the flags of what `headers` and `tags` tell, and the fields that they stand for. A turn and a label
/// that the container itself tells hold over those of `tags`, the times of `tags` over the container's.
/// Frees the label that `info` held before.
///
/// A duration goes into the field of the picture's format: WebP's, AVIF's also for other HEIF sequences, and GIF's for
/// all other animations (APNG, JPEG XL), whose readers look it up as the general one. The frame rate of every format
/// goes into GIF's fields, as there are no others. Throws std::bad_alloc.
void FillImageInfo(const PictureHeaders& headers, const PictureTags& tags, imagecore::QkImageInfo& info);

}  // namespace media_server::image
