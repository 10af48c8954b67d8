#pragma once

#include "mediainfo/imeta_data_info.h"
#include "mediainfo/imetedata_info.h"

namespace service::mediainfo {

/// Copies every tag of `source` into `store` under the "MediaFile_Metedata_" keys, replacing what stands there. Absent
/// texts are stored as empty ones; the AI-generated-content record is stored when the source gives one. Throws
/// std::bad_alloc when memory runs out.
void ImportMediaFileMetadata(IMetaDataInfo& source, IMetedataInfo& store);

}  // namespace service::mediainfo
