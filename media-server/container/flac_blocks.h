#pragma once

#include <cstdint>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Bytes of the metadata blocks at the start of a FLAC file, headers included, as far as the file reaches: tags and
/// covers of up to 16 MB each, which its demuxer reads whole. At most 64 MiB; 0 where the input is no FLAC file.
std::uint64_t FlacMetadataSize(IByteSource& source);

}  // namespace media_server
