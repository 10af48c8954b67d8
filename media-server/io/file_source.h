#pragma once

#include <memory>
#include <string>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Opens a local file for reading by position. Null when it cannot be opened or is no regular file; the reason stands
/// in words in
/// `*reason` then ("no such file", "no permission", "is a folder", ...).
std::unique_ptr<IByteSource> OpenFileSource(const char* path, std::string* reason);

}  // namespace media_server
