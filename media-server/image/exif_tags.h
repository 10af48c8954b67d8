#pragma once

#include "media-server/image/exif_values.h"
#include "media-server/image/picture_tags.h"

namespace media_server::image {

/// Fills the empty fields of `tags` with what the values tell, each read as Exif 2.32 says for its tag. Numbers are
/// taken in whatever numeric type they stand, texts as the bytes of any type: writers differ.
void ReadExifTags(const ExifValues& exif, PictureTags& tags);

}  // namespace media_server::image
