#pragma once

#include "mediainfo/imeta_data_info.h"
#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo {

/// Copies every tag of `source` into `store` under the "MediaFile_Metedata_" keys, replacing what stands there. Absent
/// texts are stored as empty ones; the AI-generated-content record is stored when the source gives one. Throws
/// std::bad_alloc when memory runs out.
void ImportMediaFileMetadata(IMetaDataInfo& source, MetadataInfoMPL& store);

}  // namespace service::mediainfo
