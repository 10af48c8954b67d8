#pragma once

#include <string_view>

#include "media-server/model/media_tags.h"

namespace media_server::probe {

/// Fills maker, model, place and times that `tags` lacks with what an XMP packet tells. The library that decodes XMP is
/// loaded for packets that name something lacking, and only for these; where it is missing nothing is filled.
void CompleteFromXmp(std::string_view packet, MediaTags& tags);

}  // namespace media_server::probe
