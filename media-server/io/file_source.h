#pragma once

#include <memory>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Opens a local file for reading by position. Null when it cannot be opened or is no regular file; the reason stands
/// in words in
/// `*reason` then ("no such file", "no permission", "is a folder", ...; static text).
std::unique_ptr<IByteSource> OpenFileSource(const char* path, const char** reason);

}  // namespace media_server
