#pragma once

#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"

/// Ask a session of the module all that there is to ask, and check each answer as its interface documents it.
namespace fuzz {

/// An open session.
void ReadWholeMediaFile(service::mediainfo::IMediaFileInfo& file);

/// A session after SetPath, successful or not.
void ReadWholeImage(service::mediainfo::IImageInfo& image);

}  // namespace fuzz
