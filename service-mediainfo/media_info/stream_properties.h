#pragma once

#include "media_server/istream.h"
#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo::media_info::impl {

/// Copies what `reader` tells of a picture stream into `store` under the "MediaFile_Metedata_Video_" keys. What it does
/// not tell is not stored. With `has_stacked_alpha` the alpha channel is stored as 1 whatever the reader tells.
void ImportStreamProperties(media_server::IPropertyReader& reader, bool has_stacked_alpha, MetadataInfoMPL& store);

}  // namespace service::mediainfo::media_info::impl
