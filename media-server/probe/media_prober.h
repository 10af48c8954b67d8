#pragma once

#include <memory>
#include <string>

#include "media-server/io/bounded_source.h"
#include "media-server/model/media_description.h"

namespace media_server::probe {

/// Reads one media file: what it is, its programs and streams. Null when it is none or cannot be read; `*reason` then
/// says why, in words. `decryption_key` is the hex key of protected MP4 files, empty for none. Throws std::bad_alloc.
std::unique_ptr<MediaDescription> ProbeMedia(BoundedSource& source, const std::string& decryption_key,
                                             std::string* reason);

}  // namespace media_server::probe
