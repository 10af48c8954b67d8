#pragma once

#include <string_view>

#include "media-server/image/picture_tags.h"

namespace media_server::picture_tags {

/// Fills the empty fields of `tags`, the label aside, from an XMP packet. A packet is only decoded, which is slow, when
/// it names a property that is still wanted. Throws what Exiv2 throws.
void ReadXmpTags(std::string_view packet, image::PictureTags& tags);

}  // namespace media_server::picture_tags
