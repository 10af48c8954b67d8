#pragma once

#include <cstdint>
#include <span>

#include "media-server/image/picture_tags.h"

namespace media_server::picture_tags {

/// Fills the empty fields of `tags` from `tiff`, a TIFF structure with the IFDs of Exif 2.32. Throws what Exiv2 throws.
void ReadExifTags(std::span<const std::uint8_t> tiff, image::PictureTags& tags);

}  // namespace media_server::picture_tags
