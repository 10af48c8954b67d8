#pragma once

#include <memory>

#include "media-server/model/media_description.h"
#include "media_server/imedia_info.h"
#include "platform/com_ptr.h"

namespace media_server {

/// The object of one opened file, which answers everything from its description. Throws std::bad_alloc.
platform::ComPtr<IMediaInfo> MakeMediaInfo(std::shared_ptr<const MediaDescription> media);

}  // namespace media_server
