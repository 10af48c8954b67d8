#pragma once

#include <cstdint>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Where the content of `source` begins: behind the ID3v2 tags that stand in front, up to 16 in a row.
std::uint64_t SkipId3v2(IByteSource& source);

}  // namespace media_server
