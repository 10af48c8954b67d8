#pragma once

#include <cstdint>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The packet identifiers of an MPEG transport stream (ISO/IEC 13818-1, 2.4.3.2) of whose packets in the first 64 KiB
/// more than half are scrambled with an even or an odd key, in ascending order. Packets of 188, 192 and 204 bytes.
/// Never fails: what is no transport stream has none.
std::vector<std::uint16_t> ReadScrambledPids(IByteSource& source);

}  // namespace media_server
