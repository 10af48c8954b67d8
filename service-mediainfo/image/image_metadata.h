#pragma once

#include "media_server/image_info.h"
#include "mediainfo/imetedata_info.h"

namespace service::mediainfo::image {

/// Writes every field that `info` has into `store` under its key, as it is. Throws std::bad_alloc when memory runs out;
/// the keys before stay written.
void StoreImageInfo(const imagecore::QkImageInfo& info, IMetedataInfo& store);

}  // namespace service::mediainfo::image
