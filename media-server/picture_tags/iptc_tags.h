#pragma once

#include <cstdint>
#include <span>

#include "media-server/image/picture_tags.h"

namespace media_server::picture_tags {

/// Creation from the data sets 2:55 and 2:60 of IPTC-IIM 4.2, else 2:62 and 2:63, where `tags` has none. Throws what
/// Exiv2 throws.
void ReadIptcTags(std::span<const std::uint8_t> data_sets, image::PictureTags& tags);

}  // namespace media_server::picture_tags
